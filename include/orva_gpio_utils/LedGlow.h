// Glow light: the dimmable white light (a torch LED on doorbells) behind one PWM duty-cycle,
// backlight or LED-class brightness file, decimal 0..rangeMax() per board. On the boards whose
// infrared face also has a white LED, both faces drive the same file.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT LedGlow : public BaseLed {
public:
    LedGlow();
    ~LedGlow() override;

    // True on every doorbell ("isDoorbellSeries", false when absent) and on the boards that share
    // the white LED with the infrared face.
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Opens the board's brightness file and starts the light dark.
    bool initGPIO() override;
    int rangeMin() const override;
    // The board's full-scale level (1 on boards without a glow light), looked up on every call.
    int rangeMax() const override;
    // Raw device value, written as decimal text; not range-checked.
    bool writeValue(int value) override;
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

protected:
    int glowFd;  // brightness file; -1 while closed
};
