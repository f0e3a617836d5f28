// Status LED owned by the camera's microcontroller, driven with command frames sent through
// "/usr/bin/uartcli", and the white LED beside it, switched through "/proc/gpio/white_led".
// The face takes LED control from the microcontroller when built and gives it back when destroyed.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT UartcliLedFace : public BaseLed {
public:
    // Takes LED control from the microcontroller (runs the tool once).
    UartcliLedFace();
    // Hands LED control back to the microcontroller (runs the tool once).
    ~UartcliLedFace() override;

    // A new foreground colour is lit at once: red, green and blue on the microcontroller, white on
    // the white LED (every other colour turns the microcontroller's LEDs off). Colours 1..15.
    bool setColor(Color fg, Color bg) override;
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    bool initGPIO() override;
    int rangeMin() const override;
    // 512; any non-zero value is "on".
    int rangeMax() const override;
    // On (non-zero) or off in the foreground colour.
    bool writeValue(int value) override;
    // The level cannot be read back: leaves value untouched.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;
};
