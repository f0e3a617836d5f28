// The power LED: no board has one.
#include "BoardFixture.h"
#include "orva_gpio_utils/LedPower.h"

using namespace orva::test;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(LedPower, InitSucceedsOnEveryBoardWithoutHardware) {
    for (const uint32_t sysid : {0xA533u, 0xA5A4u}) {
        SimBoard board(sysid);
        LogCapture log;
        LedPower power;
        ASSERT_TRUE(power.init("power"));
        EXPECT_FALSE(power.exists());
        EXPECT_TRUE(power.setValue(1, false));
        EXPECT_TRUE(power.setBoolean(true));
        EXPECT_TRUE(power.setBrightness(40));
        EXPECT_TRUE(power.save());
        EXPECT_TRUE(power.restore());
        EXPECT_THAT(log.records(), IsEmpty());  // "Not supported" is never reached
        EXPECT_TRUE(board.journal().empty());
    }
}

TEST(LedPower, DescribesABinaryLedWithoutAutoMode) {
    LedPower power;
    EXPECT_TRUE(power.isBinary());
    EXPECT_FALSE(power.hasAutoMode());
    EXPECT_FALSE(power.isManagedByMcu());
    EXPECT_EQ(power.rangeMin(), 0);
    EXPECT_EQ(power.rangeMax(), 1);
}

TEST(LedPower, EveryHardwareOperationIsRefused) {
    LedPower power;
    LogCapture log;
    int value = 0;
    bool enabled = false;
    EXPECT_FALSE(power.initGPIO());
    EXPECT_FALSE(power.writeValue(1));
    EXPECT_FALSE(power.readValue(value));
    EXPECT_FALSE(power.writeAutoMode());
    EXPECT_FALSE(power.readAutoMode(enabled));
    const std::string source = "src/LedPower";
    EXPECT_THAT(log.records(), ElementsAre(Expected{source, "initGPIO", 3, 0, "Not supported"},
                                           Expected{source, "writeValue", 3, 0, "Not supported"},
                                           Expected{source, "readValue", 3, 0, "Not supported"},
                                           Expected{source, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{source, "readAutoMode", 3, 0, "Not supported"}));
}
