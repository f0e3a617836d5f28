// Buttons and detectors read from "/proc/gpio/" entries: which boards have them, the exact calls on
// the entry, how its text reads, and every failure path.
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ButtonEvents.h"
#include "LogCapture.h"
#include "orva/platform.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace {

using orva::sim::BoardProfile;
using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::SimBoard;
using orva::test::Expected;
using orva::test::held;
using orva::test::LogCapture;
using orva::test::pressed;
using orva::test::RecordingObserver;
using orva::test::released;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kRingEntry[] = "/proc/gpio/ring_btn";
constexpr int kOpenFlags = O_RDWR | O_CREAT | O_TRUNC;

const Expected kReadFailed{"src/BaseButton", "service", 3, 0, "Failed to read button GPIO"};
const Expected kInitFailed{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"};

Expected openFailed(const std::string& path) {
    return {"src/BaseGPIOResetButton", "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}

Expected readFailed(int fd, int count, int error) {
    return {"src/BaseGPIOResetButton", "readValue", 3, error,
            orva::utils::format("Failed to read from proc entry 0x%x, num bytes read %d", fd, count)};
}

std::vector<Call> callsOf(const std::vector<JournalEntry>& entries) {
    std::vector<Call> calls;
    for (const JournalEntry& entry : entries) calls.push_back(entry.call);
    return calls;
}

// A board profile with one device-information key left out.
BoardProfile withoutKey(uint32_t sysid, const std::string& key) {
    BoardProfile profile = BoardProfile::load(sysid);
    for (auto it = profile.info.begin(); it != profile.info.end(); ++it) {
        if (it->key == key) {
            profile.info.erase(it);
            return profile;
        }
    }
    ADD_FAILURE() << "board has no key " << key;
    return profile;
}

void setInfo(const std::string& key, unsigned long long value) { orva::variant::CameraInfo::instance()[key] = value; }

// The ring button of board 0xA575 stands for every proc-entry input.
class RingButtonTest : public ::testing::Test {
protected:
    // Polls once with the entry holding text; returns what the button read.
    bool readsPressed(const std::string& text) {
        board.sandbox().setValue(kRingEntry, text);
        bool pressedNow = false;
        EXPECT_TRUE(ring.readValue(pressedNow)) << "entry '" << text << "'";
        return pressedNow;
    }
    int openedFd() {
        const std::vector<JournalEntry> opens = board.sandbox().journal(kRingEntry);
        return opens.empty() ? -1 : static_cast<int>(opens.front().result);
    }

    SimBoard board{0xA575};
    LogCapture log;
    RecordingObserver observer;
    RingButton ring;
};

TEST_F(RingButtonTest, InitOpensTheEntryOnceForReadingAndWriting) {
    ASSERT_TRUE(ring.init(&observer, 100));
    const std::vector<JournalEntry> calls = board.sandbox().journal(kRingEntry);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].call, Call::Open);
    EXPECT_EQ(calls[0].flags, kOpenFlags);
    EXPECT_EQ(calls[0].mode, 0666u);
    EXPECT_GT(calls[0].result, 0);
    EXPECT_EQ(board.sandbox().openDescriptors(), 1);
    EXPECT_EQ(board.value(kRingEntry), "1");  // O_TRUNC does not empty a proc entry
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RingButtonTest, EachPollReadsFifteenBytesAtOffsetZero) {
    ASSERT_TRUE(ring.init(&observer, 100));
    const int fd = openedFd();
    board.sandbox().clearJournal();
    board.sandbox().setValue(kRingEntry, "0");
    ASSERT_TRUE(ring.service());
    const std::vector<JournalEntry> calls = board.journal();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].call, Call::Read);
    EXPECT_EQ(calls[0].path, kRingEntry);
    EXPECT_EQ(calls[0].fd, fd);
    EXPECT_EQ(calls[0].offset, 0);
    EXPECT_EQ(calls[0].count, 15u);
    EXPECT_EQ(calls[0].bytes, "0\n");
    EXPECT_EQ(calls[0].result, 2);
    EXPECT_THAT(observer.events, ElementsAre(pressed()));
}

TEST_F(RingButtonTest, ZeroReadsPressedAndOneReleasedByDefault) {
    ASSERT_TRUE(ring.init(&observer, 100));
    EXPECT_TRUE(readsPressed("0"));
    EXPECT_FALSE(readsPressed("1"));
    EXPECT_TRUE(readsPressed("0\n"));
}

TEST_F(RingButtonTest, HighActiveReversesTheLevels) {
    ASSERT_TRUE(ring.init(&observer, 100));
    ring.setLowActive(false);
    EXPECT_FALSE(readsPressed("0"));
    EXPECT_TRUE(readsPressed("1"));
    ring.setLowActive(true);
    EXPECT_TRUE(readsPressed("0"));
}

TEST_F(RingButtonTest, OtherNumbersReadReleasedWhateverTheActiveLevel) {
    ASSERT_TRUE(ring.init(&observer, 100));
    for (const bool lowActive : {true, false}) {
        ring.setLowActive(lowActive);
        EXPECT_FALSE(readsPressed("2"));
        EXPECT_FALSE(readsPressed("-1"));
        EXPECT_FALSE(readsPressed("10"));
    }
}

TEST_F(RingButtonTest, TextIsTrimmedAndConvertedLikeAtoi) {
    ASSERT_TRUE(ring.init(&observer, 100));
    EXPECT_TRUE(readsPressed("  0  "));
    EXPECT_FALSE(readsPressed("\t1 "));
    EXPECT_FALSE(readsPressed("1abc"));  // atoi stops at the letters: 1
    EXPECT_TRUE(readsPressed("abc"));    // no digits: 0, which is the pressed level
    EXPECT_TRUE(readsPressed(""));       // only the newline comes back: 0
    ring.setLowActive(false);
    EXPECT_FALSE(readsPressed("garbage"));
    EXPECT_TRUE(readsPressed("+1"));
}

TEST_F(RingButtonTest, OnlyTheFirstFifteenBytesAreRead) {
    ASSERT_TRUE(ring.init(&observer, 100));
    // Sixteen digits: the sixteenth, a 1, is never read, so the number is 0.
    EXPECT_TRUE(readsPressed("0000000000000001"));
    const std::vector<JournalEntry> reads = board.sandbox().journal(kRingEntry);
    EXPECT_EQ(reads.back().bytes, "000000000000000");
    EXPECT_EQ(reads.back().result, 15);
    EXPECT_FALSE(readsPressed("000000000000001"));  // fifteen digits plus the newline: 1
}

TEST_F(RingButtonTest, PressHoldAndReleaseThroughTheEntry) {
    ASSERT_TRUE(ring.init(&observer, 100));
    ASSERT_TRUE(ring.service());
    board.sandbox().setValue(kRingEntry, "0");
    for (int t = 0; t <= 250; t += 50) {
        ASSERT_TRUE(ring.service());
        board.advanceMs(50);
    }
    board.sandbox().setValue(kRingEntry, "1");
    ASSERT_TRUE(ring.service());  // 300 ms after the press
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(50), held(150), held(250), released(300)));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RingButtonTest, OpenInterruptedBySignalsIsRepeated) {
    board.sandbox().failCalls(kRingEntry, Call::Open, EINTR, 2);
    ASSERT_TRUE(ring.init(&observer, 100));
    const std::vector<JournalEntry> calls = board.sandbox().journal(kRingEntry);
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].error, EINTR);
    EXPECT_EQ(calls[1].error, EINTR);
    EXPECT_GT(calls[2].result, 0);
    for (const JournalEntry& call : calls) {
        EXPECT_EQ(call.flags, kOpenFlags);
        EXPECT_EQ(call.mode, 0666u);
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RingButtonTest, ReadInterruptedBySignalsIsRepeated) {
    ASSERT_TRUE(ring.init(&observer, 100));
    board.sandbox().setValue(kRingEntry, "0");
    board.sandbox().failCalls(kRingEntry, Call::Read, EINTR, 3);
    board.sandbox().clearJournal();
    ASSERT_TRUE(ring.service());
    EXPECT_THAT(callsOf(board.journal()), ElementsAre(Call::Read, Call::Read, Call::Read, Call::Read));
    EXPECT_EQ(board.journal().back().bytes, "0\n");
    EXPECT_THAT(observer.events, ElementsAre(pressed()));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(RingButtonTest, OpenGivingDescriptorZeroCountsAsFailure) {
    board.sandbox().zeroDescriptor(kRingEntry);
    {
        RingButton failing;
        EXPECT_FALSE(failing.init(&observer, 100));
        EXPECT_THAT(log.records(), ElementsAre(openFailed(kRingEntry), kInitFailed));
        board.sandbox().clearJournal();
    }
    // The destructor closes every descriptor that is not negative, 0 included.
    ASSERT_EQ(board.journal().size(), 1u);
    EXPECT_EQ(board.journal()[0].call, Call::Close);
    EXPECT_EQ(board.journal()[0].fd, 0);
}

TEST_F(RingButtonTest, EntryMissingFromTheBoardFailsToOpen) {
    board.sandbox().removeAttribute(kRingEntry);
    {
        RingButton failing;
        EXPECT_FALSE(failing.init(&observer, 100));
        const std::vector<JournalEntry> calls = board.sandbox().journal(kRingEntry);
        ASSERT_EQ(calls.size(), 1u);
        EXPECT_EQ(calls[0].error, EACCES);  // a missing proc entry with O_CREAT
        board.sandbox().clearJournal();
    }
    EXPECT_THAT(log.records(), ElementsAre(openFailed(kRingEntry), kInitFailed));
    EXPECT_THAT(board.journal(), IsEmpty());  // nothing to close
    EXPECT_FALSE(board.sandbox().hasAttribute(kRingEntry));
}

TEST_F(RingButtonTest, ReadErrorIsReportedWithErrnoAndCountMinusOne) {
    ASSERT_TRUE(ring.init(&observer, 100));
    board.sandbox().failCalls(kRingEntry, Call::Read, EIO);
    EXPECT_FALSE(ring.service());
    EXPECT_THAT(log.records(), ElementsAre(readFailed(openedFd(), -1, EIO), kReadFailed));
    EXPECT_THAT(observer.events, IsEmpty());
}

TEST_F(RingButtonTest, EmptyReadIsAFailure) {
    ASSERT_TRUE(ring.init(&observer, 100));
    board.sandbox().emptyRead(kRingEntry);
    errno = 0;
    EXPECT_FALSE(ring.service());
    EXPECT_THAT(log.records(), ElementsAre(readFailed(openedFd(), 0, 0), kReadFailed));
    EXPECT_TRUE(ring.service());
}

TEST_F(RingButtonTest, FailedReadDuringAPressKeepsThePress) {
    ASSERT_TRUE(ring.init(&observer, 100));
    board.sandbox().setValue(kRingEntry, "0");
    ASSERT_TRUE(ring.service());
    board.advanceMs(20);
    ASSERT_TRUE(ring.service());  // held(20)
    board.advanceMs(100);
    board.sandbox().failCalls(kRingEntry, Call::Read, EIO);
    EXPECT_FALSE(ring.service());
    board.advanceMs(10);
    ASSERT_TRUE(ring.service());  // still pressed: held(130)
    board.sandbox().setValue(kRingEntry, "1");
    board.advanceMs(10);
    ASSERT_TRUE(ring.service());
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(20), held(130), released(140)));
    EXPECT_THAT(log.records(), ElementsAre(readFailed(openedFd(), -1, EIO), kReadFailed));
}

TEST_F(RingButtonTest, DestructorClosesTheEntry) {
    int fd = -1;
    {
        RingButton another;
        ASSERT_TRUE(another.init(&observer, 100));
        fd = openedFd();
        board.sandbox().clearJournal();
    }
    ASSERT_EQ(board.journal().size(), 1u);
    EXPECT_EQ(board.journal()[0].call, Call::Close);
    EXPECT_EQ(board.journal()[0].fd, fd);
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST_F(RingButtonTest, NullObserverPollsQuietly) {
    ASSERT_TRUE(ring.init(nullptr, 0));
    board.sandbox().setValue(kRingEntry, "0");
    ASSERT_TRUE(ring.service());
    board.advanceMs(10);
    ASSERT_TRUE(ring.service());
    board.sandbox().setValue(kRingEntry, "1");
    ASSERT_TRUE(ring.service());
    EXPECT_THAT(log.records(), IsEmpty());
}

// Which boards have which input.

TEST(ProcEntries, EachInputNamesItsEntry) {
    SimBoard board(0xA533);
    EXPECT_EQ(ResetGPIOButtonCase().getProcEntry(), "/proc/gpio/reset_btn");
    EXPECT_EQ(RingButton().getProcEntry(), "/proc/gpio/ring_btn");
    EXPECT_EQ(EnclosureDetButton().getProcEntry(), "/proc/gpio/enclosure_det");
    EXPECT_EQ(DCCableDetector().getProcEntry(), "/proc/gpio/dcpowered");
}

TEST(ProcEntries, RingButtonOnlyOnBoardA575) {
    {
        SimBoard board(0xA575);
        EXPECT_TRUE(RingButton().exists());
    }
    for (const uint32_t sysid : {0xA533u, 0xA5B0u, 0xA564u}) {
        SimBoard board(sysid);
        EXPECT_FALSE(RingButton().exists()) << std::hex << sysid;
    }
}

TEST(ProcEntries, EnclosureDetectorOnlyOnBoardA5B0) {
    {
        SimBoard board(0xA5B0);
        EXPECT_TRUE(EnclosureDetButton().exists());
    }
    for (const uint32_t sysid : {0xA533u, 0xA575u}) {
        SimBoard board(sysid);
        EXPECT_FALSE(EnclosureDetButton().exists()) << std::hex << sysid;
    }
}

TEST(ProcEntries, DcCableDetectorFollowsFeatureBattery) {
    SimBoard board(0xA5C0);
    EXPECT_TRUE(DCCableDetector().exists());
    orva::variant::CameraInfo::instance()["feature_battery"] = static_cast<signed char>(-1);
    EXPECT_TRUE(DCCableDetector().exists());
    orva::variant::CameraInfo::instance()["feature_battery"] = static_cast<signed char>(0);
    EXPECT_FALSE(DCCableDetector().exists());
}

TEST(ProcEntries, DcCableDetectorReportsTheCable) {
    SimBoard board(0xA5C0);
    LogCapture log;
    RecordingObserver observer;
    DCCableDetector detector;
    ASSERT_TRUE(detector.init(&observer, -1));
    board.sandbox().setValue("/proc/gpio/dcpowered", "0");
    ASSERT_TRUE(detector.service());
    board.advanceMs(5000);
    ASSERT_TRUE(detector.service());
    board.sandbox().setValue("/proc/gpio/dcpowered", "1");
    ASSERT_TRUE(detector.service());
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(5000)));
    EXPECT_EQ(board.sandbox().journal("/proc/gpio/dcpowered").front().call, Call::Open);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ProcEntries, InputMissingOnTheBoardIsNeverOpenedAndNeverReports) {
    SimBoard board(0xA533);
    LogCapture log;
    RecordingObserver observer;
    RingButton ring;
    EnclosureDetButton enclosure;
    DCCableDetector detector;
    ASSERT_TRUE(ring.init(&observer, 0));
    ASSERT_TRUE(enclosure.init(&observer, 0));
    ASSERT_TRUE(detector.init(&observer, 0));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(ring.service());
        EXPECT_TRUE(enclosure.service());
        EXPECT_TRUE(detector.service());
        board.advanceMs(100);
    }
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetGPIOButtonCaseBoards, BoardA551HasItBelowRevision34) {
    SimBoard board(0xA551);
    setInfo("hwrev", 33);
    EXPECT_TRUE(ResetGPIOButtonCase().exists());
    setInfo("hwrev", 34);
    EXPECT_FALSE(ResetGPIOButtonCase().exists());
    setInfo("hwrev", 0);
    EXPECT_TRUE(ResetGPIOButtonCase().exists());
    // Compared as 64 bits: a revision whose low 32 bits are 33 is still far above the limit.
    setInfo("hwrev", 0x100000021ULL);
    EXPECT_FALSE(ResetGPIOButtonCase().exists());
}

TEST(ResetGPIOButtonCaseBoards, BoardA554HasItBelowRevision9) {
    SimBoard board(0xA554);
    setInfo("hwrev", 8);
    EXPECT_TRUE(ResetGPIOButtonCase().exists());
    setInfo("hwrev", 9);
    EXPECT_FALSE(ResetGPIOButtonCase().exists());
}

TEST(ResetGPIOButtonCaseBoards, OtherBoardsHaveItWithoutAnyRevisionKey) {
    for (const uint32_t sysid : {0xA533u, 0xA575u, 0xA5B0u, 0xA564u}) {
        SimBoard board(withoutKey(sysid, "hwrev"));
        ASSERT_FALSE(orva::variant::CameraInfo::instance().HasKey("hwrev"));
        EXPECT_TRUE(ResetGPIOButtonCase().exists()) << std::hex << sysid;
        EXPECT_FALSE(orva::variant::CameraInfo::instance().HasKey("hwrev"));
    }
}

TEST(ResetGPIOButtonCaseBoards, LateRevisionInitialisesWithoutOpeningAndNeverReports) {
    SimBoard board(0xA551);
    setInfo("hwrev", 34);
    LogCapture log;
    RecordingObserver observer;
    ResetGPIOButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    board.sandbox().setValue("/proc/gpio/reset_btn", "0");
    EXPECT_TRUE(reset.service());
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ResetGPIOButtonCaseBoards, EarlyRevisionReadsTheResetEntry) {
    SimBoard board(0xA554);  // hwrev 8
    LogCapture log;
    RecordingObserver observer;
    ResetGPIOButtonCase reset;
    ASSERT_TRUE(reset.init(&observer, 100));
    board.sandbox().setValue("/proc/gpio/reset_btn", "0");
    ASSERT_TRUE(reset.service());
    board.advanceMs(40);
    board.sandbox().setValue("/proc/gpio/reset_btn", "1");
    ASSERT_TRUE(reset.service());
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(40)));
    EXPECT_THAT(callsOf(board.sandbox().journal("/proc/gpio/reset_btn")), ElementsAre(Call::Open, Call::Read, Call::Read));
}

// Missing device information is fatal by design. The board is made outside the dying statement so
// that its sandbox is cleaned up by this process.

TEST(ProcEntriesDeathTest, MissingSysidIsFatal) {
    SimBoard board(withoutKey(0xA575, "sysid"));
    EXPECT_DEATH(RingButton().exists(),
                 "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:sysid:[0-9]+: Key \"sysid\" not available");
    EXPECT_DEATH(EnclosureDetButton().exists(), "camerainfo:sysid:[0-9]+: Key \"sysid\" not available");
    EXPECT_DEATH(
        {
            ResetGPIOButtonCase reset;
            reset.init(nullptr, 100);
        },
        "camerainfo:sysid:[0-9]+: Key \"sysid\" not available");
}

TEST(ProcEntriesDeathTest, MissingFeatureBatteryIsFatal) {
    SimBoard board(withoutKey(0xA5C0, "feature_battery"));
    EXPECT_DEATH(
        {
            DCCableDetector detector;
            detector.init(nullptr, 100);
        },
        "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:feature_battery:[0-9]+: "
        "Key \"feature_battery\" not available");
}

TEST(ProcEntriesDeathTest, MistypedFeatureBatteryIsFatal) {
    SimBoard board(0xA5C0);
    orva::variant::CameraInfo::instance()["feature_battery"] = true;
    EXPECT_DEATH(DCCableDetector().exists(),
                 "camerainfo:feature_battery:[0-9]+: Key \"feature_battery\" has a different type than expected");
}

TEST(ProcEntriesDeathTest, MissingRevisionIsFatalOnTheTwoRevisionBoards) {
    for (const uint32_t sysid : {0xA551u, 0xA554u}) {
        SimBoard board(withoutKey(sysid, "hwrev"));
        EXPECT_DEATH(ResetGPIOButtonCase().exists(), "camerainfo:hwrev:[0-9]+: Key \"hwrev\" not available");
    }
}

}  // namespace
