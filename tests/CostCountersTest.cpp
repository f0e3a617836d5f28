// What each hot operation of every LED face and button costs in the steady state: the exact
// system calls it makes (from the simulator's journal) and the heap allocations of the library and
// host platform (the process's count, less what the simulator spends making the same calls
// itself). A reopen, a read-back or an allocation added on a hot path fails here.
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "ButtonEvents.h"
#include "SysfsTestSupport.h"
#include "orva/sim/Mdio.h"
#include "orva/sim/Programs.h"
#include "orva/sim/Uartcli.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPhy.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/MulticolorLedFace.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RgbLedFace.h"
#include "orva_gpio_utils/RingButton.h"
#include "orva_gpio_utils/UartcliLedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

// The journal as lines: files as "open/read/write/close PATH [BYTES]", MII requests as the
// simulator describes them, program runs with their argument vector, sleeps with their length.
std::vector<std::string> lines(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> shown;
    for (const JournalEntry& entry : journal) {
        switch (entry.call) {
        case Call::Mdio: shown.push_back(orva::sim::Mdio::describe(entry)); break;
        case Call::Exec: {
            std::string line = "exec " + entry.path;
            for (const std::string& argument : entry.arguments) line += " " + argument;
            shown.push_back(line);
            break;
        }
        case Call::Sleep: shown.push_back("sleep " + std::to_string(entry.count)); break;
        case Call::Shm: shown.push_back("shm " + entry.path); break;
        default: {
            const std::vector<std::string> one = sysfs::trace({entry});
            shown.insert(shown.end(), one.begin(), one.end());
        }
        }
    }
    return shown;
}

// What making the journal's calls directly costs the simulator and the platform: files replayed
// as the library makes them, program runs through the platform's sysExecSimple.
size_t simulatorCost(SimBoard& board, const std::vector<JournalEntry>& made) {
    board.sandbox().clearJournal();
    size_t cost = 0;
    {
        AllocationScope scope;
        int opened = -1;
        char buffer[4096];
        for (const JournalEntry& entry : made) {
            // A call on a descriptor the face keeps open goes to that descriptor again.
            const int fd = opened >= 0 ? opened : entry.fd;
            switch (entry.call) {
            case Call::Open: opened = ::open64(entry.path.c_str(), entry.flags, entry.mode); break;
            case Call::Read: (void)::pread64(fd, buffer, std::min(entry.count, sizeof(buffer)), entry.offset); break;
            case Call::Write: (void)::pwrite64(fd, entry.bytes.data(), entry.bytes.size(), entry.offset); break;
            case Call::Close:
                ::close(fd);
                opened = -1;
                break;
            case Call::Exec: (void)orva::utils::sysExecSimple(entry.path, entry.arguments); break;
            default: break;
            }
        }
        cost = scope.count();
    }
    board.sandbox().clearJournal();
    return cost;
}

struct Cost {
    std::vector<std::string> calls;
    long long allocations;  // beyond the simulator's own
};

Cost costOf(SimBoard& board, const std::function<bool()>& operation) {
    board.sandbox().clearJournal();
    size_t made;
    bool done;
    {
        AllocationScope scope;
        done = operation();
        made = scope.count();
    }
    EXPECT_TRUE(done);
    const std::vector<JournalEntry> journal = board.journal();
    const long long simulator = static_cast<long long>(simulatorCost(board, journal));
    return {lines(journal), static_cast<long long>(made) - simulator};
}

// A change from the other value (after both have been made often enough for every buffer to have
// its size), then the same call again.
void expectCosts(SimBoard& board, const std::function<bool()>& change, const std::function<bool()>& other,
                 const std::vector<std::string>& calls, long long allocations) {
    for (int i = 0; i < 16; ++i) {
        ASSERT_TRUE(other());
        ASSERT_TRUE(change());
    }
    ASSERT_TRUE(other());
    const Cost changed = costOf(board, change);
    EXPECT_THAT(changed.calls, ElementsAreArray(calls));
    EXPECT_EQ(changed.allocations, allocations);
    const Cost unchanged = costOf(board, change);
    EXPECT_THAT(unchanged.calls, IsEmpty());
    EXPECT_EQ(unchanged.allocations, 0);
}

std::string write(const std::string& path, const std::string& text) { return "write " + path + " " + text + "\\0"; }

}  // namespace

// ---- LED faces ----

TEST(CostCounters, FrontLightValue) {
    SimBoard board(0xA533);
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {write("/sys/class/backlight/3.pwm_bl/brightness", "39")}, 0);
}

TEST(CostCounters, PowerLedWithoutHardware) {
    SimBoard board(0xA533);
    LedPower face;
    ASSERT_TRUE(face.init("power"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); }, {}, 0);
}

TEST(CostCounters, ColourLedClassValue) {
    SimBoard board(0xA5A0);
    LedSysfs face;
    ASSERT_TRUE(face.init("status"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"open /sys/bus/i2c/devices/3-0030/leds/R/brightness", "write /sys/bus/i2c/devices/3-0030/leds/R/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/R/brightness", "open /sys/bus/i2c/devices/3-0030/leds/G/brightness", "write /sys/bus/i2c/devices/3-0030/leds/G/brightness 39\\0", "close /sys/bus/i2c/devices/3-0030/leds/G/brightness", "open /sys/bus/i2c/devices/3-0030/leds/B/brightness", "write /sys/bus/i2c/devices/3-0030/leds/B/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/B/brightness", "open /sys/bus/i2c/devices/3-0030/leds/W/brightness", "write /sys/bus/i2c/devices/3-0030/leds/W/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/W/brightness"}, 0);
}

TEST(CostCounters, ColourLedClassColour) {
    SimBoard board(0xA5A0);
    LedSysfs face;
    ASSERT_TRUE(face.init("status"));
    ASSERT_TRUE(face.setValue(40, false));
    expectCosts(board, [&] { return face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK); },
                [&] { return face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); },
                {"open /sys/bus/i2c/devices/3-0030/leds/R/brightness", "write /sys/bus/i2c/devices/3-0030/leds/R/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/R/brightness", "open /sys/bus/i2c/devices/3-0030/leds/G/brightness", "write /sys/bus/i2c/devices/3-0030/leds/G/brightness 39\\0", "close /sys/bus/i2c/devices/3-0030/leds/G/brightness", "open /sys/bus/i2c/devices/3-0030/leds/B/brightness", "write /sys/bus/i2c/devices/3-0030/leds/B/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/B/brightness", "open /sys/bus/i2c/devices/3-0030/leds/W/brightness", "write /sys/bus/i2c/devices/3-0030/leds/W/brightness 0\\0", "close /sys/bus/i2c/devices/3-0030/leds/W/brightness"}, 0);
}

TEST(CostCounters, LedKeptByTheMicrocontroller) {
    SimBoard board(0xA574);
    McuLedFace face;
    ASSERT_TRUE(face.init("status"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); }, {}, 0);
}

TEST(CostCounters, MicrocontrollerLedValue) {
    SimBoard board(0xA574);
    orva::sim::registerUartcli(0);
    UartcliLedFace face;
    ASSERT_TRUE(face.init("status"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"exec /usr/bin/uartcli -s 5 -r 100 -H -i \\x81\\x01\\x04\\xFE\\x06\\x01\\x01\\x02\\x00\\x00\\x00\\xFF -o 3"},
                3);  // the frame text, the argument vector and the program's path
}

TEST(CostCounters, MicrocontrollerWhiteLedValue) {
    SimBoard board(0xA574);
    orva::sim::registerUartcli(0);
    UartcliLedFace face;
    ASSERT_TRUE(face.init("status"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(0, false); },
                {"open /proc/gpio/white_led", "write /proc/gpio/white_led 1\\0", "close /proc/gpio/white_led"}, 0);
}

TEST(CostCounters, EthernetPhyLed) {
    SimBoard board(0xA564);
    LedPhy face;
    ASSERT_TRUE(face.init("phy"));
    expectCosts(board, [&] { return face.setBoolean(true); }, [&] { return face.setBoolean(false); },
                {"eth0 read reg 0x11 -> 0x120c", "eth0 write reg 0x11 0x123c -> 0"}, 0);
}

TEST(CostCounters, GreenStatusLedValue) {
    SimBoard board(0xA571);
    GreenLedFace face;
    ASSERT_TRUE(face.init("green"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"write /sys/class/leds/G/brightness 0\\0"}, 0);
}

TEST(CostCounters, InfraredLightValue) {
    SimBoard board(0xA533);
    LedIr face;
    ASSERT_TRUE(face.init("ir"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(41, false); },
                {"write /sys/class/backlight/0.pwm_bl/brightness 39\\0"}, 0);
}

TEST(CostCounters, GlowLightValue) {
    SimBoard board(0xA598);
    LedGlow face;
    ASSERT_TRUE(face.init("glow"));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"write /sys/class/pwm/pwmchip0/pwm0/duty_cycle 5960\\0"}, 0);
}

TEST(CostCounters, AvLedValue) {
    SimBoard board(0xA573);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"write /sys/class/leds/orva::av/brightness 1\\0", "write /sys/class/backlight/bogus_bus:pwm_bl@2/brightness 39\\0"}, 0);
}

TEST(CostCounters, AvLedColour) {
    SimBoard board(0xA573);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setValue(60, false));
    expectCosts(board, [&] { return face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK); },
                [&] { return face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); },
                {"write /sys/class/leds/orva::av/color_fg black\\0", "write /sys/class/backlight/bogus_bus:pwm_bl@2/brightness 59\\0"}, 0);
}

TEST(CostCounters, RgbLedColour) {
    SimBoard board(0xA563);
    RgbLedFace face;
    ASSERT_TRUE(face.init("rgb"));
    ASSERT_TRUE(face.setValue(60, false));
    expectCosts(board, [&] { return face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK); },
                [&] { return face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); },
                {"write /sys/class/leds/orva::av/color_fg blue\\0"}, 0);
}

TEST(CostCounters, RgbLedValue) {
    SimBoard board(0xA563);
    RgbLedFace face;
    ASSERT_TRUE(face.init("rgb"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    expectCosts(board, [&] { return face.setValue(40, false); }, [&] { return face.setValue(60, false); },
                {"write /sys/class/leds/orva::av/brightness 1\\0"}, 0);
}

TEST(CostCounters, RgbLedAnimationStep) {
    SimBoard board(0xA563);
    RgbLedFace face;
    ASSERT_TRUE(face.init("rgb"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    expectCosts(board, [&] { return face.setAnimStep(2); }, [&] { return face.setAnimStep(1); },
                {"write /sys/class/leds/orva::av/anim_trigger step_cw\\0"}, 0);
}

TEST(CostCounters, MulticolourRingColour) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setValue(60, false));
    expectCosts(board, [&] { return face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK); },
                [&] { return face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); },
                {"write /sys/class/leds/multicolor:status/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:status_1/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:indicator/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_2/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:status_3/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:status_4/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:indicator_1/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_5/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:status_6/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:status_7/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:indicator_2/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_8/multi_intensity 0 0 153\\0", "write /sys/class/leds/multicolor:indicator_3/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_9/multi_intensity 0 0 153\\0"}, 0);
}

TEST(CostCounters, MulticolourRingAnimationStep) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    ASSERT_TRUE(face.setAnimDensity(30));
    ASSERT_TRUE(face.setAnimEnable(true));
    expectCosts(board, [&] { return face.setAnimStep(2); }, [&] { return face.setAnimStep(1); },
                {"write /sys/class/leds/multicolor:status_4/multi_intensity 255 0 0\\0", "write /sys/class/leds/multicolor:status_5/multi_intensity 255 0 0\\0", "write /sys/class/leds/multicolor:indicator_1/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_6/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_7/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_8/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:indicator_2/multi_intensity 255 255 0\\0", "write /sys/class/leds/multicolor:status_9/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:indicator_3/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_1/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_2/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:indicator/multi_intensity 0 0 0\\0", "write /sys/class/leds/multicolor:status_3/multi_intensity 0 0 0\\0"}, 0);
}

TEST(CostCounters, DriverRingColour) {
    SimBoard board(0xA598);
    Ktd2061LedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setValue(60, false));
    expectCosts(board, [&] { return face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK); },
                [&] { return face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK); },
                {"write /sys/class/leds/ktd2061/C2 001\\0", "write /sys/class/leds/ktd2061/C1 001\\0", "write /sys/class/leds/ktd2061/C4 001\\0", "write /sys/class/leds/ktd2061/C3 001\\0", "write /sys/class/leds/ktd2061/B4 001\\0", "write /sys/class/leds/ktd2061/B3 001\\0", "write /sys/class/leds/ktd2061/B2 001\\0", "write /sys/class/leds/ktd2061/B1 001\\0", "write /sys/class/leds/ktd2061/A4 001\\0", "write /sys/class/leds/ktd2061/A3 001\\0", "write /sys/class/leds/ktd2061/A2 001\\0", "write /sys/class/leds/ktd2061/A1 001\\0"}, 0);
}

TEST(CostCounters, DriverRingAnimationStep) {
    SimBoard board(0xA598);
    Ktd2061LedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    ASSERT_TRUE(face.setAnimDensity(20));
    ASSERT_TRUE(face.setAnimEnable(true));
    expectCosts(board, [&] { return face.setAnimStep(2); }, [&] { return face.setAnimStep(1); },
                {"write /sys/class/leds/ktd2052/LED4 99 0 0 \\0", "write /sys/class/leds/ktd2061/A3 000\\0", "write /sys/class/leds/ktd2061/A1 001\\0"}, 0);
}

// ---- buttons: one poll with the input unchanged ----

namespace {
void expectPoll(SimBoard& board, const std::function<bool()>& poll, const std::vector<std::string>& calls) {
    for (int i = 0; i < 16; ++i) ASSERT_TRUE(poll());
    const Cost cost = costOf(board, poll);
    EXPECT_THAT(cost.calls, ElementsAreArray(calls));
    EXPECT_EQ(cost.allocations, 0);
}
}  // namespace

TEST(CostCounters, RingButtonPoll) {
    SimBoard board(0xA575);
    RecordingObserver observer;
    RingButton button;
    ASSERT_TRUE(button.init(&observer, 100));
    expectPoll(board, [&] { return button.service(); },
               {"read /proc/gpio/ring_btn 1\\n"});
}

TEST(CostCounters, EnclosureDetectorPoll) {
    SimBoard board(0xA5B0);
    RecordingObserver observer;
    EnclosureDetButton button;
    ASSERT_TRUE(button.init(&observer, 100));
    expectPoll(board, [&] { return button.service(); },
               {"read /proc/gpio/enclosure_det 1\\n"});
}

TEST(CostCounters, DcCableDetectorPoll) {
    SimBoard board(0xA5C0);
    RecordingObserver observer;
    DCCableDetector button;
    ASSERT_TRUE(button.init(&observer, -1));
    expectPoll(board, [&] { return button.service(); },
               {"read /proc/gpio/dcpowered 1\\n"});
}

TEST(CostCounters, GpioResetButtonPoll) {
    SimBoard board(0xA533);
    RecordingObserver observer;
    ResetGPIOButtonCase button;
    ASSERT_TRUE(button.init(&observer, 100));
    expectPoll(board, [&] { return button.service(); },
               {"read /proc/gpio/reset_btn 1\\n"});
}

TEST(CostCounters, ResetButtonOfTheBoardPoll) {
    SimBoard board(0xA533);
    RecordingObserver observer;
    ResetButtonCase button;
    ASSERT_TRUE(button.init(&observer, 100));
    expectPoll(board, [&] { return button.service(); },
               {"read /proc/gpio/reset_btn 1\\n"});
}

TEST(CostCounters, SharedMemoryResetButtonPoll) {
    SimBoard board(0xA564);
    RecordingObserver observer;
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    expectPoll(board, [&] { return button.service(); }, {});
}
