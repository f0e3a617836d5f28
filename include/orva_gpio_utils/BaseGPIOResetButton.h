// Buttons and detectors that the kernel exposes as a "/proc/gpio/" entry holding the input level as
// a decimal number. The entry is opened once and read at offset 0 on every poll.
#pragma once

#include <string>

#include "orva_gpio_utils/BaseButton.h"

class ORVA_GPIO_EXPORT BaseGPIOResetButton : public BaseButton {
public:
    BaseGPIOResetButton();
    ~BaseGPIOResetButton() override;

    bool initGPIO() override;
    // Pressed when the entry reads 0 (low-active, the default) or 1 (high-active); any other
    // number reads as released.
    bool readValue(bool& pressed) const override;
    // The proc entry of this input, e.g. "/proc/gpio/reset_btn".
    virtual std::string getProcEntry() const = 0;
    // true: the input reads 0 while pressed; false: it reads 1 while pressed. For the client.
    virtual void setLowActive(bool lowActive);

protected:
    int fd_;  // -1 while not open
    bool lowActive_;
};
