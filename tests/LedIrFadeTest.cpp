// Infrared fades as exact timelines: which file, which bytes, at which virtual time. A fade pass
// writes channel 1 then channel 2 and sleeps 5 ms before the next pass; usleep runs on the
// simulator's virtual clock, so the timelines cost no real time.
#include <limits>
#include <cerrno>
#include <string>

#include <gmock/gmock.h>

#include "LedIrTestSupport.h"

using namespace orva::test;
using namespace orva::test::ir;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr uint64_t kPassUs = 5000;

TimedWrite at(const std::string& path, int value, uint64_t timeUs) {
    return TimedWrite{path, withNul(std::to_string(value)), timeUs};
}

Expected info(const std::string& text) { return Expected{kSource, "fadeInOut", 6, 0, text}; }

// Lets the first `passing` writes to path through untouched, then fails the next one with error.
// (A "short" write of more bytes than a write hands in takes all of them.)
void failWriteAfter(orva::sim::Sandbox& sandbox, const std::string& path, int passing, int error) {
    if (passing > 0) sandbox.shortWrite(path, 1000, passing);
    sandbox.failCalls(path, Call::Write, error);
}

// Every sleep of the journal since the last clear: all of them one fade pass.
std::vector<size_t> sleepsOf(const std::vector<JournalEntry>& journal) {
    std::vector<size_t> sleeps;
    for (const JournalEntry& entry : calls(journal, Call::Sleep)) sleeps.push_back(entry.count);
    return sleeps;
}

// The single-channel fade: board 0xA533 with the isSStar fade, IR on the 0.pwm_bl backlight.
class SingleChannelFade : public testing::Test {
protected:
    void SetUp() override {
        setInfo("isSStar", true);
        ASSERT_TRUE(led.init("ir"));
        ASSERT_TRUE(led.fadeEnabled);
        ASSERT_EQ(led.fadeStep, 1);
        ASSERT_EQ(led.lastPrimaryValue, 0);
        log.clear();
        board.sandbox().clearJournal();
        start = board.sandbox().nowUs();
    }
    SimBoard board{0xA533};
    LogCapture log;
    ProbedLedIr led;
    uint64_t start = 0;
};

// The tele/wide fade of board 0xA5A4: tele on 0.pwm_bl, wide on bogus_bus:pwm_bl@1.
class DualChannelFade : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(led.init("ir"));
        ASSERT_TRUE(led.fadeEnabled);
        ASSERT_EQ(led.lastPrimaryValue, 0);
        ASSERT_EQ(led.lastSecondaryValue, -1);
        log.clear();
        board.sandbox().clearJournal();
    }
    // Brings both channels to 0 (the wide channel has no last value after init).
    void startFromZero() {
        ASSERT_TRUE(led.writeValue(0));
        ASSERT_EQ(led.lastSecondaryValue, 0);
        log.clear();
        board.sandbox().clearJournal();
    }
    uint64_t now() { return board.sandbox().nowUs(); }
    SimBoard board{0xA5A4};
    LogCapture log;
    ProbedLedIr led;
};

}  // namespace

// ---- one channel ----

TEST_F(SingleChannelFade, ZeroToFortyWritesEveryValueFiveMillisecondsApart) {
    ASSERT_TRUE(led.writeValue(40));
    std::vector<TimedWrite> expected;
    for (int value = 1; value <= 40; ++value) expected.push_back(at(kBacklight0, value, (value - 1) * kPassUs));
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(expected.front(), at(kBacklight0, 1, 0));
    EXPECT_EQ(expected.back(), at(kBacklight0, 40, 195000));
    // write, sleep, write, ... write: no sleep after the last value.
    const auto& journal = board.journal();
    ASSERT_EQ(journal.size(), 79u);
    for (size_t i = 0; i < journal.size(); ++i) EXPECT_EQ(journal[i].call, i % 2 ? Call::Sleep : Call::Write) << i;
    EXPECT_EQ(sleepsOf(journal), std::vector<size_t>(39, kPassUs));
    EXPECT_EQ(board.sandbox().nowUs() - start, 195000u);
    EXPECT_EQ(led.lastPrimaryValue, 40);
    EXPECT_EQ(led.lastSecondaryValue, -1);
    EXPECT_EQ(board.value(kBacklight0), "40");
    EXPECT_THAT(log.records(), ElementsAre(info("Set IR PWM Duty Cycle=40")));
}

TEST_F(SingleChannelFade, UserValuesFadeThroughBaseLed) {
    ASSERT_TRUE(led.setValue(41, false));  // 99 * 41 / 100 = 40
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 40u);
    EXPECT_EQ(board.value(kBacklight0), "40");
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.setValue(41, false));  // unchanged: no fade at all
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST_F(SingleChannelFade, FadeDownCountsBackToTheTarget) {
    ASSERT_TRUE(led.writeValue(40));
    board.sandbox().clearJournal();
    log.clear();
    start = board.sandbox().nowUs();
    ASSERT_TRUE(led.writeValue(10));
    std::vector<TimedWrite> expected;
    for (int value = 39; value >= 10; --value) expected.push_back(at(kBacklight0, value, (39 - value) * kPassUs));
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(expected.back(), at(kBacklight0, 10, 145000));
    EXPECT_EQ(sleepsOf(board.journal()).size(), 29u);
    EXPECT_EQ(led.lastPrimaryValue, 10);
    EXPECT_THAT(log.records(), ElementsAre(info("Set IR PWM Duty Cycle=10")));
}

TEST_F(SingleChannelFade, WritingTheLastValueAgainDoesNothing) {
    ASSERT_TRUE(led.writeValue(7));
    board.sandbox().clearJournal();
    log.clear();
    EXPECT_TRUE(led.writeValue(7));
    EXPECT_TRUE(led.writeValue(7, 50));  // single channel: second is dropped
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(SingleChannelFade, TargetEqualToTheStartIsWrittenOnceOnePassLater) {
    ASSERT_TRUE(led.fadeInOut(5, 5, false, -1, -1));
    EXPECT_THAT(timeline(board.journal(), start), ElementsAre(at(kBacklight0, 5, kPassUs)));
    EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("sleep ", "write " + kBacklight0));
    EXPECT_THAT(log.records(), ElementsAre(info("Set IR PWM Duty Cycle=5")));
}

TEST_F(SingleChannelFade, UnusedChannelsEndTheFadeAtOnce) {
    EXPECT_TRUE(led.fadeInOut(10, -1, false, 3, -1));
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(info("Set IR PWM Duty Cycle=-1")));
}

TEST_F(SingleChannelFade, WriteFailureMidFadeKeepsTheLastValues) {
    const int fd = led.primaryFd;
    failWriteAfter(board.sandbox(), kBacklight0, 9, EIO);
    EXPECT_FALSE(led.writeValue(40));
    std::vector<TimedWrite> expected;
    for (int value = 1; value <= 10; ++value) expected.push_back(at(kBacklight0, value, (value - 1) * kPassUs));
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(calls(board.journal(), Call::Write).back().error, EIO);
    EXPECT_EQ(board.value(kBacklight0), "9");
    EXPECT_EQ(led.lastPrimaryValue, 0);
    EXPECT_EQ(led.lastSecondaryValue, -1);
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set IR PWM Duty Cycle=40"),
                            Expected{kSource, "operator()", 3, EIO, "Failed to write '10' to proc entry " + hex(fd)},
                            Expected{kSource, "fadeInOut", 3, 0, "fadeInOut stepWrite IR1 fail"},
                            Expected{kSource, "writeValue", 3, 0, "fadeInOut fail"}));

    // The next write fades again from the kept value 0, not from the 9 the file holds.
    board.sandbox().clearJournal();
    log.clear();
    start = board.sandbox().nowUs();
    ASSERT_TRUE(led.writeValue(40));
    const auto writes = timeline(board.journal(), start);
    ASSERT_EQ(writes.size(), 40u);
    EXPECT_EQ(writes.front(), at(kBacklight0, 1, 0));
    EXPECT_EQ(writes.back(), at(kBacklight0, 40, 195000));
    EXPECT_EQ(led.lastPrimaryValue, 40);
}

TEST_F(SingleChannelFade, ShortWriteOrInterruptedWriteInAFade) {
    const int fd = led.primaryFd;
    board.sandbox().failCalls(kBacklight0, Call::Write, EINTR, 2);  // the first value, twice
    ASSERT_TRUE(led.writeValue(3));
    // Retries happen within the pass: same bytes, same virtual time.
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBacklight0, 1, 0), at(kBacklight0, 1, 0), at(kBacklight0, 1, 0),
                            at(kBacklight0, 2, kPassUs), at(kBacklight0, 3, 2 * kPassUs)));

    log.clear();
    board.sandbox().shortWrite(kBacklight0, 1);
    errno = 0;
    EXPECT_FALSE(led.writeValue(0));
    EXPECT_EQ(led.lastPrimaryValue, 3);
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set IR PWM Duty Cycle=0"),
                            Expected{kSource, "operator()", 3, 0, "Failed to write '2' to proc entry " + hex(fd)},
                            Expected{kSource, "fadeInOut", 3, 0, "fadeInOut stepWrite IR1 fail"},
                            Expected{kSource, "writeValue", 3, 0, "fadeInOut fail"}));
}

TEST(LedIrFade, StepsLargerThanOneClampOnTheFollowingPass) {
    SimBoard board(0xA533);
    setInfo("isSStar", true);
    ProbedLedIr led;
    led.maxValue = 255;  // step 255 / 50 = 5
    ASSERT_TRUE(led.init("ir"));
    ASSERT_EQ(led.fadeStep, 5);
    board.sandbox().clearJournal();
    uint64_t start = board.sandbox().nowUs();
    ASSERT_TRUE(led.writeValue(12));
    // 5, 10, then 15 would overshoot: a pass without a write, then 12 itself.
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBacklight0, 5, 0), at(kBacklight0, 10, kPassUs), at(kBacklight0, 12, 3 * kPassUs)));
    board.sandbox().clearJournal();
    start = board.sandbox().nowUs();
    ASSERT_TRUE(led.writeValue(0));
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBacklight0, 7, 0), at(kBacklight0, 2, kPassUs), at(kBacklight0, 0, 3 * kPassUs)));
    EXPECT_EQ(led.lastPrimaryValue, 0);
}

TEST(LedIrFade, StepsNearTheEndsOfIntStopAtTheTargetInsteadOfWrapping) {
    SimBoard board(0xA533);
    setInfo("isSStar", true);
    ProbedLedIr led;
    led.maxValue = 255;  // step 5
    ASSERT_TRUE(led.init("ir"));
    ASSERT_EQ(led.fadeStep, 5);
    const int top = std::numeric_limits<int>::max();
    const int bottom = std::numeric_limits<int>::min();
    board.sandbox().clearJournal();
    uint64_t start = board.sandbox().nowUs();
    ASSERT_TRUE(led.fadeInOut(top - 7, top, false, 0, -1));
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBacklight0, top - 2, 0), at(kBacklight0, top, 2 * kPassUs)));
    board.sandbox().clearJournal();
    start = board.sandbox().nowUs();
    ASSERT_TRUE(led.fadeInOut(bottom + 7, bottom, false, 0, -1));
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBacklight0, bottom + 2, 0), at(kBacklight0, bottom, 2 * kPassUs)));
}

// ---- tele and wide together ----

TEST_F(DualChannelFade, BothAtZeroAfterInitTakesOnePassForTheTele) {
    const uint64_t start = now();
    ASSERT_TRUE(led.writeValue(0));  // second = 0, not 99
    // Tele already at 0: written once, one pass after the start; wide from "none" (-1) to 0.
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBusBacklight1, 0, 0), at(kBacklight0, 0, kPassUs)));
    EXPECT_EQ(led.lastPrimaryValue, 0);
    EXPECT_EQ(led.lastSecondaryValue, 0);
    EXPECT_THAT(log.records(), ElementsAre(info("Set Tele IR PWM Duty Cycle=0"), info("Set Wide IR PWM Duty Cycle=0")));
}

TEST_F(DualChannelFade, ThirtyFromZeroMovesTeleToThirtyAndWideToSixtyNine) {
    startFromZero();
    const uint64_t start = now();
    ASSERT_TRUE(led.writeValue(30));
    // Pass p (from 1) runs at (p - 1) * 5 ms. Tele counts 1..30 in passes 1..30; from then on its
    // step overshoots on odd passes (no write) and clamps back to 30 on even passes. Wide counts
    // 1..69 in passes 1..69; the fade ends when wide reaches 69.
    std::vector<TimedWrite> expected;
    for (int pass = 1; pass <= 69; ++pass) {
        const uint64_t t = (pass - 1) * kPassUs;
        if (pass <= 30) {
            expected.push_back(at(kBacklight0, pass, t));
        } else if (pass % 2 == 0) {
            expected.push_back(at(kBacklight0, 30, t));
        }
        expected.push_back(at(kBusBacklight1, pass, t));
    }
    const auto writes = timeline(board.journal(), start);
    EXPECT_THAT(writes, ElementsAreArray(expected));
    // Spot checks of the same timeline, spelt out.
    ASSERT_EQ(writes.size(), 118u);
    EXPECT_EQ(writes[0], at(kBacklight0, 1, 0));
    EXPECT_EQ(writes[1], at(kBusBacklight1, 1, 0));
    EXPECT_EQ(writes[58], at(kBacklight0, 30, 145000));
    EXPECT_EQ(writes[59], at(kBusBacklight1, 30, 145000));
    EXPECT_EQ(writes[60], at(kBusBacklight1, 31, 150000));
    EXPECT_EQ(writes[61], at(kBacklight0, 30, 155000));
    EXPECT_EQ(writes[62], at(kBusBacklight1, 32, 155000));
    EXPECT_EQ(writes[115], at(kBacklight0, 30, 335000));
    EXPECT_EQ(writes[116], at(kBusBacklight1, 68, 335000));
    EXPECT_EQ(writes[117], at(kBusBacklight1, 69, 340000));
    EXPECT_EQ(writesTo(board.journal(), kBacklight0).size(), 49u);
    EXPECT_EQ(writesTo(board.journal(), kBusBacklight1).size(), 69u);
    EXPECT_EQ(sleepsOf(board.journal()), std::vector<size_t>(68, kPassUs));
    EXPECT_EQ(now() - start, 340000u);
    EXPECT_EQ(board.value(kBacklight0), "30");
    EXPECT_EQ(board.value(kBusBacklight1), "69");
    EXPECT_EQ(led.lastPrimaryValue, 30);
    EXPECT_EQ(led.lastSecondaryValue, 69);
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set Tele IR PWM Duty Cycle=30"), info("Set Wide IR PWM Duty Cycle=69")));
}

TEST_F(DualChannelFade, ThirtyRightAfterInitStartsTheWideChannelFromNone) {
    const uint64_t start = now();
    ASSERT_TRUE(led.writeValue(30));
    // Wide has no last value (-1): it writes 0..69 in passes 1..70.
    std::vector<TimedWrite> expected;
    for (int pass = 1; pass <= 70; ++pass) {
        const uint64_t t = (pass - 1) * kPassUs;
        if (pass <= 30) {
            expected.push_back(at(kBacklight0, pass, t));
        } else if (pass % 2 == 0) {
            expected.push_back(at(kBacklight0, 30, t));
        }
        expected.push_back(at(kBusBacklight1, pass - 1, t));
    }
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(expected.size(), 120u);
    EXPECT_EQ(now() - start, 345000u);
    EXPECT_EQ(led.lastSecondaryValue, 69);
}

TEST_F(DualChannelFade, ZeroFadesBothChannelsDown) {
    startFromZero();
    ASSERT_TRUE(led.writeValue(30));
    board.sandbox().clearJournal();
    log.clear();
    const uint64_t start = now();
    ASSERT_TRUE(led.writeValue(0));  // second = 0, not 99 - 0
    std::vector<TimedWrite> expected;
    for (int pass = 1; pass <= 69; ++pass) {
        const uint64_t t = (pass - 1) * kPassUs;
        if (pass <= 30) {
            expected.push_back(at(kBacklight0, 30 - pass, t));
        } else if (pass % 2 == 0) {
            expected.push_back(at(kBacklight0, 0, t));
        }
        expected.push_back(at(kBusBacklight1, 69 - pass, t));
    }
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(led.lastPrimaryValue, 0);
    EXPECT_EQ(led.lastSecondaryValue, 0);
    EXPECT_THAT(log.records(), ElementsAre(info("Set Tele IR PWM Duty Cycle=0"), info("Set Wide IR PWM Duty Cycle=0")));
}

TEST_F(DualChannelFade, OnlyTheWideTargetChanges) {
    startFromZero();
    ASSERT_TRUE(led.writeValue(30));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(30));  // same pair: nothing
    EXPECT_THAT(board.journal(), IsEmpty());
    const uint64_t start = now();
    ASSERT_TRUE(led.writeValue(30, 66));
    // Tele stays at 30: no write on odd passes, 30 again on even ones; wide 68, 67, 66.
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBusBacklight1, 68, 0), at(kBacklight0, 30, kPassUs), at(kBusBacklight1, 67, kPassUs),
                            at(kBusBacklight1, 66, 2 * kPassUs)));
    EXPECT_EQ(led.lastSecondaryValue, 66);
}

TEST_F(DualChannelFade, UnusedTeleChannelLeavesTheWideOneAlone) {
    startFromZero();
    const uint64_t start = now();
    ASSERT_TRUE(led.fadeInOut(0, -1, true, 0, 3));
    EXPECT_THAT(timeline(board.journal(), start),
                ElementsAre(at(kBusBacklight1, 1, 0), at(kBusBacklight1, 2, kPassUs), at(kBusBacklight1, 3, 2 * kPassUs)));
}

TEST_F(DualChannelFade, WideWriteFailureMidFade) {
    startFromZero();
    const int fd = led.secondaryFd;
    failWriteAfter(board.sandbox(), kBusBacklight1, 4, EIO);
    const uint64_t start = now();
    EXPECT_FALSE(led.writeValue(30));
    std::vector<TimedWrite> expected;
    for (int pass = 1; pass <= 5; ++pass) {
        expected.push_back(at(kBacklight0, pass, (pass - 1) * kPassUs));
        expected.push_back(at(kBusBacklight1, pass, (pass - 1) * kPassUs));
    }
    EXPECT_THAT(timeline(board.journal(), start), ElementsAreArray(expected));
    EXPECT_EQ(board.value(kBacklight0), "5");
    EXPECT_EQ(board.value(kBusBacklight1), "4");
    EXPECT_EQ(led.lastPrimaryValue, 0);
    EXPECT_EQ(led.lastSecondaryValue, 0);
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set Tele IR PWM Duty Cycle=30"), info("Set Wide IR PWM Duty Cycle=69"),
                            Expected{kSource, "operator()", 3, EIO, "Failed to write '5' to proc entry " + hex(fd)},
                            Expected{kSource, "fadeInOut", 3, 0, "fadeInOut stepWrite IR2 fail"},
                            Expected{kSource, "writeValue", 3, 0, "fadeInOut fail"}));

    // Fades again from the kept pair (0, 0).
    board.sandbox().clearJournal();
    const uint64_t again = now();
    ASSERT_TRUE(led.writeValue(30));
    const auto writes = timeline(board.journal(), again);
    ASSERT_EQ(writes.size(), 118u);
    EXPECT_EQ(writes[0], at(kBacklight0, 1, 0));
    EXPECT_EQ(writes[1], at(kBusBacklight1, 1, 0));
}

TEST_F(DualChannelFade, TeleWriteFailureMidFade) {
    startFromZero();
    const int fd = led.primaryFd;
    failWriteAfter(board.sandbox(), kBacklight0, 30, ENOSPC);  // the first repeated 30 fails
    EXPECT_FALSE(led.setValue(31, false));                      // 99 * 31 / 100 = 30
    EXPECT_EQ(writesTo(board.journal(), kBusBacklight1).size(), 31u);
    EXPECT_EQ(led.lastPrimaryValue, 0);
    EXPECT_EQ(led.lastSecondaryValue, 0);
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set Tele IR PWM Duty Cycle=30"), info("Set Wide IR PWM Duty Cycle=69"),
                            Expected{kSource, "operator()", 3, ENOSPC, "Failed to write '30' to proc entry " + hex(fd)},
                            Expected{kSource, "fadeInOut", 3, 0, "fadeInOut stepWrite IR1 fail"},
                            Expected{kSource, "writeValue", 3, 0, "fadeInOut fail"},
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
}

// ---- direct PWM scaling ----

TEST_F(DualChannelFade, DirectPwmScalesBothChannelsByTheIrBrightness) {
    startFromZero();
    led.directPwm = true;
    ASSERT_TRUE(led.irSetBrightness(128));
    EXPECT_THAT(board.journal(), IsEmpty());
    ASSERT_TRUE(led.directPwmWrite(40, -1));  // 128 * 40 / 255 = 20; 128 * 59 / 255 = 29
    EXPECT_EQ(led.lastPrimaryValue, 20);
    EXPECT_EQ(led.lastSecondaryValue, 29);
    EXPECT_EQ(board.value(kBacklight0), "20");
    EXPECT_EQ(board.value(kBusBacklight1), "29");
    ASSERT_TRUE(led.directPwmWrite(40, 10));  // 128 * 10 / 255 = 5
    EXPECT_EQ(led.lastPrimaryValue, 20);
    EXPECT_EQ(led.lastSecondaryValue, 5);
    EXPECT_EQ(board.value(kBusBacklight1), "5");
    EXPECT_THAT(log.records(),
                ElementsAre(info("Set Tele IR PWM Duty Cycle=20"), info("Set Wide IR PWM Duty Cycle=29"),
                            info("Set Tele IR PWM Duty Cycle=20"), info("Set Wide IR PWM Duty Cycle=5")));
}
