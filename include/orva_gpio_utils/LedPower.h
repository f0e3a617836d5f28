// Power LED face. No supported board has one: it never exists and refuses every hardware call.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT LedPower : public BaseLed {
public:
    LedPower();
    ~LedPower() override;

    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    bool writeValue(int value) override;
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;
};
