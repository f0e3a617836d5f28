// The placeholder face of LEDs the microcontroller runs: fixed answers, the stored value, and which
// boards hand their status LED to the microcontroller.
#include <climits>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "orva_gpio_utils/McuLedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/McuLedFace";

int stored(const McuLedFace& led) {
    int value = -2;
    EXPECT_TRUE(led.readValue(value));
    return value;
}

}  // namespace

TEST(McuLedFace, FixedAnswersOnEveryBoard) {
    for (const uint32_t sysid : {0xA571u, 0xA574u, 0xA5A0u, 0xA533u}) {
        SimBoard board(sysid);
        LogCapture log;
        McuLedFace led;
        EXPECT_TRUE(led.exists());
        EXPECT_FALSE(led.isBinary());
        EXPECT_FALSE(led.hasAutoMode());
        EXPECT_EQ(led.rangeMin(), 0);
        EXPECT_EQ(led.rangeMax(), 100);
        EXPECT_TRUE(led.initGPIO());
        ASSERT_TRUE(led.init("status"));
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    }
}

TEST(McuLedFace, ReadValueBeforeAnyWriteGivesMinusOne) {
    SimBoard board(0xA574);
    McuLedFace led;
    EXPECT_EQ(stored(led), -1);
    ASSERT_TRUE(led.init("status"));
    EXPECT_EQ(stored(led), -1);
}

TEST(McuLedFace, WritesAreStoredAndTouchNoHardware) {
    SimBoard board(0xA574);
    LogCapture log;
    McuLedFace led;
    ASSERT_TRUE(led.init("status"));
    EXPECT_TRUE(led.setValue(40, false));
    EXPECT_EQ(stored(led), 40);
    EXPECT_TRUE(led.setBrightness(50));
    EXPECT_EQ(stored(led), 20);
    for (const int value : {INT_MIN, -1, 0, 100, INT_MAX}) {
        EXPECT_TRUE(led.writeValue(value));
        EXPECT_EQ(stored(led), value);
    }
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(McuLedFace, SaveReadsTheStoredValueBack) {
    SimBoard board(0xA571);
    McuLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.writeValue(70));  // behind BaseLed's back: its current value is still unknown
    ASSERT_TRUE(led.save());
    ASSERT_TRUE(led.setValue(10, false));
    ASSERT_TRUE(led.restore());
    EXPECT_EQ(stored(led), 70);
}

TEST(McuLedFace, ManagedByTheMicrocontrollerOnlyOnA571AndA574) {
    const std::pair<uint32_t, bool> boards[] = {{0xA571, true}, {0xA574, true}, {0xA5A0, false},
                                                {0xA533, false}, {0xA575, false}};
    for (const auto& [sysid, managed] : boards) {
        SimBoard board(sysid);
        McuLedFace led;
        EXPECT_EQ(led.isManagedByMcu(), managed) << std::hex << sysid;
    }
    // The board is looked up on every call; only its low 32 bits count.
    SimBoard board(0xA5A0);
    McuLedFace led;
    EXPECT_FALSE(led.isManagedByMcu());
    CameraInfo::instance()["sysid"] = 0xA571ULL;
    EXPECT_TRUE(led.isManagedByMcu());
    CameraInfo::instance()["sysid"] = 0x10000A574ULL;
    EXPECT_TRUE(led.isManagedByMcu());
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(McuLedFace, AutoModeIsNotSupported) {
    SimBoard board(0xA574);
    LogCapture log;
    McuLedFace led;
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"}));
}

TEST(McuLedFace, RepeatedWritesCostNoCallAndNoAllocation) {
    SimBoard board(0xA574);
    McuLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setValue(30, false));
    AllocationScope allocations;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(led.setValue(30, false));
        EXPECT_TRUE(led.setValue(30, true));
        EXPECT_TRUE(led.setValue(i, false));
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(McuLedFaceDeathTest, AMissingOrMistypedBoardIdentifierIsFatal) {
    SimBoard board(0xA574);
    McuLedFace led;
    CameraInfo::instance()["sysid"] = "0xA574";
    EXPECT_DEATH(led.isManagedByMcu(), "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:sysid:[0-9]+: Key "
                                       "\"sysid\" has a different type than expected\n(.|\n)*forceCrash called");
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    EXPECT_DEATH(led.isManagedByMcu(), "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:sysid:[0-9]+: Key "
                                       "\"sysid\" not available\n(.|\n)*forceCrash called");
}
