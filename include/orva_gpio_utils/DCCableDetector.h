// DC-cable detector on "/proc/gpio/dcpowered", on battery-powered boards (feature_battery).
#pragma once

#include "orva_gpio_utils/BaseGPIOResetButton.h"

class ORVA_GPIO_EXPORT DCCableDetector : public BaseGPIOResetButton {
public:
    DCCableDetector();
    ~DCCableDetector() override;

    bool exists() const override;
    std::string getProcEntry() const override;
};
