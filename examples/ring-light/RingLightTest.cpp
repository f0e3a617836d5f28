// The ring light on a simulated doorbell (0xA575): what reaches the torch LED's brightness file
// for each ring, and what the process does when the button cannot be read.
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <orva/sim/TestBoard.h>

#include "RingLight.h"

namespace {

const char kTorch[] = "/sys/class/leds/torch1/brightness";
const char kRing[] = "/proc/gpio/ring_btn";
using Writes = std::vector<std::string>;

// The library writes each number as text with its terminating NUL.
std::string number(const char* text) { return std::string(text) + '\0'; }

TEST(RingLight, StartsDarkAndLightsWhileTheButtonIsHeld) {
    orva::sim::TestBoard board(0xA575);
    RingLight light;
    ASSERT_TRUE(light.init());
    // The torch LED gets its own 0, then the start-dark 0 of every glow light.
    EXPECT_EQ(board.writes(kTorch), (Writes{number("0"), number("0")}));
    board.clearJournal();

    ASSERT_TRUE(light.poll());
    EXPECT_TRUE(board.writes(kTorch).empty());
    board.press("ring");
    ASSERT_TRUE(light.poll());
    EXPECT_EQ(light.presses(), 1u);
    EXPECT_EQ(board.writes(kTorch), (Writes{number("15")}));
    EXPECT_EQ(board.value(kTorch), "15");

    board.advanceMs(700);
    ASSERT_TRUE(light.poll());
    EXPECT_EQ(board.writes(kTorch), (Writes{number("15")}));
    board.release("ring");
    ASSERT_TRUE(light.poll());
    EXPECT_EQ(light.releases(), 1u);
    EXPECT_EQ(board.writes(kTorch), (Writes{number("15"), number("0")}));
    EXPECT_EQ(board.value(kTorch), "0");
    EXPECT_TRUE(board.log().empty());
}

// The descriptor the ring button's input was opened on, in hex as the library logs it.
std::string ringDescriptor(const orva::sim::TestBoard& board) {
    for (const orva::sim::JournalEntry& entry : board.journal(kRing)) {
        if (entry.call != orva::sim::Call::Open) continue;
        char text[16];
        snprintf(text, sizeof(text), "0x%x", static_cast<unsigned>(entry.fd));
        return text;
    }
    return "(not opened)";
}

TEST(RingLight, AFailedReadKeepsTheLightAsItIs) {
    orva::sim::TestBoard board(0xA575);
    RingLight light;
    ASSERT_TRUE(light.init());
    const std::string descriptor = ringDescriptor(board);
    board.press("ring");
    ASSERT_TRUE(light.poll());
    board.clearJournal();
    board.release("ring");
    board.failNext(kRing, orva::sim::Call::Read, EIO);
    EXPECT_FALSE(light.poll());
    EXPECT_EQ(light.releases(), 0u);
    // The library says why, twice: the read, then the poll.
    const std::vector<orva::host::LogRecord>& log = board.log();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0].tag, "orva_gpio_utils");
    EXPECT_EQ(log[0].file, "src/BaseGPIOResetButton");
    EXPECT_EQ(log[0].function, "readValue");
    EXPECT_EQ(log[0].level, 3);
    EXPECT_EQ(log[0].errorNumber, EIO);
    EXPECT_EQ(log[0].text, "Failed to read from proc entry " + descriptor + ", num bytes read -1");
    EXPECT_EQ(log[1].tag, "orva_gpio_utils");
    EXPECT_EQ(log[1].file, "src/BaseButton");
    EXPECT_EQ(log[1].function, "service");
    EXPECT_EQ(log[1].level, 3);
    EXPECT_EQ(log[1].errorNumber, 0);
    EXPECT_EQ(log[1].text, "Failed to read button GPIO");
    board.clearLog();
    EXPECT_TRUE(board.writes(kTorch).empty());
    EXPECT_EQ(board.value(kTorch), "15");
    ASSERT_TRUE(light.poll());
    EXPECT_EQ(board.writes(kTorch), (Writes{number("0")}));
    EXPECT_TRUE(board.log().empty());
}

TEST(RingLight, ABoardWithoutARingButtonIsRefused) {
    orva::sim::TestBoard board(0xA571);
    RingLight light;
    EXPECT_FALSE(light.init());
    EXPECT_TRUE(board.writes(kTorch).empty());
}

}  // namespace
