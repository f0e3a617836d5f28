// Shared pieces of the fuzz targets: quiet logging, splitting an input into the successive values
// a kernel attribute holds, and putting those values into a simulated board's files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orva/host_platform.h"
#include "orva_gpio_utils/BaseButton.h"
#include "orva/sim/SimBoard.h"

namespace orva::fuzz {

// Keeps the library's log records off stderr; every record is still formatted, so that a bad
// format argument shows up under the sanitizers.
inline void quietLogging() {
    static bool done = false;
    if (done) return;
    done = true;
    orva::host::setLogEcho(false);
    orva::host::setLogSink([](const orva::host::LogRecord& record) {
        volatile size_t length = orva::host::formatRecord(record).size();
        (void)length;
    });
}

// The payload split at '\n' into the values the attribute holds one after another. A sysfs read
// ends at the first newline, so each piece is what one read can see; at least one piece.
inline std::vector<std::string> pieces(const uint8_t* data, size_t size) {
    std::vector<std::string> values(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            values.emplace_back();
        } else {
            values.back().push_back(static_cast<char>(data[i]));
        }
    }
    return values;
}

// Writes value into the selected attribute files of the board: selector modulo (count + 1) picks
// one attribute of its profile, or every attribute when it lands on count.
inline void fill(orva::sim::SimBoard& board, uint8_t selector, const std::string& value) {
    const auto& attributes = board.profile().attributes;
    if (attributes.empty()) return;
    const size_t choice = selector % (attributes.size() + 1);
    for (size_t i = 0; i < attributes.size(); ++i) {
        if (choice == attributes.size() || choice == i) board.sandbox().setValue(attributes[i].path, value);
    }
}

// The simulated board of a profile. Building a sandbox costs far more than one run, so the board
// stays alive while the runs use the same profile and is rebuilt when another one comes; each run
// starts with an empty journal.
inline orva::sim::SimBoard& boardFor(const orva::sim::BoardProfile& profile) {
    static std::unique_ptr<orva::sim::SimBoard> board;
    static const orva::sim::BoardProfile* current = nullptr;
    if (current != &profile) {
        board.reset();
        board = std::make_unique<orva::sim::SimBoard>(profile);
        current = &profile;
    }
    board->sandbox().clearJournal();
    return *board;
}

// Puts the profile's values back into the attribute files a run filled (fill's selector), so that
// the next run on the same board starts from the board as built.
class Restore {
public:
    Restore(orva::sim::SimBoard& board, uint8_t selector) : board_(board), selector_(selector) {}
    ~Restore() {
        const auto& attributes = board_.profile().attributes;
        const size_t choice = selector_ % (attributes.size() + 1);
        for (size_t i = 0; i < attributes.size(); ++i) {
            if (choice == attributes.size() || choice == i) board_.sandbox().setValue(attributes[i].path, attributes[i].value);
        }
    }
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;

private:
    orva::sim::SimBoard& board_;
    uint8_t selector_;
};

// Receives a button's events and traps on any a button may not report: a release or hold while
// not pressed, or a second press.
class CheckingObserver : public IButtonEventsObserver {
public:
    void onButtonPressed() override {
        if (pressed_) __builtin_trap();
        pressed_ = true;
    }
    void onButtonReleased(unsigned) override {
        if (!pressed_) __builtin_trap();
        pressed_ = false;
    }
    void onButtonHeld(unsigned) override {
        if (!pressed_) __builtin_trap();
    }

private:
    bool pressed_ = false;
};

}  // namespace orva::fuzz
