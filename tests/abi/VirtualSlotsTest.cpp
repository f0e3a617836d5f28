// Vtable slots of the exported classes. Firmware processes built against our headers call virtual
// functions by slot number, so a reordered, inserted or removed virtual breaks every one of them.
#include <cstddef>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/BaseButton.h"
#include "orva_gpio_utils/BaseGPIOResetButton.h"
#include "orva_gpio_utils/BaseLed.h"
#include "orva_gpio_utils/DCCableDetector.h"
#include "orva_gpio_utils/EnclosureDetButton.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetGPIOButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"
#include "orva_gpio_utils/RingButton.h"

namespace {

using orva::test::abi::slotCount;
using orva::test::abi::slotIndex;

// A class of known layout: destructor in slots 0 and 1, then first() and second().
struct Known {
    virtual ~Known() = default;
    virtual void first() {}
    virtual int second() const { return 0; }
    void notVirtual() {}
};

TEST(VirtualSlots, MemberPointerEncodingIsOneOfTheTwoKnown) {
    const auto probe = orva::test::abi::representationOf(&orva::test::abi::EncodingProbe::first);
    const bool generic = probe.ptr == 1 && probe.adj == 0;
    const bool arm = probe.ptr == 0 && probe.adj == 1;
    EXPECT_TRUE(generic || arm) << "ptr " << probe.ptr << " adj " << probe.adj;
#if defined(__arm__) || defined(__aarch64__)
    EXPECT_TRUE(orva::test::abi::virtualFlagInAdjustment());
#elif defined(__x86_64__) || defined(__i386__)
    EXPECT_FALSE(orva::test::abi::virtualFlagInAdjustment());
#endif
}

TEST(VirtualSlots, SlotIndexReadsAClassOfKnownLayout) {
    EXPECT_EQ(slotIndex(&Known::first), 2);
    EXPECT_EQ(slotIndex(&Known::second), 3);
    EXPECT_EQ(slotIndex(&Known::notVirtual), -1);
    EXPECT_EQ(slotCount<Known>(), 4);
}

// Destructor (slots 0 and 1), the colour and animation setters, service, the pure hardware
// operations, the conversion and the read accessors: 28 slots in all. With the 26 named functions
// in slots 2..27 and 28 slots in all, the destructor's two entries can only be slots 0 and 1.
TEST(VirtualSlots, BaseLedKeepsItsSlotOrder) {
    EXPECT_EQ(slotIndex(&BaseLed::setColor), 2);
    EXPECT_EQ(slotIndex(&BaseLed::setAnimColor), 3);
    EXPECT_EQ(slotIndex(&BaseLed::setAnimDensity), 4);
    EXPECT_EQ(slotIndex(&BaseLed::setAnimEnable), 5);
    EXPECT_EQ(slotIndex(&BaseLed::setAnimStep), 6);
    EXPECT_EQ(slotIndex(&BaseLed::isAnimSupported), 7);
    EXPECT_EQ(slotIndex(&BaseLed::service), 8);
    EXPECT_EQ(slotIndex(&BaseLed::exists), 9);
    EXPECT_EQ(slotIndex(&BaseLed::isBinary), 10);
    EXPECT_EQ(slotIndex(&BaseLed::hasAutoMode), 11);
    EXPECT_EQ(slotIndex(&BaseLed::isManagedByMcu), 12);
    EXPECT_EQ(slotIndex(&BaseLed::initGPIO), 13);
    EXPECT_EQ(slotIndex(&BaseLed::rangeMin), 14);
    EXPECT_EQ(slotIndex(&BaseLed::rangeMax), 15);
    EXPECT_EQ(slotIndex(&BaseLed::writeValue), 16);
    EXPECT_EQ(slotIndex(&BaseLed::readValue), 17);
    EXPECT_EQ(slotIndex(&BaseLed::writeAutoMode), 18);
    EXPECT_EQ(slotIndex(&BaseLed::readAutoMode), 19);
    EXPECT_EQ(slotIndex(&BaseLed::convertUserToGPIO), 20);
    EXPECT_EQ(slotIndex(&BaseLed::readFgColor), 21);
    EXPECT_EQ(slotIndex(&BaseLed::readBgColor), 22);
    EXPECT_EQ(slotIndex(&BaseLed::readFgAnimColor), 23);
    EXPECT_EQ(slotIndex(&BaseLed::readBgAnimColor), 24);
    EXPECT_EQ(slotIndex(&BaseLed::readAnimDensity), 25);
    EXPECT_EQ(slotIndex(&BaseLed::readAnimEnable), 26);
    EXPECT_EQ(slotIndex(&BaseLed::readAnimStep), 27);
    EXPECT_EQ(slotCount<BaseLed>(), 28);
}

TEST(VirtualSlots, BaseLedOperationsOutsideTheVtableStayNonVirtual) {
    EXPECT_EQ(slotIndex(&BaseLed::init), -1);
    EXPECT_EQ(slotIndex(&BaseLed::setValue), -1);
    EXPECT_EQ(slotIndex(&BaseLed::setBoolean), -1);
    EXPECT_EQ(slotIndex(&BaseLed::setBrightness), -1);
    EXPECT_EQ(slotIndex(&BaseLed::setAutoMode), -1);
    EXPECT_EQ(slotIndex(&BaseLed::save), -1);
    EXPECT_EQ(slotIndex(&BaseLed::restore), -1);
    EXPECT_EQ(slotIndex(&BaseLed::convertGPIOToUser), -1);
}

// Faces only override: a virtual of their own would be a slot no client knows about.
TEST(VirtualSlots, LedFacesAddNoSlots) {
    EXPECT_EQ(slotCount<LedFace>(), 28);
    EXPECT_EQ(slotCount<LedPower>(), 28);
    EXPECT_EQ(slotCount<LedIr>(), 28);
}

TEST(VirtualSlots, IButtonEventsObserverKeepsItsSlotOrder) {
    EXPECT_EQ(slotIndex(&IButtonEventsObserver::onButtonPressed), 0);
    EXPECT_EQ(slotIndex(&IButtonEventsObserver::onButtonReleased), 1);
    EXPECT_EQ(slotIndex(&IButtonEventsObserver::onButtonHeld), 2);
    EXPECT_EQ(slotCount<IButtonEventsObserver>(), 3);
}

TEST(VirtualSlots, BaseButtonKeepsItsSlotOrder) {
    EXPECT_EQ(slotIndex(&BaseButton::exists), 2);
    EXPECT_EQ(slotIndex(&BaseButton::initGPIO), 3);
    EXPECT_EQ(slotIndex(&BaseButton::readValue), 4);
    EXPECT_EQ(slotCount<BaseButton>(), 5);
    EXPECT_EQ(slotIndex(&BaseButton::init), -1);
    EXPECT_EQ(slotIndex(&BaseButton::service), -1);
}

TEST(VirtualSlots, BaseGPIOResetButtonContinuesBaseButtonsSlots) {
    EXPECT_EQ(slotIndex(&BaseGPIOResetButton::exists), 2);
    EXPECT_EQ(slotIndex(&BaseGPIOResetButton::initGPIO), 3);
    EXPECT_EQ(slotIndex(&BaseGPIOResetButton::readValue), 4);
    EXPECT_EQ(slotIndex(&BaseGPIOResetButton::getProcEntry), 5);
    EXPECT_EQ(slotIndex(&BaseGPIOResetButton::setLowActive), 6);
    EXPECT_EQ(slotCount<BaseGPIOResetButton>(), 7);
}

TEST(VirtualSlots, ButtonsAddNoSlots) {
    EXPECT_EQ(slotCount<ResetGPIOButtonCase>(), 7);
    EXPECT_EQ(slotCount<RingButton>(), 7);
    EXPECT_EQ(slotCount<EnclosureDetButton>(), 7);
    EXPECT_EQ(slotCount<DCCableDetector>(), 7);
    EXPECT_EQ(slotCount<ResetShmemButtonCase>(), 5);
}

TEST(VirtualSlots, ResetButtonCaseHasOnlyItsDestructor) {
    EXPECT_EQ(slotCount<ResetButtonCase>(), 2);
    EXPECT_EQ(slotIndex(&ResetButtonCase::init), -1);
    EXPECT_EQ(slotIndex(&ResetButtonCase::service), -1);
}

}  // namespace
