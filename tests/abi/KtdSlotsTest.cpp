// Vtable slots of the KTD20xx ring face: it overrides BaseLed's slots in place and adds none, and
// its own table, drawing and mode operations stay non-virtual.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"

namespace {

using orva::test::abi::slotIndex;

struct AppendedToKtd : Ktd2061LedFace {
    virtual void appendedSlot() {}
};

TEST(KtdSlots, OverridesKeepBaseLedSlots) {
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::setColor), 2);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::setAnimColor), 3);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::setAnimDensity), 4);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::setAnimEnable), 5);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::setAnimStep), 6);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::isAnimSupported), 7);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::service), 8);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::exists), 9);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::isBinary), 10);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::hasAutoMode), 11);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::isManagedByMcu), 12);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::initGPIO), 13);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::rangeMin), 14);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::rangeMax), 15);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::writeValue), 16);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::readValue), 17);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::writeAutoMode), 18);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::readAutoMode), 19);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::convertUserToGPIO), 20);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::readFgColor), 21);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::readAnimStep), 27);
    EXPECT_EQ(slotIndex(&AppendedToKtd::appendedSlot), 28);
}

TEST(KtdSlots, TableDrawingAndModeOperationsAreNotVirtual) {
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::initSysfs), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::initConfig), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::getSysId), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::getAnimLen), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::updateVals), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::updatePosVals), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::updateAnimVals), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::updateColorCodeLeds), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::updateAllLeds), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::update), -1);
    EXPECT_EQ(slotIndex(&Ktd2061LedFace::refreshMode), -1);
}

}  // namespace
