// Front light of board 0xA533: a PWM backlight brightness file taking 0..99.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT LedFace : public BaseLed {
public:
    LedFace();
    ~LedFace() override;

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

private:
    // Starts at 0, not -1: a face that never initialised closes descriptor 0 when destroyed.
    int fd;
};
