// Reset button on "/proc/gpio/reset_btn": every board has one, except late hardware revisions of
// boards 0xA551 and 0xA554, where it moved away from the GPIO.
#pragma once

#include "orva_gpio_utils/BaseGPIOResetButton.h"

class ORVA_GPIO_EXPORT ResetGPIOButtonCase : public BaseGPIOResetButton {
public:
    ResetGPIOButtonCase();
    ~ResetGPIOButtonCase() override;

    bool exists() const override;
    std::string getProcEntry() const override;
};
