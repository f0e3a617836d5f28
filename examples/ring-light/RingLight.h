// The doorbell's ring light: while the ring button is held, the glow light (the torch LED beside
// the button) is on at full level; it goes dark when the button is released.
#pragma once

#include <orva_gpio_utils/BaseButton.h>
#include <orva_gpio_utils/LedGlow.h>
#include <orva_gpio_utils/RingButton.h>

class RingLight : private IButtonEventsObserver {
public:
    // Opens the button and the light. False when either cannot be used on this board.
    bool init();
    // One poll of the button, from the process's main loop; false when the button could not be read.
    bool poll();
    // Presses seen and releases seen so far.
    unsigned presses() const { return presses_; }
    unsigned releases() const { return releases_; }

private:
    void onButtonPressed() override;
    void onButtonReleased(unsigned durationMs) override;
    void onButtonHeld(unsigned durationMs) override;

    RingButton button_;
    LedGlow light_;
    unsigned presses_ = 0;
    unsigned releases_ = 0;
};
