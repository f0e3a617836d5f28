// Names of the LED module types of the LED-driver chips, used in their log lines.
#pragma once

#include "orva_gpio_utils/Export.h"

namespace orva::gpioutils {
// [0] "WLED" (white LEDs), [1] "RGBLED" (colour LEDs).
ORVA_GPIO_EXPORT extern const char* const strTypeLedModule[2];
}  // namespace orva::gpioutils
