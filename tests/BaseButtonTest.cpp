// Press, hold and release timing of BaseButton, stepped on the simulator's virtual clock with a
// button whose input level the test sets before each poll.
#include <cstdint>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ButtonEvents.h"
#include "LogCapture.h"
#include "orva/platform.h"
#include "orva/sim/Sandbox.h"
#include "orva_gpio_utils/BaseButton.h"

namespace {

using orva::test::ButtonEvent;
using orva::test::Expected;
using orva::test::held;
using orva::test::LogCapture;
using orva::test::MockObserver;
using orva::test::pressed;
using orva::test::RecordingObserver;
using orva::test::released;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A client-defined input: the test sets what the next read returns.
class ScriptedButton : public BaseButton {
public:
    bool exists() const override { return present; }
    bool initGPIO() override {
        ++opens;
        return openSucceeds;
    }
    bool readValue(bool& pressedNow) const override {
        ++reads;
        if (!readSucceeds) return false;
        pressedNow = level;
        return true;
    }

    uint64_t pressStartMs() const { return pressStartMs_; }
    uint32_t holdCount() const { return holdCount_; }

    bool present = true;
    bool openSucceeds = true;
    bool readSucceeds = true;
    bool level = false;
    int opens = 0;
    mutable int reads = 0;
};

const Expected kReadFailed{"src/BaseButton", "service", 3, 0, "Failed to read button GPIO"};

class BaseButtonTest : public ::testing::Test {
protected:
    // Sets the input, lets ms pass and polls once; the poll must succeed.
    void pollAfter(uint64_t ms, bool level) {
        sandbox.advanceMs(ms);
        button.level = level;
        ASSERT_TRUE(button.service());
    }
    uint64_t virtualNowMs() const { return nowMs(); }

    orva::sim::Sandbox sandbox;  // runs nowMs() on the virtual clock
    LogCapture log;
    RecordingObserver observer;
    ScriptedButton button;
};

TEST_F(BaseButtonTest, InitProbesTheInputAndOpensItOnce) {
    ASSERT_TRUE(button.init(&observer, 100));
    EXPECT_EQ(button.opens, 1);
    EXPECT_EQ(button.reads, 0);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BaseButtonTest, MissingInputInitialisesWithoutOpeningAndNeverReports) {
    button.present = false;
    ASSERT_TRUE(button.init(&observer, 0));
    pollAfter(0, true);
    pollAfter(500, true);
    pollAfter(10, false);
    EXPECT_EQ(button.opens, 0);
    EXPECT_EQ(button.reads, 0);
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BaseButtonTest, ServiceBeforeInitReadsNothing) {
    button.level = true;
    EXPECT_TRUE(button.service());
    EXPECT_EQ(button.reads, 0);
}

TEST_F(BaseButtonTest, FailedOpenFailsInitAndLeavesItRetryable) {
    button.openSucceeds = false;
    EXPECT_FALSE(button.init(&observer, 100));
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"}));
    log.clear();
    button.openSucceeds = true;
    EXPECT_TRUE(button.init(&observer, 100));
    EXPECT_EQ(button.opens, 2);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BaseButtonTest, SecondInitFailsWithInternalErrorAndKeepsTheFirstSettings) {
    RecordingObserver second;
    ASSERT_TRUE(button.init(&observer, 100));
    EXPECT_FALSE(button.init(&second, 0));
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseButton", "init", 3, 0, "Internal error"}));
    EXPECT_EQ(button.opens, 1);
    pollAfter(0, true);
    pollAfter(10, true);  // held(10)
    pollAfter(10, true);  // with interval 0 this would be a held event; with 100 it is not due
    pollAfter(5, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(10), released(25)));
    EXPECT_THAT(second.events, IsEmpty());
}

TEST_F(BaseButtonTest, PressSeenOnOnePollAndReleasedOnTheNextSendsNoHeldEvent) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, true);
    pollAfter(30, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(30)));
}

TEST_F(BaseButtonTest, PressLastingExactlyOnePollWithIntervalZeroSendsNoHeldEvent) {
    ASSERT_TRUE(button.init(&observer, 0));
    pollAfter(0, false);
    pollAfter(10, true);
    pollAfter(10, false);
    pollAfter(10, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(10)));
}

TEST_F(BaseButtonTest, IntervalMinusOneNeverSendsHeldEventsHoweverLongThePress) {
    ASSERT_TRUE(button.init(&observer, -1));
    pollAfter(0, true);
    for (int i = 0; i < 1000; ++i) pollAfter(10, true);
    pollAfter(0, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(10000)));
}

TEST_F(BaseButtonTest, IntervalZeroSendsAHeldEventOnEveryPollAfterThePressPoll) {
    ASSERT_TRUE(button.init(&observer, 0));
    pollAfter(0, true);   // the press
    pollAfter(0, true);   // same millisecond: the deadline equals now, nothing yet
    pollAfter(10, true);  // held(10)
    pollAfter(10, true);  // held(20)
    pollAfter(0, true);   // held(20) again: the deadline stays at the press
    pollAfter(5, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(10), held(20), held(20), released(25)));
}

TEST_F(BaseButtonTest, HeldEventsComeJustAfterEachIntervalBoundaryAndNotAtIt) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, true);    // t=0: the press
    pollAfter(0, true);    // t=0: deadline 0 is not before now
    pollAfter(1, true);    // t=1: held(1), next deadline 100
    pollAfter(98, true);   // t=99
    pollAfter(1, true);    // t=100: exactly at the deadline, not yet
    pollAfter(1, true);    // t=101: held(101), next deadline 200
    pollAfter(98, true);   // t=199
    pollAfter(1, true);    // t=200
    pollAfter(1, true);    // t=201: held(201)
    pollAfter(49, false);  // t=250: released
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(1), held(101), held(201), released(250)));
}

TEST_F(BaseButtonTest, HeldEventsWithIntervalHundredFromTenMillisecondPolls) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, true);
    for (int t = 10; t <= 340; t += 10) pollAfter(10, true);
    pollAfter(10, false);  // t=350
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(10), held(110), held(210), held(310), released(350)));
}

TEST_F(BaseButtonTest, AtMostOneHeldEventPerPollAfterALongGap) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, true);
    pollAfter(1, true);    // held(1)
    pollAfter(999, true);  // t=1000: four intervals late, still one event
    pollAfter(1, true);    // t=1001: deadline 200 has passed too
    pollAfter(1, true);    // t=1002: deadline 300
    pollAfter(0, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(1), held(1000), held(1001), held(1002), released(1002)));
    EXPECT_EQ(button.holdCount(), 0u);
}

TEST_F(BaseButtonTest, FailedReadInTheMiddleOfAPressLeavesThePressUntouched) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, true);
    pollAfter(50, true);  // held(50)
    const uint64_t pressStart = button.pressStartMs();
    sandbox.advanceMs(100);
    button.readSucceeds = false;
    button.level = false;
    EXPECT_FALSE(button.service());  // t=150
    EXPECT_THAT(log.records(), ElementsAre(kReadFailed));
    EXPECT_EQ(button.pressStartMs(), pressStart);
    EXPECT_EQ(button.holdCount(), 1u);
    button.readSucceeds = true;
    pollAfter(10, true);  // t=160: the press continues, the deadline 100 has passed
    pollAfter(40, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(50), held(160), released(200)));
}

TEST_F(BaseButtonTest, FailedReadWhileReleasedSendsNothing) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(0, false);
    button.readSucceeds = false;
    button.level = true;
    EXPECT_FALSE(button.service());
    EXPECT_FALSE(button.service());
    EXPECT_THAT(log.records(), ElementsAre(kReadFailed, kReadFailed));
    EXPECT_EQ(button.pressStartMs(), 0u);
    EXPECT_THAT(observer.events, IsEmpty());
}

TEST_F(BaseButtonTest, NullObserverStillKeepsTheTiming) {
    ASSERT_TRUE(button.init(nullptr, 100));
    pollAfter(5, true);
    const uint64_t pressStart = virtualNowMs();
    EXPECT_EQ(button.pressStartMs(), pressStart);
    EXPECT_EQ(button.holdCount(), 0u);
    pollAfter(1, true);
    EXPECT_EQ(button.holdCount(), 1u);
    pollAfter(100, true);  // t=101
    EXPECT_EQ(button.holdCount(), 2u);
    pollAfter(99, true);  // t=200: not yet
    EXPECT_EQ(button.holdCount(), 2u);
    pollAfter(1, true);  // t=201
    EXPECT_EQ(button.holdCount(), 3u);
    pollAfter(1, false);
    EXPECT_EQ(button.pressStartMs(), 0u);
    EXPECT_EQ(button.holdCount(), 0u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BaseButtonTest, PressStartIsTheClockReadingOfThePressPoll) {
    ASSERT_TRUE(button.init(&observer, 100));
    pollAfter(1234, true);
    EXPECT_EQ(button.pressStartMs(), virtualNowMs());
    EXPECT_EQ(button.pressStartMs(), 1000u + 1234u);  // the virtual clock starts at 1000 ms
}

TEST_F(BaseButtonTest, DurationsAreTheLow32BitsOfTheClockDifference) {
    ASSERT_TRUE(button.init(&observer, -1));
    pollAfter(0, true);
    pollAfter((uint64_t{1} << 32) + 7, false);
    EXPECT_THAT(observer.events, ElementsAre(pressed(), released(7)));
}

TEST_F(BaseButtonTest, HoldDeadlineProductWrapsInSigned32Bits) {
    constexpr int kInterval = 1 << 30;
    ASSERT_TRUE(button.init(&observer, kInterval));
    pollAfter(0, true);
    pollAfter(1, true);                   // held(1); next deadline press + 2^30
    pollAfter(uint64_t{1} << 30, true);   // t = 2^30 + 1: held
    // 2 x 2^30 is negative in 32 bits: the deadline falls before the press and, unsigned, is
    // never reached again.
    pollAfter(uint64_t{1} << 30, true);   // t = 2^31 + 1
    pollAfter(uint64_t{1} << 31, true);   // t = 2^32 + 1
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(1), held((1u << 30) + 1)));
    EXPECT_EQ(button.holdCount(), 2u);
}

TEST_F(BaseButtonTest, MockObserverSeesTheExactSequence) {
    ::testing::StrictMock<MockObserver> mock;
    {
        ::testing::InSequence order;
        EXPECT_CALL(mock, onButtonPressed());
        EXPECT_CALL(mock, onButtonHeld(10u));
        EXPECT_CALL(mock, onButtonHeld(110u));
        EXPECT_CALL(mock, onButtonReleased(150u));
        EXPECT_CALL(mock, onButtonPressed());
        EXPECT_CALL(mock, onButtonReleased(20u));
    }
    ASSERT_TRUE(button.init(&mock, 100));
    pollAfter(0, true);
    pollAfter(10, true);
    pollAfter(50, true);
    pollAfter(50, true);
    pollAfter(40, false);
    pollAfter(40, false);
    pollAfter(10, true);  // a second press starts its own count
    pollAfter(20, false);
}

}  // namespace
