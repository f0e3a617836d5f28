// What differs on the camera's 32-bit ARM target and must still come out right: plain char is
// unsigned there, long and pointers have 32 bits, and the millisecond clock outgrows 32 bits.
#include <climits>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "orva/platform.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/BaseButton.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/RingButton.h"

namespace {

using orva::variant::CameraInfo;
using orva::variant::Variant;

// A device-information map holding only the given signed 8-bit key.
void onlyKey(const char* key, signed char value) {
    Variant& info = CameraInfo::instance();
    info.Free();
    info.IsArray(false);
    info[key] = value;
}

TEST(TargetTypes, TheSuiteRunsOnTheDataModelItWasBuiltFor) {
#if defined(__arm__)
    EXPECT_FALSE(std::is_signed_v<char>) << "32-bit ARM: plain char is unsigned";
    EXPECT_EQ(CHAR_MIN, 0);
    EXPECT_EQ(sizeof(long), 4u);
    EXPECT_EQ(sizeof(void*), 4u);
#elif defined(__aarch64__)
    EXPECT_FALSE(std::is_signed_v<char>) << "AArch64: plain char is unsigned";
    EXPECT_EQ(sizeof(long), 8u);
#elif defined(__x86_64__)
    EXPECT_TRUE(std::is_signed_v<char>);
    EXPECT_EQ(sizeof(long), 8u);
#endif
    EXPECT_EQ(sizeof(long long), 8u);
    EXPECT_EQ(sizeof(off64_t), 8u);
}

// The feature keys are read as signed char whatever plain char is on the target.
TEST(TargetTypes, SignedEightBitKeysConvertAsSigned) {
    EXPECT_TRUE(std::is_signed_v<signed char>);
    onlyKey("feature_battery", -1);
    const signed char read = CameraInfo::instance()["feature_battery"];
    EXPECT_EQ(read, -1);
    EXPECT_LT(read, 0);
    EXPECT_NE(read, 0);

    // 0xFF stored as a wider integer reads back as the same byte: -1.
    CameraInfo::instance()["feature_battery"] = 0xFF;
    const signed char wide = CameraInfo::instance()["feature_battery"];
    EXPECT_EQ(wide, -1);
}

TEST(TargetTypes, FeatureBatteryOfMinusOneMeansADcCableDetector) {
    DCCableDetector detector;
    onlyKey("feature_battery", -1);
    EXPECT_TRUE(detector.exists());
    CameraInfo::instance()["feature_battery"] = 0xFF;
    EXPECT_TRUE(detector.exists());
    onlyKey("feature_battery", 1);
    EXPECT_TRUE(detector.exists());
    onlyKey("feature_battery", 0);
    EXPECT_FALSE(detector.exists());
}

// Only exactly 1 announces the IR light: 0xFF is -1, not 255 and not 1.
TEST(TargetTypes, FeatureLedIrOfMinusOneIsNotAnIrLight) {
    LedIr ir;
    onlyKey("feature_led_ir", -1);
    EXPECT_FALSE(ir.exists());
    CameraInfo::instance()["feature_led_ir"] = 0xFF;
    EXPECT_FALSE(ir.exists());
    onlyKey("feature_led_ir", 1);
    EXPECT_TRUE(ir.exists());
}

TEST(TargetTypes, MillisecondClockCarriesPast32Bits) {
    orva::sim::Sandbox sandbox;
    const uint64_t start = nowMs();
    sandbox.advanceMs(0x100000000ull + 5);
    EXPECT_EQ(nowMs() - start, 0x100000005ull);
    EXPECT_GT(nowMs(), 0xFFFFFFFFull);
}

struct Events : IButtonEventsObserver {
    std::vector<std::string> seen;
    void onButtonPressed() override { seen.push_back("pressed"); }
    void onButtonReleased(unsigned durationMs) override { seen.push_back("released " + std::to_string(durationMs)); }
    void onButtonHeld(unsigned durationMs) override { seen.push_back("held " + std::to_string(durationMs)); }
};

// A press that starts 50 ms before the clock passes 2^32 ms: the press start, the hold deadlines
// and the durations need all 64 bits (truncated to 32 the deadline would lie in the past and a
// held event would come on every poll; a start of exactly 2^32 would read as "not pressed").
TEST(TargetTypes, ButtonTimingCarriesAcrossTheThirtyTwoBitBoundary) {
    orva::test::LogCapture log;
    orva::sim::SimBoard board(orva::sim::BoardProfile::parse(
        "info sysid u64 0xA575\nattr /proc/gpio/ring_btn 0644 1\n", "ring button board"));
    Events events;
    RingButton ring;
    ASSERT_TRUE(ring.init(&events, 100));

    board.advanceMs(0x100000000ull - 50 - nowMs());
    ASSERT_EQ(nowMs(), 0x100000000ull - 50);
    board.sandbox().setValue("/proc/gpio/ring_btn", "0");
    EXPECT_TRUE(ring.service());  // the press
    board.advanceMs(10);
    EXPECT_TRUE(ring.service());  // first held event: the deadline is the press itself
    board.advanceMs(50);
    EXPECT_TRUE(ring.service());  // 2^32 + 10: 60 ms into the press, the next deadline is at 100
    board.advanceMs(40);
    EXPECT_TRUE(ring.service());  // exactly at the deadline: not yet
    board.advanceMs(1);
    EXPECT_TRUE(ring.service());  // just past it
    board.advanceMs(49);
    board.sandbox().setValue("/proc/gpio/ring_btn", "1");
    EXPECT_TRUE(ring.service());

    EXPECT_EQ(events.seen, (std::vector<std::string>{"pressed", "held 10", "held 101", "released 150"}));
    EXPECT_TRUE(log.records().empty());
}

}  // namespace
