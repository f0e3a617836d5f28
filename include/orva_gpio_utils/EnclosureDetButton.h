// Enclosure detector on "/proc/gpio/enclosure_det", board 0xA5B0 only.
#pragma once

#include "orva_gpio_utils/BaseGPIOResetButton.h"

class ORVA_GPIO_EXPORT EnclosureDetButton : public BaseGPIOResetButton {
public:
    EnclosureDetButton();
    ~EnclosureDetButton() override;

    bool exists() const override;
    std::string getProcEntry() const override;
};
