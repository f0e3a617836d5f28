// Long runs of every button and LED face on the boards that have them: polls of every button kind
// through press, hold and release cycles, and value, colour and animation changes of every LED face
// (the counts are set below). What must not move over such a run is counted before and
// after it, after a warm-up: descriptors the simulator sees open, descriptors of the process, live
// heap blocks, and the process's memory mappings and size.
//
// The simulator journals every call and would grow with the run: the journal is cleared every
// kPeriod iterations, always at the same point of the cycle, so its storage reaches its largest size
// during the warm-up and is reused afterwards. Observers count events into fixed storage and log
// records are checked and dropped at the same points, so the test itself keeps no growing state.
// The journal and log of the last warm-up period are kept and compared with those of one more
// period run after the counted part, so the run must also keep doing the same calls to the end.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <functional>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "ButtonEvents.h"
#include "LogCapture.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
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

namespace {

using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::Sandbox;
using orva::sim::SharedMemory;
using orva::sim::SimBoard;
using orva::test::ButtonEvent;
using orva::test::LogCapture;
using ::testing::IsEmpty;

// The counts a camera process must stand: a million polls of every button kind and a hundred
// thousand changes of every LED face (natively some three minutes on two cores, the microcontroller
// tool's stand-in included: it runs in the process). Under the emulator every system call is
// translated, and the simulator walks each path one directory at a time (the emulator has no
// openat2): the run divided by 250 takes some 45 s there, the full counts would take about three
// hours. So there they are divided by kEmulatorScale (4000 polls and 400 changes); the warm-up and
// the journal period stay the same.
#ifdef ORVA_TEST_UNDER_EMULATOR
constexpr long kEmulatorScale = 250;
#else
constexpr long kEmulatorScale = 1;
#endif

constexpr long kButtonPolls = 1000000 / kEmulatorScale;
constexpr long kLedChanges = 100000 / kEmulatorScale;
constexpr long kPeriod = 400;           // iterations between two clears of the journal (every cycle divides it)
constexpr long kWarmUp = 2 * kPeriod;   // iterations before the first count

// The simulator serves every call from real files of its sandbox directory, replacing a file by
// a rename on every write. On a disk file system each such rename goes through the file system's
// journal; in memory it costs a few microseconds. The sandboxes of this run are made in /dev/shm
// where the machine has it as a writable memory file system (a run on a disk is the same run,
// only slower).
class SandboxesInMemory : public ::testing::Environment {
public:
    void SetUp() override {
        struct statfs info {};
        if (::statfs("/dev/shm", &info) == 0 && info.f_type == TMPFS_MAGIC && ::access("/dev/shm", W_OK | X_OK) == 0) {
            ::setenv("TMPDIR", "/dev/shm", 1);
        }
    }
};

const ::testing::Environment* const kSandboxesInMemory =
    ::testing::AddGlobalTestEnvironment(new SandboxesInMemory);  // gtest owns and deletes it

// ---- what is counted ----

// A whole file of /proc/self read into fixed storage (no heap), "" when it cannot be read.
const char* readProcFile(const char* path) {
    static char buffer[1 << 17];
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return "";
    size_t length = 0;
    while (length < sizeof(buffer) - 1) {
        const ssize_t got = ::read(fd, buffer + length, sizeof(buffer) - 1 - length);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        length += static_cast<size_t>(got);
    }
    ::close(fd);
    buffer[length] = '\0';
    return buffer;
}

long statusKb(const char* status, const char* key) {
    const char* line = std::strstr(status, key);
    return line == nullptr ? -1 : std::strtol(line + std::strlen(key), nullptr, 10);
}

struct Footprint {
    long liveBlocks = 0;
    int sandboxDescriptors = 0;
    int processDescriptors = 0;
    int mappings = 0;
    long vmSizeKb = 0;
    long vmRssKb = 0;
};

Footprint footprint(const Sandbox& sandbox) {
    Footprint now;
    now.liveBlocks = orva::test::liveBlockCount();
    now.sandboxDescriptors = sandbox.openDescriptors();
    if (DIR* directory = ::opendir("/proc/self/fd")) {
        while (const dirent* entry = ::readdir(directory)) {
            if (entry->d_name[0] != '.') ++now.processDescriptors;
        }
        ::closedir(directory);
    }
    for (const char* maps = readProcFile("/proc/self/maps"); *maps != '\0'; ++maps) {
        if (*maps == '\n') ++now.mappings;
    }
    const char* status = readProcFile("/proc/self/status");
    now.vmSizeKb = statusKb(status, "VmSize:");
    now.vmRssKb = statusKb(status, "VmRSS:");
    return now;
}

void expectFlat(const Footprint& before, const Footprint& after) {
    EXPECT_EQ(after.liveBlocks, before.liveBlocks) << "live heap blocks";
    EXPECT_EQ(after.sandboxDescriptors, before.sandboxDescriptors) << "descriptors open on simulated files";
    EXPECT_EQ(after.processDescriptors, before.processDescriptors) << "descriptors of the process";
    EXPECT_GT(before.mappings, 0);
    EXPECT_LE(after.mappings, before.mappings) << "lines of /proc/self/maps";
    EXPECT_GT(before.vmSizeKb, 0);
#ifndef ORVA_TEST_UNDER_EMULATOR
    // Under the emulator the process status is the emulator's own (its translation buffers grow
    // as code is met); the mappings above are the target's.
    EXPECT_LE(after.vmSizeKb, before.vmSizeKb) << "VmSize";
#endif
    // Resident size moves by a page now and then as the kernel pages code and data in and out:
    // reported, not compared.
    EXPECT_GT(before.vmRssKb, 0);
    ::testing::Test::RecordProperty("VmRSSBeforeKb", std::to_string(before.vmRssKb));
    ::testing::Test::RecordProperty("VmRSSAfterKb", std::to_string(after.vmRssKb));
}

// ---- the run ----

// What a journal entry did, without its descriptor number and time.
std::string describe(const JournalEntry& entry, bool withBytes) {
    if (!withBytes) return std::string(orva::sim::callName(entry.call)) + " " + entry.path;
    std::string text = std::string(orva::sim::callName(entry.call)) + " " + entry.path + " flags " +
                       std::to_string(entry.flags) + " offset " + std::to_string(entry.offset) + " count " +
                       std::to_string(entry.count) + " result " + std::to_string(entry.result) + " errno " +
                       std::to_string(entry.error);
    if (withBytes) {
        text += " bytes '" + entry.bytes + "'";
        for (const std::string& argument : entry.arguments) text += " " + argument;
    }
    return text;
}

std::vector<std::string> describe(const std::vector<orva::host::LogRecord>& records) {
    std::vector<std::string> lines;
    for (const orva::host::LogRecord& record : records) {
        lines.push_back(record.tag + " " + record.file + ":" + record.function + " level " + std::to_string(record.level) +
                        " errno " + std::to_string(record.errorNumber) + " " + record.text);
    }
    return lines;
}

std::vector<std::string> describe(const std::vector<JournalEntry>& journal, bool withBytes) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) lines.push_back(describe(entry, withBytes));
    return lines;
}

struct RunOptions {
    long iterations = 0;
    // Animation faces move their segment one LED per step, which does not repeat with the journal
    // period, and the LP5012's drifting field changes length: for them only the sequence of calls
    // and files is compared.
    bool compareBytes = true;
    // Whether the face or button makes simulated calls at all (the power LED has no hardware).
    bool makesCalls = true;
    // Whether a change is logged (the microcontroller tool's colour changes are).
    bool logsChanges = false;
    // The KTD20xx ring writes only the nodes a frame changes, and which ones depends on where the
    // segment is: its periods are not compared at all.
    bool comparePeriods = true;
};

// Runs step(i) for the warm-up and then for options.iterations more iterations, clearing the
// journal every kPeriod iterations, and counts right after the clear that ends the warm-up and
// right after the clear that ends the run. The last warm-up period's journal is compared with the
// journal of one more period run afterwards from the same point of the cycle. step returns false
// on any refused operation.
void soak(SimBoard& board, LogCapture& log, const RunOptions& options, const std::function<bool(long)>& step) {
    Sandbox& sandbox = board.sandbox();
    ASSERT_EQ(options.iterations % kPeriod, 0);
    ASSERT_GE(options.iterations, kPeriod);
    long failures = 0;
    long firstFailure = -1;
    long periodsWithOtherLogs = 0;
    std::vector<std::string> warmUpPeriod;
    std::vector<std::string> warmUpLog;
    auto run = [&](long first, long count) {
        for (long i = first; i < first + count; ++i) {
            if (!step(i)) {
                if (firstFailure < 0) firstFailure = i;
                ++failures;
            }
            if ((i + 1) % kPeriod == 0) {
                if (i + 1 == kWarmUp) {
                    warmUpPeriod = describe(sandbox.journal(), options.compareBytes);
                    warmUpLog = describe(log.records());
                } else if (i + 1 > kWarmUp && log.records().size() != warmUpLog.size()) {
                    ++periodsWithOtherLogs;
                }
                log.clear();
                sandbox.clearJournal();
            }
        }
    };
    sandbox.clearJournal();
    log.clear();
    run(0, kWarmUp);
    const Footprint before = footprint(sandbox);
    run(kWarmUp, options.iterations);
    const Footprint after = footprint(sandbox);
    expectFlat(before, after);

    const long extra = kWarmUp + options.iterations;
    run(extra, kPeriod - 1);
    if (!step(extra + kPeriod - 1)) ++failures;
    if (options.comparePeriods) {
        EXPECT_EQ(describe(sandbox.journal(), options.compareBytes), warmUpPeriod);
    }
    EXPECT_EQ(warmUpPeriod.empty(), !options.makesCalls);
    EXPECT_EQ(failures, 0) << "first refused at iteration " << firstFailure;
    // Faces that log a change (the tool's colour) log the same records every period.
    EXPECT_EQ(periodsWithOtherLogs, 0);
    EXPECT_EQ(describe(log.records()), warmUpLog);
    if (!options.logsChanges) {
        EXPECT_THAT(warmUpLog, IsEmpty());
    }
}

// ---- buttons ----

// A poll every 10 ms of virtual time; the button is pressed for the first 35 polls of every 50.
constexpr long kCyclePolls = 50;
constexpr long kPressedPolls = 35;
constexpr uint64_t kPollMs = 10;

// Counts whole press cycles whose events are exactly the expected ones, in fixed storage.
class CycleObserver : public IButtonEventsObserver {
public:
    void onButtonPressed() override { add(orva::test::pressed()); }
    void onButtonHeld(unsigned durationMs) override { add(orva::test::held(durationMs)); }
    void onButtonReleased(unsigned durationMs) override {
        add(orva::test::released(durationMs));
        const ButtonEvent expected[] = {orva::test::pressed(),  orva::test::held(10),  orva::test::held(110),
                                        orva::test::held(210), orva::test::held(310), orva::test::released(350)};
        bool same = count_ == sizeof(expected) / sizeof(expected[0]);
        for (size_t i = 0; same && i < count_; ++i) same = events_[i] == expected[i];
        if (same) {
            ++goodCycles;
        } else {
            ++badCycles;
            if (firstBad.empty()) {
                for (size_t i = 0; i < count_ && i < kCapacity; ++i) firstBad.push_back(events_[i]);
            }
        }
        count_ = 0;
    }

    long goodCycles = 0;
    long badCycles = 0;
    std::vector<ButtonEvent> firstBad;  // the events of the first cycle that differed

private:
    static constexpr size_t kCapacity = 16;
    void add(const ButtonEvent& event) {
        if (count_ < kCapacity) events_[count_] = event;
        ++count_;
    }
    ButtonEvent events_[kCapacity] = {};
    size_t count_ = 0;
};

// Soaks a button that reports through observer; press(bool) puts the input in the given state.
template <typename Button>
void soakButton(SimBoard& board, Button& button, CycleObserver& observer, const std::function<void(bool)>& press,
                bool makesCalls = true) {
    LogCapture log;
    press(false);
    ASSERT_TRUE(button.init(&observer, 100));
    const RunOptions options{kButtonPolls, true, makesCalls, false, true};
    soak(board, log, options, [&](long i) {
        const long position = i % kCyclePolls;
        if (position == 0) press(true);
        if (position == kPressedPolls) press(false);
        const bool ok = button.service();
        board.advanceMs(kPollMs);
        return ok;
    });
    const long polls = kWarmUp + options.iterations + kPeriod;
    EXPECT_EQ(observer.goodCycles, polls / kCyclePolls);
    EXPECT_EQ(observer.badCycles, 0);
    EXPECT_THAT(observer.firstBad, IsEmpty());
}

std::function<void(bool)> procEntry(SimBoard& board, const std::string& path) {
    return [&board, path](bool pressed) { board.sandbox().setValue(path, pressed ? "0" : "1"); };
}

std::function<void(bool)> sharedMemoryByte() {
    return [](bool pressed) { SharedMemory::setByte(orva::sim::kResetButtonSegmentKey, 271, pressed ? 0 : 1); };
}

TEST(Soak, ResetGpioButtonOnBoardA533) {
    SimBoard board(0xA533);
    CycleObserver observer;
    ResetGPIOButtonCase button;
    ASSERT_TRUE(button.exists());
    soakButton(board, button, observer, procEntry(board, "/proc/gpio/reset_btn"));
}

TEST(Soak, RingButtonOnBoardA575) {
    SimBoard board(0xA575);
    CycleObserver observer;
    RingButton button;
    ASSERT_TRUE(button.exists());
    soakButton(board, button, observer, procEntry(board, "/proc/gpio/ring_btn"));
}

TEST(Soak, EnclosureDetectorOnBoardA5B0) {
    SimBoard board(0xA5B0);
    CycleObserver observer;
    EnclosureDetButton button;
    ASSERT_TRUE(button.exists());
    soakButton(board, button, observer, procEntry(board, "/proc/gpio/enclosure_det"));
}

TEST(Soak, DcCableDetectorOnBoardA5C0) {
    SimBoard board(0xA5C0);
    CycleObserver observer;
    DCCableDetector button;
    ASSERT_TRUE(button.exists());
    soakButton(board, button, observer, procEntry(board, "/proc/gpio/dcpowered"));
}

TEST(Soak, SharedMemoryResetButtonOnBoardA564) {
    SimBoard board(0xA564);
    CycleObserver observer;
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.exists());
    soakButton(board, button, observer, sharedMemoryByte(), false);  // reads memory, no file
}

TEST(Soak, ResetButtonCaseOnAGpioBoard) {
    SimBoard board(0xA533);
    CycleObserver observer;
    ResetButtonCase button;
    soakButton(board, button, observer, procEntry(board, "/proc/gpio/reset_btn"));
}

TEST(Soak, ResetButtonCaseOnTheSharedMemoryBoard) {
    SimBoard board(0xA564);
    CycleObserver observer;
    ResetButtonCase button;
    soakButton(board, button, observer, sharedMemoryByte(), false);  // reads memory, no file
}

// ---- LED faces ----

// Initialises face as name on board and runs step for kLedChanges changes.
void soakFace(SimBoard& board, BaseLed& face, const char* name, const std::function<bool(long)>& step,
              bool compareBytes = true, bool makesCalls = true, bool logsChanges = false,
              bool comparePeriods = true) {
    LogCapture log;
    ASSERT_TRUE(face.init(name));
    soak(board, log, RunOptions{kLedChanges, compareBytes, makesCalls, logsChanges, comparePeriods}, step);
}

// Two values taking turns.
bool alternateValues(BaseLed& face, long i, int low, int high) { return face.setValue(i % 2 ? high : low, false); }

// Values and colours in turn: value, colour, other value, other colour.
bool valuesAndColours(BaseLed& face, long i, BaseLed::Color first, BaseLed::Color second) {
    switch (i % 4) {
    case 0: return face.setValue(80, false);
    case 1: return face.setColor(first, BaseLed::COLOR_BLACK);
    case 2: return face.setValue(30, false);
    default: return face.setColor(second, BaseLed::COLOR_BLACK);
    }
}

// Values, colours, animation colours, density, animation on and off and animation steps, with
// every setting taking two values in turn (a cycle of 16 iterations).
bool everySetting(BaseLed& face, long i) {
    const bool second = (i / 8) % 2 != 0;
    switch (i % 8) {
    case 0: return face.setValue(second ? 40 : 100, false);
    case 1: return face.setColor(second ? BaseLed::COLOR_BLUE : BaseLed::COLOR_RED, BaseLed::COLOR_BLACK);
    case 2: return face.setAnimColor(second ? BaseLed::COLOR_GREEN : BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE);
    case 3: return face.setAnimDensity(second ? 20 : 40);
    case 4: return face.setAnimEnable(true);
    case 5: return face.setAnimStep(static_cast<int>(i));
    case 6: return face.setAnimStep(static_cast<int>(i));
    default: return face.setAnimEnable(false);
    }
}

TEST(Soak, FrontLightOnBoardA533) {
    SimBoard board(0xA533);
    LedFace face;
    soakFace(board, face, "front", [&](long i) { return alternateValues(face, i, 20, 80); });
}

TEST(Soak, PowerLedWithoutHardware) {
    SimBoard board(0xA533);
    LedPower face;
    soakFace(board, face, "power", [&](long i) { return face.setBoolean(i % 2 == 0); }, true, false);
}

TEST(Soak, LedClassColourLedOnBoardA5A0) {
    SimBoard board(0xA5A0);
    LedSysfs face;
    soakFace(board, face, "status",
             [&](long i) { return valuesAndColours(face, i, BaseLed::COLOR_RED, BaseLed::COLOR_GREEN); });
}

TEST(Soak, LedClassColourLedOnBoardA597) {
    SimBoard board(0xA597);
    LedSysfs face;
    soakFace(board, face, "status",
             [&](long i) { return valuesAndColours(face, i, BaseLed::COLOR_BLUE, BaseLed::COLOR_GREEN); },
             false);  // the second unit's lowest field drifts with every write until it saturates
}

TEST(Soak, MicrocontrollerPlaceholderOnBoardA574) {
    SimBoard board(0xA574);
    McuLedFace face;
    soakFace(board, face, "status", [&](long i) { return alternateValues(face, i, 0, 100); }, true, false);
}

TEST(Soak, MicrocontrollerLedsThroughTheToolOnBoardA574) {
    SimBoard board(0xA574);
    orva::sim::registerUartcli(0);
    UartcliLedFace face;
    soakFace(board, face, "status",
             [&](long i) { return valuesAndColours(face, i, BaseLed::COLOR_RED, BaseLed::COLOR_GREEN); }, true, true,
             true);
}

TEST(Soak, EthernetPhyLedOnBoardA564) {
    SimBoard board(0xA564);
    LedPhy face;
    soakFace(board, face, "phy", [&](long i) { return face.setBoolean(i % 2 == 0); });
}

TEST(Soak, GreenLedOnBoardA571) {
    SimBoard board(0xA571);
    GreenLedFace face;
    soakFace(board, face, "green", [&](long i) { return alternateValues(face, i, 10, 100); });
}

TEST(Soak, GreenLedWithColoursOnBoardA574) {
    SimBoard board(0xA574);
    GreenLedFace face;
    soakFace(board, face, "green",
             [&](long i) { return valuesAndColours(face, i, BaseLed::COLOR_GREEN, BaseLed::COLOR_AMBER); });
}

TEST(Soak, InfraredLightOnBoardA533) {
    SimBoard board(0xA533);
    LedIr face;
    soakFace(board, face, "ir", [&](long i) { return alternateValues(face, i, 10, 90); });
    EXPECT_THAT(board.sandbox().sleeps(), IsEmpty());  // no fade on this board
}

TEST(Soak, InfraredWhiteAndAccessoryLightsOnBoardA598) {
    SimBoard board(0xA598);
    LedIr face;
    soakFace(board, face, "ir", [&](long i) {
        switch (i % 4) {
        case 0: return face.setValue(60, false);
        case 1: return face.setWhiteLedOn(true) && face.accessoryIrOn(true);
        case 2: return face.setValue(0, false);
        default: return face.setWhiteLedOn(false) && face.accessoryIrOn(false);
        }
    });
}

TEST(Soak, GlowLightOnBoardA598) {
    SimBoard board(0xA598);
    LedGlow face;
    soakFace(board, face, "glow", [&](long i) { return alternateValues(face, i, 0, 50); });
}

TEST(Soak, AvColourLedOnBoardA573) {
    SimBoard board(0xA573);
    CompoundLedFace face;
    soakFace(board, face, "av",
             [&](long i) { return valuesAndColours(face, i, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE); });
}

TEST(Soak, RgbLedWithAnimationsOnBoardA563) {
    SimBoard board(0xA563);
    RgbLedFace face;
    soakFace(board, face, "rgb", [&](long i) { return everySetting(face, i); });
}

TEST(Soak, MulticolourRingOnBoardA5B0) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    soakFace(board, face, "ring", [&](long i) { return everySetting(face, i); }, false);
}

TEST(Soak, Ktd20xxRingOnBoardA598) {
    SimBoard board(0xA598);
    Ktd2061LedFace face;
    soakFace(board, face, "ring", [&](long i) { return everySetting(face, i) && face.service(); }, false, true,
             false, false);
}

TEST(Soak, Ktd20xxRingWithModeNodesOnBoardA5A4) {
    SimBoard board(0xA5A4);
    Ktd2061LedFace face;
    // 601 ms of virtual time per change: the off mode is re-asserted from service() once more than a
    // minute has passed since the last time, which is every 100 changes (60.1 s; 99 changes are
    // 59.5 s), so each journal period holds the same calls. (At 600 ms it would be every 101
    // changes, which drifts against the period.)
    soakFace(board, face, "ring", [&](long i) {
        const bool ok = alternateValues(face, i, 0, 60) && face.service();
        board.advanceMs(601);
        return ok;
    });
}

TEST(Soak, Ktd20xxRingWhiteValuesOnBoardA5A4) {
    SimBoard board(0xA5A4);
    Ktd2061LedFace face;
    // White: every change writes the brightness nodes and switches the mode node on or off (which
    // also restarts the minute after which service() re-asserts the off mode).
    soakFace(board, face, "ring", [&](long i) {
        const bool coloured = i != 0 || face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK);
        const bool ok = coloured && alternateValues(face, i, 0, 60) && face.service();
        board.advanceMs(601);
        return ok;
    });
}

// ---- the counter the soak relies on ----

// Keeps the optimiser from removing an allocation whose block is never used.
template <typename T>
T* used(T* block) {
    asm volatile("" : : "r"(block) : "memory");
    return block;
}

TEST(Soak, LiveBlockCountFollowsEveryFormOfNewAndDelete) {
    // The counts are taken into locals first: an assertion may allocate on its own.
    struct alignas(64) Wide {
        char bytes[64];
    };
    const long start = orva::test::liveBlockCount();
    int* one = used(new int(1));
    int* many = used(new int[4]);
    Wide* wide = used(new Wide);
    int* quiet = used(new (std::nothrow) int(2));
    const long allocated = orva::test::liveBlockCount();
    delete one;
    delete[] many;
    delete wide;
    delete quiet;
    int* none = nullptr;
    delete none;
    const long freed = orva::test::liveBlockCount();
    std::string* kept = used(new std::string(100, 'x'));  // the object and its characters
    const long leaked = orva::test::liveBlockCount();
    delete kept;
    const long end = orva::test::liveBlockCount();
    EXPECT_EQ(allocated, start + 4);
    EXPECT_EQ(freed, start);
    EXPECT_EQ(leaked, start + 2);
    EXPECT_EQ(end, start);
}

}  // namespace
