// Vtable slots of the LED-class colour LED and the two microcontroller faces: each overrides
// BaseLed's slots in place and adds none.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace {

using orva::test::abi::slotCount;
using orva::test::abi::slotIndex;

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

}  // namespace

TEST(SysfsMcuSlots, LedSysfsOverridesSetColorAndTheHardwareSlotsInPlace) {
    expectHardwareSlots<LedSysfs>();
    EXPECT_EQ(slotIndex(&LedSysfs::setColor), 2);
}

TEST(SysfsMcuSlots, McuLedFaceOverridesTheHardwareSlotsInPlace) { expectHardwareSlots<McuLedFace>(); }

TEST(SysfsMcuSlots, UartcliLedFaceOverridesSetColorAndTheHardwareSlotsInPlace) {
    expectHardwareSlots<UartcliLedFace>();
    EXPECT_EQ(slotIndex(&UartcliLedFace::setColor), 2);
}

// What a client reaches through a BaseLed pointer is the face's own operation.
TEST(SysfsMcuSlots, VirtualCallsThroughBaseLedReachTheFace) {
    LedSysfs sysfs;
    McuLedFace mcu;
    BaseLed* faces[] = {&sysfs, &mcu};
    EXPECT_EQ(faces[0]->rangeMax(), 99);
    EXPECT_EQ(faces[1]->rangeMax(), 100);
    EXPECT_TRUE(faces[1]->exists());
    int value = 0;
    EXPECT_TRUE(faces[1]->writeValue(17));
    EXPECT_TRUE(faces[1]->readValue(value));
    EXPECT_EQ(value, 17);
}
