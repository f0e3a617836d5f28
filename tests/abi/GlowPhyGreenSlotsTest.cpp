// Vtable slots of the glow light, the Ethernet PHY LED and the green status LED: each overrides
// BaseLed's slots in place and adds none.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedPhy.h"

namespace {

using orva::test::abi::slotCount;
using orva::test::abi::slotIndex;

// The hardware slots every single-channel face overrides, at BaseLed's indices.
template <typename Face>
void expectHardwareSlots() {
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
    EXPECT_EQ(slotCount<Face>(), 28);
}

TEST(GlowPhyGreenSlots, LedGlowOverridesTheHardwareSlotsInPlace) { expectHardwareSlots<LedGlow>(); }

TEST(GlowPhyGreenSlots, LedPhyOverridesTheHardwareSlotsInPlace) { expectHardwareSlots<LedPhy>(); }

TEST(GlowPhyGreenSlots, GreenLedFaceOverridesSetColorAndTheHardwareSlotsInPlace) {
    expectHardwareSlots<GreenLedFace>();
    EXPECT_EQ(slotIndex(&GreenLedFace::setColor), 2);
    // Its own two operations are not virtual.
    EXPECT_EQ(slotIndex(&GreenLedFace::getColorCodeBrightness), -1);
    EXPECT_EQ(slotIndex(&GreenLedFace::getLedBrightness), -1);
}

// Overriders are what a client reaches through a BaseLed pointer.
TEST(GlowPhyGreenSlots, VirtualCallsThroughBaseLedReachTheFace) {
    LedGlow glow;
    LedPhy phy;
    GreenLedFace green;
    BaseLed* faces[] = {&glow, &phy, &green};
    EXPECT_FALSE(faces[0]->isBinary());
    EXPECT_TRUE(faces[1]->isBinary());
    EXPECT_EQ(faces[1]->rangeMax(), 1);
    EXPECT_EQ(faces[2]->rangeMax(), 255);
}

}  // namespace
