// Vtable slots of the AV colour LED and the RGB LED: each overrides BaseLed's colour, animation
// and hardware slots in place and adds none; their own operations are not virtual.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/RgbLedFace.h"

namespace {

using orva::test::abi::slotCount;
using orva::test::abi::slotIndex;

template <typename Face>
void expectColourAnimationAndHardwareSlots() {
    EXPECT_EQ(slotIndex(&Face::setColor), 2);
    EXPECT_EQ(slotIndex(&Face::setAnimColor), 3);
    EXPECT_EQ(slotIndex(&Face::setAnimDensity), 4);
    EXPECT_EQ(slotIndex(&Face::setAnimEnable), 5);
    EXPECT_EQ(slotIndex(&Face::setAnimStep), 6);
    EXPECT_EQ(slotIndex(&Face::isAnimSupported), 7);
    EXPECT_EQ(slotIndex(&Face::service), 8);
    EXPECT_EQ(slotIndex(&Face::exists), 9);
    EXPECT_EQ(slotIndex(&Face::isBinary), 10);
    EXPECT_EQ(slotIndex(&Face::hasAutoMode), 11);
    EXPECT_EQ(slotIndex(&Face::isManagedByMcu), 12);
    EXPECT_EQ(slotIndex(&Face::initGPIO), 13);
    EXPECT_EQ(slotIndex(&Face::rangeMin), 14);
    EXPECT_EQ(slotIndex(&Face::rangeMax), 15);
    EXPECT_EQ(slotIndex(&Face::writeValue), 16);
    EXPECT_EQ(slotIndex(&Face::readValue), 17);
    EXPECT_EQ(slotIndex(&Face::writeAutoMode), 18);
    EXPECT_EQ(slotIndex(&Face::readAutoMode), 19);
    EXPECT_EQ(slotIndex(&Face::convertUserToGPIO), 20);
    EXPECT_EQ(slotIndex(&Face::readAnimStep), 27);
    EXPECT_EQ(slotCount<Face>(), 28);
}

TEST(AvSlots, CompoundLedFaceOverridesInPlaceAndAddsNoSlot) {
    expectColourAnimationAndHardwareSlots<CompoundLedFace>();
    EXPECT_EQ(slotIndex(&CompoundLedFace::isPwmLed), -1);
    EXPECT_EQ(slotIndex(&CompoundLedFace::setAvledColor), -1);
}

TEST(AvSlots, RgbLedFaceOverridesInPlaceAndAddsNoSlot) { expectColourAnimationAndHardwareSlots<RgbLedFace>(); }

// Overriders are what a client reaches through a BaseLed pointer.
TEST(AvSlots, VirtualCallsThroughBaseLedReachTheFace) {
    CompoundLedFace compound;
    RgbLedFace rgb;
    BaseLed* faces[] = {&compound, &rgb};
    EXPECT_TRUE(faces[0]->exists());
    EXPECT_EQ(faces[0]->rangeMax(), 99);
    EXPECT_TRUE(faces[1]->exists());
    EXPECT_EQ(faces[1]->rangeMax(), 14);
}

}  // namespace
