#include "orva_gpio_utils/LedModuleType.h"

namespace orva::gpioutils {
const char* const strTypeLedModule[2] = {"WLED", "RGBLED"};
}  // namespace orva::gpioutils
