// Vtable slots of the multicolour LED class face: it overrides BaseLed's slots in place and adds
// none, and its own drawing operations stay non-virtual.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/MulticolorLedFace.h"

namespace {

using orva::test::abi::slotIndex;

struct AppendedToMulticolor : MulticolorLedFace {
    virtual void appendedSlot() {}
};

TEST(MulticolorSlots, OverridesKeepBaseLedSlots) {
    EXPECT_EQ(slotIndex(&MulticolorLedFace::setColor), 2);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::setAnimColor), 3);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::setAnimDensity), 4);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::setAnimEnable), 5);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::setAnimStep), 6);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::isAnimSupported), 7);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::service), 8);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::exists), 9);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::isBinary), 10);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::hasAutoMode), 11);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::isManagedByMcu), 12);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::initGPIO), 13);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::rangeMin), 14);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::rangeMax), 15);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::writeValue), 16);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::readValue), 17);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::writeAutoMode), 18);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::readAutoMode), 19);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::convertUserToGPIO), 20);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::readAnimStep), 27);
    EXPECT_EQ(slotIndex(&AppendedToMulticolor::appendedSlot), 28);
}

TEST(MulticolorSlots, DrawingOperationsAreNotVirtual) {
    EXPECT_EQ(slotIndex(&MulticolorLedFace::updateVals), -1);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::updateAnimVals), -1);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::updateColorCodeLeds), -1);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::updateAllLeds), -1);
    EXPECT_EQ(slotIndex(&MulticolorLedFace::update), -1);
}

}  // namespace
