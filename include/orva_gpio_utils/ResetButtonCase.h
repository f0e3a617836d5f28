// The client's single entry point to the reset button: picks the shared-memory button on board
// 0xA564 and the "/proc/gpio/reset_btn" button everywhere else, and owns it.
#pragma once

#include "orva_gpio_utils/BaseButton.h"

class ORVA_GPIO_EXPORT ResetButtonCase {
public:
    ResetButtonCase();
    virtual ~ResetButtonCase();
    ResetButtonCase(const ResetButtonCase&) = delete;
    ResetButtonCase& operator=(const ResetButtonCase&) = delete;

    // Builds a fresh button for this board (replacing and deleting any earlier one) and initialises
    // it. Held events come every 100 ms: holdInterval is ignored.
    bool init(IButtonEventsObserver* observer, int holdInterval);
    // One poll of the button; false before a successful init or when the input could not be read.
    bool service();

private:
    BaseButton* button_;  // owned
    bool initialized_;
};
