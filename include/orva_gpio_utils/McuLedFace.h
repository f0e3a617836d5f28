// Status LED run by the camera's microcontroller rather than by this processor: drives no
// hardware, remembers the last value, and tells the client whether the board's LED belongs to
// the microcontroller.
#pragma once

#include <cstdint>

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT McuLedFace : public BaseLed {
public:
    McuLedFace();
    ~McuLedFace() override;

    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    // True on the boards whose status LED the microcontroller runs.
    bool isManagedByMcu() const override;
    bool initGPIO() override;
    int rangeMin() const override;
    // 100: the device value is the user value.
    int rangeMax() const override;
    // Stores value; touches no hardware.
    bool writeValue(int value) override;
    // The stored value, -1 before the first write.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

protected:
    int32_t lastValue;  // last value written; -1: none yet
};
