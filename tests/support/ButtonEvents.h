// Observers for button tests: one that records every event with its duration, and a GoogleMock one.
#pragma once

#include <ostream>
#include <vector>

#include <gmock/gmock.h>

#include "orva_gpio_utils/BaseButton.h"

namespace orva::test {

struct ButtonEvent {
    enum Kind { Pressed, Held, Released };
    Kind kind;
    unsigned durationMs;  // 0 for Pressed
};

inline bool operator==(const ButtonEvent& a, const ButtonEvent& b) {
    return a.kind == b.kind && a.durationMs == b.durationMs;
}

inline void PrintTo(const ButtonEvent& event, std::ostream* os) {
    switch (event.kind) {
    case ButtonEvent::Pressed: *os << "pressed"; break;
    case ButtonEvent::Held: *os << "held(" << event.durationMs << ")"; break;
    case ButtonEvent::Released: *os << "released(" << event.durationMs << ")"; break;
    }
}

inline ButtonEvent pressed() { return {ButtonEvent::Pressed, 0}; }
inline ButtonEvent held(unsigned ms) { return {ButtonEvent::Held, ms}; }
inline ButtonEvent released(unsigned ms) { return {ButtonEvent::Released, ms}; }

class RecordingObserver : public IButtonEventsObserver {
public:
    void onButtonPressed() override { events.push_back(pressed()); }
    void onButtonReleased(unsigned durationMs) override { events.push_back(released(durationMs)); }
    void onButtonHeld(unsigned durationMs) override { events.push_back(held(durationMs)); }

    std::vector<ButtonEvent> events;
};

class MockObserver : public IButtonEventsObserver {
public:
    MOCK_METHOD(void, onButtonPressed, (), (override));
    MOCK_METHOD(void, onButtonReleased, (unsigned durationMs), (override));
    MOCK_METHOD(void, onButtonHeld, (unsigned durationMs), (override));
};

}  // namespace orva::test
