// Doorbell ring button on "/proc/gpio/ring_btn", board 0xA575 only.
#pragma once

#include "orva_gpio_utils/BaseGPIOResetButton.h"

class ORVA_GPIO_EXPORT RingButton : public BaseGPIOResetButton {
public:
    RingButton();
    ~RingButton() override;

    bool exists() const override;
    std::string getProcEntry() const override;
};
