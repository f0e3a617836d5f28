// Every proc-entry button and detector polling what its input file holds. Input: one byte choosing
// the button and board, one byte choosing which of the board's attribute files gets the fuzzed
// text (or all of them), then the text; each '\n' starts the next value the input takes, and the
// button is polled after each value with 60 ms of virtual time between polls, so that pressed,
// held and released events follow one another.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace {

enum class Button { ResetGpio, Ring, Enclosure, DcCable, ResetCase };

struct Case {
    Button button;
    uint32_t sysid;
};

constexpr Case kCases[] = {
    {Button::ResetGpio, 0xA533}, {Button::ResetGpio, 0xA575}, {Button::Ring, 0xA575},
    {Button::Ring, 0xA533},      {Button::Enclosure, 0xA5C0}, {Button::Enclosure, 0xA551},
    {Button::DcCable, 0xA551},   {Button::DcCable, 0xA554},   {Button::DcCable, 0xA5C0},
    {Button::ResetCase, 0xA533}, {Button::ResetCase, 0xA575},
};
constexpr size_t kCaseCount = sizeof(kCases) / sizeof(kCases[0]);

const orva::sim::BoardProfile& profileOf(const Case& c) {
    static std::vector<std::unique_ptr<orva::sim::BoardProfile>> profiles(kCaseCount);
    const size_t index = static_cast<size_t>(&c - kCases);
    if (!profiles[index]) profiles[index] = std::make_unique<orva::sim::BoardProfile>(orva::sim::BoardProfile::load(c.sysid));
    return *profiles[index];
}

using Observer = orva::fuzz::CheckingObserver;

template <typename Polled>
void poll(Polled& button, orva::sim::SimBoard& board, uint8_t selector, const std::vector<std::string>& values) {
    Observer observer;
    if (!button.init(&observer, 100)) return;
    for (const std::string& value : values) {
        orva::fuzz::fill(board, selector, value);
        (void)button.service();
        board.advanceMs(60);
        (void)button.service();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    orva::fuzz::quietLogging();
    const Case& c = kCases[data[0] % kCaseCount];
    const uint8_t selector = data[1];
    const std::vector<std::string> values = orva::fuzz::pieces(data + 2, size - 2);

    orva::sim::SimBoard& board = orva::fuzz::boardFor(profileOf(c));
    orva::fuzz::Restore restore(board, selector);
    orva::fuzz::fill(board, selector, values[0]);
    switch (c.button) {
        case Button::ResetGpio: {
            ResetGPIOButtonCase button;
            poll(button, board, selector, values);
            break;
        }
        case Button::Ring: {
            RingButton button;
            poll(button, board, selector, values);
            break;
        }
        case Button::Enclosure: {
            EnclosureDetButton button;
            poll(button, board, selector, values);
            break;
        }
        case Button::DcCable: {
            DCCableDetector button;
            poll(button, board, selector, values);
            break;
        }
        case Button::ResetCase: {
            ResetButtonCase button;
            poll(button, board, selector, values);
            break;
        }
    }
    return 0;
}
