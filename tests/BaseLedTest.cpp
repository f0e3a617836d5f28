// BaseLed's rules, through a GoogleMock face.
#include <limits>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LogCapture.h"
#include "orva_gpio_utils/BaseLed.h"

using namespace orva::test;
using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::InSequence;
using testing::IsEmpty;
using testing::NiceMock;
using testing::Return;
using testing::SetArgReferee;
using testing::StrictMock;

namespace {

const std::string kSource = "src/BaseLed";

class MockLed : public BaseLed {
public:
    MOCK_METHOD(bool, exists, (), (const, override));
    MOCK_METHOD(bool, isBinary, (), (const, override));
    MOCK_METHOD(bool, hasAutoMode, (), (const, override));
    MOCK_METHOD(bool, isManagedByMcu, (), (const, override));
    MOCK_METHOD(bool, initGPIO, (), (override));
    MOCK_METHOD(int, rangeMin, (), (const, override));
    MOCK_METHOD(int, rangeMax, (), (const, override));
    MOCK_METHOD(bool, writeValue, (int), (override));
    MOCK_METHOD(bool, readValue, (int&), (const, override));
    MOCK_METHOD(bool, writeAutoMode, (), (override));
    MOCK_METHOD(bool, readAutoMode, (bool&), (override));

    // Sets up answers for init() of an existing LED.
    void describe(bool binary, int low, int high, bool autoMode) {
        ON_CALL(*this, exists()).WillByDefault(Return(true));
        ON_CALL(*this, isBinary()).WillByDefault(Return(binary));
        ON_CALL(*this, rangeMin()).WillByDefault(Return(low));
        ON_CALL(*this, rangeMax()).WillByDefault(Return(high));
        ON_CALL(*this, hasAutoMode()).WillByDefault(Return(autoMode));
        ON_CALL(*this, initGPIO()).WillByDefault(Return(true));
        ON_CALL(*this, writeValue(_)).WillByDefault(Return(true));
        ON_CALL(*this, writeAutoMode()).WillByDefault(Return(true));
    }

    const std::map<Color, ColorCode>& codes() const { return colorCodes; }
    int current() const { return currentValue_; }
    int autoState() const { return autoModeState_; }
    bool pending() const { return saved_; }
    bool pendingAuto() const { return savedAutoMode_; }
    int savedUser() const { return savedValue_; }
};

using Led = NiceMock<MockLed>;

std::unique_ptr<Led> ranged(int low = 0, int high = 100, bool autoMode = false) {
    auto led = std::make_unique<Led>();
    led->describe(false, low, high, autoMode);
    EXPECT_TRUE(led->init("test"));
    return led;
}

}  // namespace

TEST(BaseLedInit, CallsTheFaceInAFixedOrder) {
    StrictMock<MockLed> led;
    {
        InSequence order;
        EXPECT_CALL(led, exists()).WillOnce(Return(true));
        EXPECT_CALL(led, isBinary()).WillOnce(Return(false));
        EXPECT_CALL(led, rangeMin()).WillOnce(Return(0));
        EXPECT_CALL(led, rangeMax()).WillOnce(Return(99));
        EXPECT_CALL(led, hasAutoMode()).WillOnce(Return(false));
        EXPECT_CALL(led, initGPIO()).WillOnce(Return(true));
    }
    EXPECT_TRUE(led.init("front"));
}

TEST(BaseLedInit, BinaryLedSkipsTheRangeAndTheAmberCode) {
    StrictMock<MockLed> led;
    {
        InSequence order;
        EXPECT_CALL(led, exists()).WillOnce(Return(true));
        EXPECT_CALL(led, isBinary()).WillOnce(Return(true));
        EXPECT_CALL(led, hasAutoMode()).WillOnce(Return(false));
        EXPECT_CALL(led, initGPIO()).WillOnce(Return(true));
    }
    EXPECT_TRUE(led.init("binary"));
    EXPECT_TRUE(led.codes().empty());
}

TEST(BaseLedInit, MissingLedInitialisesWithoutTouchingHardware) {
    StrictMock<MockLed> led;
    EXPECT_CALL(led, exists()).WillOnce(Return(false));
    EXPECT_TRUE(led.init("none"));
    EXPECT_TRUE(led.setValue(50, false));
    EXPECT_TRUE(led.setBoolean(true));
    EXPECT_TRUE(led.setBrightness(20));
    EXPECT_TRUE(led.save());
    EXPECT_TRUE(led.restore());
}

TEST(BaseLedInit, NonBinaryLedGetsOnlyTheAmberCode) {
    auto led = ranged();
    ASSERT_EQ(led->codes().size(), 1u);
    const BaseLed::ColorCode amber = led->codes().at(BaseLed::COLOR_AMBER);
    EXPECT_EQ(amber.red, 255);
    EXPECT_EQ(amber.green, 191);
    EXPECT_EQ(amber.blue, 0);
}

TEST(BaseLedInit, NegativeRangeMinIsAnInternalError) {
    Led led;
    led.describe(false, -1, 10, false);
    LogCapture log;
    EXPECT_CALL(led, initGPIO()).Times(0);
    EXPECT_FALSE(led.init("bad"));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "init", 3, 0, "Internal error"}));
}

TEST(BaseLedInit, FailedInitGpioLeavesTheLedUninitialised) {
    Led led;
    led.describe(false, 0, 100, false);
    EXPECT_CALL(led, initGPIO()).WillOnce(Return(false)).WillOnce(Return(true));
    LogCapture log;
    EXPECT_FALSE(led.init("x"));
    EXPECT_FALSE(led.setValue(3, false));
    EXPECT_TRUE(led.init("x"));  // a failed init may be tried again
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "init", 3, 0, "Failed to init GPIO"},
                                           Expected{kSource, "setValue", 3, 0, "Internal error"}));
}

TEST(BaseLedInit, SecondInitFails) {
    auto led = ranged();
    LogCapture log;
    EXPECT_FALSE(led->init("again"));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "init", 3, 0, "Internal error"}));
}

TEST(BaseLedUninitialised, EveryOperationIsAnInternalError) {
    Led led;
    LogCapture log;
    EXPECT_FALSE(led.setValue(1, false));
    EXPECT_FALSE(led.setBoolean(true));
    EXPECT_FALSE(led.setBrightness(50));
    EXPECT_FALSE(led.setAutoMode());
    EXPECT_FALSE(led.save());
    EXPECT_FALSE(led.restore());
    EXPECT_EQ(led.convertUserToGPIO(50), 0);
    EXPECT_EQ(led.convertGPIOToUser(50), 0);
    std::vector<std::string> functions;
    for (const auto& record : log.records()) {
        EXPECT_EQ(record.text, "Internal error");
        EXPECT_EQ(record.level, 3);
        EXPECT_EQ(record.file, kSource);
        functions.push_back(record.function);
    }
    EXPECT_THAT(functions, ElementsAre("setValue", "setBoolean", "setBrightness", "setAutoMode", "save", "restore",
                                       "convertUserToGPIO", "convertGPIOToUser"));
}

TEST(BaseLedUninitialised, ColourAndAnimationWorkAnyTime) {
    Led led;
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(led.readFgAnimColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(led.readBgAnimColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(led.readAnimDensity(), 0);
    EXPECT_FALSE(led.readAnimEnable());
    EXPECT_EQ(led.readAnimStep(), -1);
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE_MAGENTA, BaseLed::COLOR_BLACK));
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_WHITE_MAGENTA);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_BLACK);
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE_MAGENTA, BaseLed::COLOR_BLACK));  // same pair
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(16)));
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_WHITE_MAGENTA);  // a refused pair changes nothing
    EXPECT_TRUE(led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_FALSE(led.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_NONE));
    EXPECT_EQ(led.readFgAnimColor(), BaseLed::COLOR_RED);
    EXPECT_EQ(led.readBgAnimColor(), BaseLed::COLOR_BLUE);
    EXPECT_TRUE(led.setAnimDensity(7));
    EXPECT_TRUE(led.setAnimEnable(true));
    EXPECT_TRUE(led.setAnimStep(3));
    EXPECT_EQ(led.readAnimDensity(), 7);
    EXPECT_TRUE(led.readAnimEnable());
    EXPECT_EQ(led.readAnimStep(), 3);
    EXPECT_FALSE(led.isAnimSupported());
    EXPECT_TRUE(led.service());
}

TEST(BaseLedColor, MasksFollowTheChannels) {
    const int expected[] = {0, 0, 1, 2, 4, 3, 3, 6, 5, 8, 9, 10, 12, 11, 14, 13};
    for (int color = 0; color <= 15; ++color) {
        EXPECT_EQ(BaseLed::colorToMask(static_cast<BaseLed::Color>(color)), expected[color]) << color;
    }
    EXPECT_EQ(BaseLed::colorToMask(BaseLed::COLOR_AMBER), BaseLed::colorToMask(BaseLed::COLOR_YELLOW));
    EXPECT_EQ(BaseLed::colorToMask(BaseLed::COLOR_WHITE),
              static_cast<int>(BaseLed::COLOR_MASK_WHITE));
    LogCapture log;
    EXPECT_EQ(BaseLed::colorToMask(static_cast<BaseLed::Color>(16)), 0);
    // A negative colour is outside the table too: refused the same way, never read.
    EXPECT_EQ(BaseLed::colorToMask(static_cast<BaseLed::Color>(-1)), 0);
    EXPECT_EQ(BaseLed::colorToMask(static_cast<BaseLed::Color>(std::numeric_limits<int>::min())), 0);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "colorToMask", 4, 0, "could not map user color 16"},
                            Expected{kSource, "colorToMask", 4, 0, "could not map user color -1"},
                            Expected{kSource, "colorToMask", 4, 0, "could not map user color -2147483648"}));
}

// (rangeMin, rangeMax, brightness, user value) -> device value.
class Conversion : public testing::TestWithParam<std::tuple<int, int, int, int, int>> {};

TEST_P(Conversion, UserToDevice) {
    const auto [low, high, brightness, user, device] = GetParam();
    auto led = ranged(low, high);
    if (brightness != 100) {
        ASSERT_TRUE(led->setBrightness(brightness));
    }
    EXPECT_EQ(led->convertUserToGPIO(user), device);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Conversion,
    testing::Values(std::make_tuple(0, 100, 50, 3, 1),  // the inner division first: 50 * 3 / 100 = 1 percent
                    std::make_tuple(0, 100, 100, 100, 100), std::make_tuple(0, 99, 100, 100, 99),
                    std::make_tuple(0, 99, 100, 1, 0), std::make_tuple(0, 99, 100, 2, 1),
                    std::make_tuple(0, 99, 100, 0, 0), std::make_tuple(10, 20, 100, 55, 15),
                    std::make_tuple(10, 20, 100, 100, 20), std::make_tuple(10, 20, 0, 100, 10),
                    std::make_tuple(0, 255, 33, 77, 63),   // 33 * 77 / 100 = 25; 255 * 25 / 100 = 63
                    std::make_tuple(0, 14900, 100, 50, 7450), std::make_tuple(5, 5000, 1, 99, 5)));

TEST(BaseLedConversion, OutOfRangeUserValuesAreRefused) {
    auto led = ranged(10, 20);
    LogCapture log;
    EXPECT_EQ(led->convertUserToGPIO(101), 0);
    EXPECT_EQ(led->convertUserToGPIO(-1), 0);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "convertUserToGPIO", 3, 0, "Validation failed, value=101"},
                                           Expected{kSource, "convertUserToGPIO", 3, 0, "Validation failed, value=-1"}));
}

TEST(BaseLedConversion, BinaryTakesOnlyZeroAndOne) {
    Led led;
    led.describe(true, 0, 1, false);
    ASSERT_TRUE(led.init("bin"));
    LogCapture log;
    EXPECT_EQ(led.convertUserToGPIO(0), 0);
    EXPECT_EQ(led.convertUserToGPIO(1), 1);
    EXPECT_EQ(led.convertUserToGPIO(2), 0);
    EXPECT_EQ(led.convertUserToGPIO(-1), 0);
    EXPECT_EQ(led.convertGPIOToUser(0), 0);
    EXPECT_EQ(led.convertGPIOToUser(5), 1);
    EXPECT_EQ(led.convertGPIOToUser(-3), 1);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "convertUserToGPIO", 3, 0, "Validation failed, value=2"},
                                           Expected{kSource, "convertUserToGPIO", 3, 0, "Validation failed, value=-1"}));
}

TEST(BaseLedConversion, DeviceToUser) {
    auto led = ranged(0, 99);
    EXPECT_EQ(led->convertGPIOToUser(99), 100);
    EXPECT_EQ(led->convertGPIOToUser(49), 49);  // 100 * 49 / 99 = 49
    EXPECT_EQ(led->convertGPIOToUser(0), 0);
    EXPECT_EQ(led->convertGPIOToUser(250), 100);  // clamped
    EXPECT_EQ(led->convertGPIOToUser(-50), 0);    // clamped
    ASSERT_TRUE(led->setBrightness(50));
    EXPECT_EQ(led->convertGPIOToUser(49), 98);  // 49 percent of a half-bright scale
    EXPECT_EQ(led->convertGPIOToUser(60), 100);
    ASSERT_TRUE(led->setBrightness(0));
    EXPECT_EQ(led->convertGPIOToUser(60), 0);
}

// Device values come from files that may hold anything (a PWM duty cycle is in nanoseconds): the
// arithmetic wraps as on the camera's 32-bit core instead of overflowing.
TEST(BaseLedConversion, HugeDeviceValuesWrapAsThirtyTwoBitArithmetic) {
    auto led = ranged(0, 99);
    // 100 * 21260089 / 99 = 21474837; 100 * 21474837 wraps to -2147483596, clamped to 0.
    EXPECT_EQ(led->convertGPIOToUser(21260089), 0);
    // 100 * 21260088 = 2126008800; / 99 = 21474836; 100 * that = 2147483600, above 100.
    EXPECT_EQ(led->convertGPIOToUser(21260088), 100);
    // 100 * INT_MAX wraps to -100: -100 / 99 = -1 percent, clamped to 0.
    EXPECT_EQ(led->convertGPIOToUser(std::numeric_limits<int>::max()), 0);
    // INT_MIN - 0 times 100 wraps to 0.
    EXPECT_EQ(led->convertGPIOToUser(std::numeric_limits<int>::min()), 0);
    auto shifted = ranged(1, 2);
    // INT_MIN - 1 wraps to INT_MAX; 100 * INT_MAX wraps to -100; -100 / 1 = -100, clamped to 0.
    EXPECT_EQ(shifted->convertGPIOToUser(std::numeric_limits<int>::min()), 0);
    EXPECT_EQ(shifted->convertGPIOToUser(2), 100);
}

TEST(BaseLedConversion, UserToDeviceWrapsOnAHugeRange) {
    auto led = ranged(0, std::numeric_limits<int>::max());
    // (INT_MAX * 100) wraps to -100; / 100 = -1.
    EXPECT_EQ(led->convertUserToGPIO(100), -1);
    // INT_MAX * 50 wraps to -50; / 100 = 0.
    EXPECT_EQ(led->convertUserToGPIO(50), 0);
    // INT_MAX * 1 stays; / 100 = 21474836.
    EXPECT_EQ(led->convertUserToGPIO(1), 21474836);
}

TEST(BaseLedSetValue, MinusOneDoesNothing) {
    auto led = ranged();
    EXPECT_CALL(*led, writeValue(_)).Times(0);
    EXPECT_TRUE(led->setValue(-1, false));
    EXPECT_TRUE(led->setValue(-1, true));
}

TEST(BaseLedSetValue, UnchangedValueIsWrittenOnceUnlessForced) {
    auto led = ranged(0, 99);
    EXPECT_CALL(*led, writeValue(39)).Times(4).WillRepeatedly(Return(true));
    EXPECT_TRUE(led->setValue(40, false));
    EXPECT_TRUE(led->setValue(40, false));
    EXPECT_TRUE(led->setValue(40, true));
    EXPECT_TRUE(led->setValue(40, true));
    EXPECT_TRUE(led->setValue(40, true));
    EXPECT_EQ(led->current(), 40);
}

TEST(BaseLedSetValue, ForceSkipsEvenTheExistenceTest) {
    Led led;
    EXPECT_CALL(led, exists()).WillOnce(Return(false));
    ASSERT_TRUE(led.init("none"));
    EXPECT_CALL(led, writeValue(_)).Times(0);
    EXPECT_TRUE(led.setValue(40, false));
    testing::Mock::VerifyAndClearExpectations(&led);
    EXPECT_CALL(led, writeValue(0)).WillOnce(Return(true));  // range never read: 0..0
    EXPECT_TRUE(led.setValue(40, true));
}

TEST(BaseLedSetValue, FailedWriteKeepsTheOldValue) {
    auto led = ranged();
    EXPECT_CALL(*led, writeValue(10)).WillOnce(Return(true));
    ASSERT_TRUE(led->setValue(10, false));
    EXPECT_CALL(*led, writeValue(20)).WillOnce(Return(false));
    LogCapture log;
    EXPECT_FALSE(led->setValue(20, false));
    EXPECT_EQ(led->current(), 10);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setValue", 3, 0, "Failed to write value"}));
}

TEST(BaseLedSetValue, OutOfRangeValueWritesRangeMinAfterTheWarning) {
    auto led = ranged(5, 50);
    EXPECT_CALL(*led, writeValue(0)).WillOnce(Return(true));  // the conversion answers 0 on refusal
    LogCapture log;
    EXPECT_TRUE(led->setValue(150, false));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "convertUserToGPIO", 3, 0, "Validation failed, value=150"}));
}

TEST(BaseLedSetBoolean, MapsToFullScaleOrBinary) {
    auto led = ranged(0, 99);
    EXPECT_CALL(*led, writeValue(99)).WillOnce(Return(true));
    EXPECT_CALL(*led, writeValue(0)).WillOnce(Return(true));
    EXPECT_TRUE(led->setBoolean(true));
    EXPECT_TRUE(led->setBoolean(false));

    Led binary;
    binary.describe(true, 0, 1, false);
    ASSERT_TRUE(binary.init("bin"));
    EXPECT_CALL(binary, writeValue(1)).WillOnce(Return(true));
    EXPECT_CALL(binary, writeValue(0)).WillOnce(Return(true));
    EXPECT_TRUE(binary.setBoolean(true));
    EXPECT_TRUE(binary.setBoolean(false));
}

TEST(BaseLedBrightness, OutOfRangeIsRefused) {
    auto led = ranged();
    LogCapture log;
    EXPECT_FALSE(led->setBrightness(101));
    EXPECT_FALSE(led->setBrightness(-1));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setBrightness", 3, 0, "Validation failed, brightness=101"},
                                           Expected{kSource, "setBrightness", 3, 0, "Validation failed, brightness=-1"}));
}

TEST(BaseLedBrightness, ReappliesTheCurrentValueWithForce) {
    auto led = ranged(0, 99);
    EXPECT_CALL(*led, writeValue(_)).Times(0);
    EXPECT_TRUE(led->setBrightness(50));  // no value yet: nothing to re-apply
    testing::Mock::VerifyAndClearExpectations(led.get());
    {
        InSequence order;
        EXPECT_CALL(*led, writeValue(39)).WillOnce(Return(true));  // 80 at 50 %: 40 percent
        EXPECT_CALL(*led, writeValue(79)).WillOnce(Return(true));  // 80 at 100 %
    }
    EXPECT_TRUE(led->setValue(80, false));
    EXPECT_TRUE(led->setBrightness(50));  // unchanged: nothing written
    EXPECT_TRUE(led->setBrightness(100));
}

TEST(BaseLedBrightness, ZeroWritesRangeMinForEveryValue) {
    auto led = ranged(7, 99);
    ASSERT_TRUE(led->setBrightness(0));
    EXPECT_CALL(*led, writeValue(7)).Times(3).WillRepeatedly(Return(true));
    EXPECT_TRUE(led->setValue(100, false));
    EXPECT_TRUE(led->setValue(50, false));
    EXPECT_TRUE(led->setValue(1, false));
    EXPECT_EQ(led->convertGPIOToUser(99), 0);
}

TEST(BaseLedAutoMode, WithoutAutoModeIsRefused) {
    auto led = ranged();
    EXPECT_CALL(*led, writeAutoMode()).Times(0);
    LogCapture log;
    EXPECT_FALSE(led->setAutoMode());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setAutoMode", 3, 0, "No auto mode"}));
}

TEST(BaseLedAutoMode, WrittenOnceThenRemembered) {
    auto led = ranged(0, 100, true);
    ASSERT_TRUE(led->setValue(30, false));
    EXPECT_CALL(*led, writeAutoMode()).WillOnce(Return(true));
    EXPECT_TRUE(led->setAutoMode());
    EXPECT_TRUE(led->setAutoMode());
    EXPECT_EQ(led->current(), -1);
    EXPECT_EQ(led->autoState(), 1);
    // A value write leaves auto mode.
    EXPECT_TRUE(led->setValue(30, false));
    EXPECT_EQ(led->autoState(), -1);
}

TEST(BaseLedAutoMode, FailureIsLogged) {
    auto led = ranged(0, 100, true);
    EXPECT_CALL(*led, writeAutoMode()).WillOnce(Return(false));
    LogCapture log;
    EXPECT_FALSE(led->setAutoMode());
    EXPECT_EQ(led->autoState(), -1);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setAutoMode", 3, 0, "Failed to write auto mode"}));
}

TEST(BaseLedSave, KnownValueIsSavedWithoutReading) {
    auto led = ranged();
    ASSERT_TRUE(led->setValue(60, false));
    EXPECT_CALL(*led, readValue(_)).Times(0);
    EXPECT_CALL(*led, readAutoMode(_)).Times(0);
    ASSERT_TRUE(led->save());
    EXPECT_TRUE(led->pending());
    EXPECT_FALSE(led->pendingAuto());
    EXPECT_EQ(led->savedUser(), 60);
    ASSERT_TRUE(led->setValue(10, false));
    EXPECT_CALL(*led, writeValue(60)).WillOnce(Return(true));
    ASSERT_TRUE(led->restore());
    EXPECT_FALSE(led->pending());
    EXPECT_EQ(led->savedUser(), -1);
    EXPECT_CALL(*led, writeValue(_)).Times(0);
    EXPECT_TRUE(led->restore());  // nothing pending
}

TEST(BaseLedSave, AutoModeWrittenIsSavedAndRestoredAtOnce) {
    auto led = ranged(0, 100, true);
    ASSERT_TRUE(led->setAutoMode());
    EXPECT_CALL(*led, readAutoMode(_)).Times(0);
    ASSERT_TRUE(led->save());
    EXPECT_TRUE(led->pendingAuto());
    EXPECT_EQ(led->savedUser(), -1);
    EXPECT_CALL(*led, writeAutoMode()).Times(0);  // still in auto mode: succeeds at once
    EXPECT_TRUE(led->restore());
    EXPECT_FALSE(led->pending());
}

TEST(BaseLedSave, UnknownStateReadsAutoModeFirst) {
    auto led = ranged(0, 100, true);
    EXPECT_CALL(*led, readAutoMode(_)).WillOnce(DoAll(SetArgReferee<0>(true), Return(true)));
    EXPECT_CALL(*led, readValue(_)).Times(0);
    ASSERT_TRUE(led->save());
    EXPECT_TRUE(led->pendingAuto());
    EXPECT_CALL(*led, writeAutoMode()).WillOnce(Return(true));
    EXPECT_TRUE(led->restore());
}

TEST(BaseLedSave, UnknownStateWithAutoModeOffReadsTheValue) {
    auto led = ranged(0, 200, true);
    EXPECT_CALL(*led, readAutoMode(_)).WillOnce(DoAll(SetArgReferee<0>(false), Return(true)));
    EXPECT_CALL(*led, readValue(_)).WillOnce(DoAll(SetArgReferee<0>(50), Return(true)));
    ASSERT_TRUE(led->save());
    EXPECT_FALSE(led->pendingAuto());
    EXPECT_EQ(led->savedUser(), 25);
    EXPECT_CALL(*led, writeValue(50)).WillOnce(Return(true));
    EXPECT_TRUE(led->restore());
}

TEST(BaseLedSave, UnknownStateWithoutAutoModeReadsTheValue) {
    auto led = ranged(0, 99);
    EXPECT_CALL(*led, readAutoMode(_)).Times(0);
    EXPECT_CALL(*led, readValue(_)).WillOnce(DoAll(SetArgReferee<0>(99), Return(true)));
    ASSERT_TRUE(led->save());
    EXPECT_EQ(led->savedUser(), 100);
}

TEST(BaseLedSave, ReadFailuresAreLogged) {
    auto led = ranged(0, 100, true);
    EXPECT_CALL(*led, readAutoMode(_)).WillOnce(Return(false));
    LogCapture log;
    EXPECT_FALSE(led->save());
    EXPECT_FALSE(led->pending());

    auto plain = ranged(0, 100);
    EXPECT_CALL(*plain, readValue(_)).WillOnce(Return(false));
    EXPECT_FALSE(plain->save());
    EXPECT_FALSE(plain->pending());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "save", 3, 0, "Failed to read auto mode"},
                                           Expected{kSource, "save", 3, 0, "Failed to read value"}));
}

TEST(BaseLedSave, SecondSaveOverwritesTheFirst) {
    auto led = ranged();
    ASSERT_TRUE(led->setValue(10, false));
    ASSERT_TRUE(led->save());
    ASSERT_TRUE(led->setValue(20, false));
    ASSERT_TRUE(led->save());
    EXPECT_EQ(led->savedUser(), 20);
}

TEST(BaseLedRestore, FailedRestoreKeepsTheSavePending) {
    auto led = ranged();
    ASSERT_TRUE(led->setValue(10, false));
    ASSERT_TRUE(led->save());
    ASSERT_TRUE(led->setValue(30, false));
    EXPECT_CALL(*led, writeValue(10)).WillOnce(Return(false)).WillOnce(Return(true));
    LogCapture log;
    EXPECT_FALSE(led->restore());
    EXPECT_TRUE(led->pending());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setValue", 3, 0, "Failed to write value"},
                                           Expected{kSource, "restore", 3, 0, "Failed to set value"}));
    EXPECT_TRUE(led->restore());
    EXPECT_FALSE(led->pending());
}

TEST(BaseLedRestore, FailedAutoModeRestoreKeepsTheSavePending) {
    auto led = ranged(0, 100, true);
    EXPECT_CALL(*led, readAutoMode(_)).WillOnce(DoAll(SetArgReferee<0>(true), Return(true)));
    ASSERT_TRUE(led->save());
    EXPECT_CALL(*led, writeAutoMode()).WillOnce(Return(false));
    LogCapture log;
    EXPECT_FALSE(led->restore());
    EXPECT_TRUE(led->pending());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setAutoMode", 3, 0, "Failed to write auto mode"},
                                           Expected{kSource, "restore", 3, 0, "Failed to set auto mode"}));
}

TEST(BaseLedRestore, SavedValueMinusOneIsAnInternalError) {
    // The hardware reads back below the range: the saved user value clamps to 0, never -1;
    // -1 is only left by a completed restore, so it cannot be restored twice.
    auto led = ranged();
    ASSERT_TRUE(led->setValue(10, false));
    ASSERT_TRUE(led->save());
    ASSERT_TRUE(led->restore());
    EXPECT_EQ(led->savedUser(), -1);
    EXPECT_TRUE(led->restore());  // not pending: no internal error
}
