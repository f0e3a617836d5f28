#include "RingLight.h"

#include <cstdio>

namespace {
// The button reports presses and releases only.
constexpr int kNoHeldEvents = -1;
constexpr int kFullLevel = 100;
}  // namespace

bool RingLight::init() {
    if (!light_.init("glow") || !light_.exists()) return false;
    // The light starts dark: its init writes 0.
    return button_.init(this, kNoHeldEvents) && button_.exists();
}

bool RingLight::poll() { return button_.service(); }

void RingLight::onButtonPressed() {
    ++presses_;
    light_.setValue(kFullLevel, false);
    printf("ring: pressed, light on\n");
    fflush(stdout);
}

void RingLight::onButtonReleased(unsigned durationMs) {
    ++releases_;
    light_.setValue(0, false);
    printf("ring: released after %u ms, light off\n", durationMs);
    fflush(stdout);
}

void RingLight::onButtonHeld(unsigned) {}
