// Polled buttons and detectors: a concrete button reads one digital input, and service(), called
// from the client's loop, turns the levels it sees into press, hold and release events.
#pragma once

#include <cstdint>

#include "orva_gpio_utils/Export.h"

// The client's receiver of button events. Durations are milliseconds since the press, taken from
// the platform's monotonic clock (low 32 bits).
class ORVA_GPIO_EXPORT IButtonEventsObserver {
public:
    // The input went from released to pressed.
    virtual void onButtonPressed() = 0;
    // The input was released after being pressed for durationMs.
    virtual void onButtonReleased(unsigned durationMs) = 0;
    // The input is still pressed, durationMs after the press.
    virtual void onButtonHeld(unsigned durationMs) = 0;

protected:
    // Not deleted through this interface; the client owns its observer.
    ~IButtonEventsObserver() = default;
};

class ORVA_GPIO_EXPORT BaseButton {
public:
    BaseButton();
    virtual ~BaseButton();
    BaseButton(const BaseButton&) = delete;
    BaseButton& operator=(const BaseButton&) = delete;

    // Whether this board has the input; a missing input initialises fine and never reports.
    virtual bool exists() const = 0;
    // Opens the input; called once by init() when the input exists.
    virtual bool initGPIO() = 0;
    // One read of the input level; false when it could not be read.
    virtual bool readValue(bool& pressed) const = 0;

    // Once per object. observer may be null (not owned); holdInterval in milliseconds between held
    // events, negative for none.
    bool init(IButtonEventsObserver* observer, int holdInterval);
    // One poll; false only when the input could not be read (a press in progress is kept).
    bool service();

protected:
    bool initialized_;
    bool exists_;
    IButtonEventsObserver* observer_;
    int32_t holdInterval_;
    uint64_t pressStartMs_;  // nowMs() of the press, 0 while released
    uint32_t holdCount_;     // held events sent during this press
};
