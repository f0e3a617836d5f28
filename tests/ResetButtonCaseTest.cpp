// ResetButtonCase: the reset button chosen by board, its fixed 100 ms hold interval, repeated
// initialisation and the failures it reports.
#include <cerrno>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ButtonEvents.h"
#include "LogCapture.h"
#include "orva/host_platform.h"
#include "orva/platform.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/ResetButtonCase.h"

namespace {

using orva::sim::BoardProfile;
using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::kResetButtonSegmentKey;
using orva::sim::SharedMemory;
using orva::sim::SimBoard;
using orva::test::ButtonEvent;
using orva::test::Expected;
using orva::test::held;
using orva::test::LogCapture;
using orva::test::pressed;
using orva::test::RecordingObserver;
using orva::test::released;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kResetEntry[] = "/proc/gpio/reset_btn";
constexpr size_t kButtonByte = 271;

// Console mode for one test.
class ConsoleMode {
public:
    ConsoleMode() { orva::host::setConsoleEnabled(true); }
    ~ConsoleMode() { orva::host::setConsoleEnabled(false); }
};

std::vector<std::string> callList(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> calls;
    for (const JournalEntry& entry : journal) {
        calls.push_back(std::string(orva::sim::callName(entry.call)) + " " + entry.path);
    }
    return calls;
}

// Presses the board's reset button at t=0, polls every 10 ms and releases it at t=350.
std::vector<ButtonEvent> pressFor350Ms(SimBoard& board, ResetButtonCase& reset, RecordingObserver& observer) {
    const bool shmem = board.profile().sysid == 0xA564;
    auto setPressed = [&](bool on) {
        if (shmem) {
            SharedMemory::setByte(kResetButtonSegmentKey, kButtonByte, on ? 0 : 1);
        } else {
            board.sandbox().setValue(kResetEntry, on ? "0" : "1");
        }
    };
    EXPECT_TRUE(reset.service());
    setPressed(true);
    for (int t = 0; t < 350; t += 10) {
        EXPECT_TRUE(reset.service());
        board.advanceMs(10);
    }
    setPressed(false);
    EXPECT_TRUE(reset.service());
    return observer.events;
}

TEST(ResetButtonCase, OnGpioBoardsItReadsTheResetEntry) {
    SimBoard board(0xA533);
    LogCapture log;
    RecordingObserver observer;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    ASSERT_TRUE(reset.service());
    EXPECT_THAT(callList(board.journal()), ElementsAre("open /proc/gpio/reset_btn", "read /proc/gpio/reset_btn"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, OnBoardA564ItReadsTheSharedMemorySegment) {
    SimBoard board(0xA564);
    LogCapture log;
    RecordingObserver observer;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    ASSERT_TRUE(reset.service());
    EXPECT_THAT(callList(board.journal()), ElementsAre("shm shmget", "shm shmat", "shm shmctl"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, HeldEventsEveryHundredMillisecondsWhateverIntervalIsAsked) {
    for (const uint32_t sysid : {0xA533u, 0xA564u}) {
        for (const int interval : {-1, 0, 5, 100, 1000}) {
            SimBoard board(sysid);
            RecordingObserver observer;
            ResetButtonCase reset;
            ASSERT_TRUE(reset.init(&observer, interval));
            EXPECT_THAT(pressFor350Ms(board, reset, observer),
                        ElementsAre(pressed(), held(10), held(110), held(210), held(310), released(350)))
                << std::hex << sysid << std::dec << " interval " << interval;
        }
    }
}

TEST(ResetButtonCase, ServiceBeforeInitFails) {
    SimBoard board(0xA533);
    LogCapture log;
    ResetButtonCase reset;
    EXPECT_FALSE(reset.service());
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, SecondInitReplacesAndDeletesTheFirstButton) {
    SimBoard board(0xA533);
    LogCapture log;
    RecordingObserver first;
    RecordingObserver second;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&first, 100));
    const int firstFd = static_cast<int>(board.journal().at(0).result);
    ASSERT_TRUE(reset.init(&second, 100));
    // The old button is deleted (its entry closed) before the new one opens its own.
    ASSERT_THAT(callList(board.journal()),
                ElementsAre("open /proc/gpio/reset_btn", "close /proc/gpio/reset_btn", "open /proc/gpio/reset_btn"));
    EXPECT_EQ(board.journal()[1].fd, firstFd);
    EXPECT_EQ(board.sandbox().openDescriptors(), 1);
    EXPECT_THAT(pressFor350Ms(board, reset, second), ElementsAre(pressed(), held(10), held(110), held(210), held(310),
                                                                  released(350)));
    EXPECT_THAT(first.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, SecondInitOnBoardA564DetachesTheFirstSegment) {
    SimBoard board(0xA564);
    LogCapture log;
    RecordingObserver observer;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    ASSERT_TRUE(reset.init(&observer, 100));
    EXPECT_THAT(callList(board.journal()), ElementsAre("shm shmget", "shm shmat", "shm shmctl", "shm shmdt",
                                                       "shm shmget", "shm shmat", "shm shmctl"));
    EXPECT_EQ(board.journal()[3].result, 0);
    EXPECT_EQ(SharedMemory::attachments(kResetButtonSegmentKey), 2u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, DestructorDeletesTheButton) {
    SimBoard board(0xA533);
    {
        ResetButtonCase reset;
        ASSERT_TRUE(reset.init(nullptr, 100));
        EXPECT_EQ(board.sandbox().openDescriptors(), 1);
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_EQ(callList(board.journal()).back(), "close /proc/gpio/reset_btn");
}

TEST(ResetButtonCase, MissingSegmentFailsInitAtEveryLevel) {
    SimBoard board(0xA564);
    SharedMemory::remove(kResetButtonSegmentKey);
    LogCapture log;
    RecordingObserver observer;
    {
        ResetButtonCase reset;
        EXPECT_FALSE(reset.init(&observer, 100));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{"src/ResetShmemButtonCase", "initGPIO", 3, 0, "failed to get shared memory"},
                                Expected{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"},
                                Expected{"src/ResetButtonCase", "init", 3, 0, "Failed to initialize reset button case"}));
        log.clear();
        EXPECT_FALSE(reset.service());  // not initialised
        EXPECT_THAT(log.records(), IsEmpty());
    }
    // The button it kept is deleted with it, and reports the detach of a segment it never had.
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/ResetShmemButtonCase", "~ResetShmemButtonCase", 6, 0,
                                                    "shared memory detach failed (Invalid argument)"}));
}

TEST(ResetButtonCase, FailedOpenOfTheResetEntry) {
    SimBoard board(0xA533);
    board.sandbox().failCalls(kResetEntry, Call::Open, EIO);
    LogCapture log;
    ResetButtonCase reset;
    EXPECT_FALSE(reset.init(nullptr, 100));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{"src/BaseGPIOResetButton", "initGPIO", 3, 0,
                                     "Failed to open proc entry '/proc/gpio/reset_btn'"},
                            Expected{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"},
                            Expected{"src/ResetButtonCase", "init", 3, 0, "Failed to initialize reset button case"}));
    EXPECT_FALSE(reset.service());
    // A later init builds a fresh button and succeeds.
    log.clear();
    EXPECT_TRUE(reset.init(nullptr, 100));
    EXPECT_TRUE(reset.service());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, ReadFailureComesBackFromService) {
    SimBoard board(0xA533);
    LogCapture log;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(nullptr, 100));
    const int fd = static_cast<int>(board.journal().at(0).result);
    board.sandbox().failCalls(kResetEntry, Call::Read, EIO);
    EXPECT_FALSE(reset.service());
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{"src/BaseGPIOResetButton", "readValue", 3, EIO,
                                     orva::utils::format("Failed to read from proc entry 0x%x, num bytes read -1", fd)},
                            Expected{"src/BaseButton", "service", 3, 0, "Failed to read button GPIO"}));
}

TEST(ResetButtonCase, ConsoleModeOnBoardA564NeedsNoSegmentAndNeverFires) {
    SimBoard board(0xA564);
    SharedMemory::remove(kResetButtonSegmentKey);
    ConsoleMode console;
    LogCapture log;
    RecordingObserver observer;
    {
        ResetButtonCase reset;
        ASSERT_TRUE(reset.init(&observer, 100));
        for (int i = 0; i < 5; ++i) {
            EXPECT_TRUE(reset.service());
            board.advanceMs(100);
        }
    }
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCase, ConsoleModeDoesNotAffectTheGpioButton) {
    SimBoard board(0xA533);
    ConsoleMode console;
    RecordingObserver observer;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    EXPECT_THAT(pressFor350Ms(board, reset, observer),
                ElementsAre(pressed(), held(10), held(110), held(210), held(310), released(350)));
}

TEST(ResetButtonCase, LateRevisionWithoutAResetButtonInitialisesAndStaysQuiet) {
    SimBoard board(0xA551);
    orva::variant::CameraInfo::instance()["hwrev"] = 34ULL;
    LogCapture log;
    RecordingObserver observer;
    ResetButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    board.sandbox().setValue(kResetEntry, "0");
    EXPECT_TRUE(reset.service());
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetButtonCaseDeathTest, MissingSysidIsFatal) {
    BoardProfile profile = BoardProfile::load(0xA533);
    profile.info.erase(profile.info.begin());  // sysid comes first
    ASSERT_FALSE(profile.info.empty());
    SimBoard board(profile);
    ASSERT_FALSE(orva::variant::CameraInfo::instance().HasKey("sysid"));
    EXPECT_DEATH(
        {
            ResetButtonCase reset;
            reset.init(nullptr, 100);
        },
        "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:sysid:[0-9]+: Key \"sysid\" not available");
}

}  // namespace
