// Object layout of the LED-class colour LED and the two microcontroller faces: BaseLed's members,
// then each face's own in their documented order and types.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "LayoutCheck.h"
#include "SlotIndex.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

struct LedSysfsMirror : BaseLedMirror {
    LedSysfs::SysfsConfig* sysfsConfig;
};
struct LedSysfsAccess : LedSysfs {
    using LedSysfs::_sysfsConfig;
};

struct McuLedFaceMirror : BaseLedMirror {
    int32_t lastValue;
};
struct McuLedFaceAccess : McuLedFace {
    using McuLedFace::lastValue;
};

}  // namespace

TEST(SysfsMcuLayout, LedSysfsAddsThePointerToItsBoardRow) {
    EXPECT_MEMBER(LedSysfsAccess, _sysfsConfig, LedSysfsMirror, sysfsConfig);
    EXPECT_EQ(sizeof(LedSysfs), sizeof(LedSysfsMirror));
    EXPECT_EQ(alignof(LedSysfs), alignof(LedSysfsMirror));
}

TEST(SysfsMcuLayout, McuLedFaceAddsItsLastValue) {
    EXPECT_MEMBER(McuLedFaceAccess, lastValue, McuLedFaceMirror, lastValue);
    EXPECT_EQ(sizeof(McuLedFace), sizeof(McuLedFaceMirror));
    EXPECT_EQ(alignof(McuLedFace), alignof(McuLedFaceMirror));
}

TEST(SysfsMcuLayout, UartcliLedFaceAddsNothing) {
    EXPECT_EQ(sizeof(UartcliLedFace), sizeof(BaseLedMirror));
    EXPECT_EQ(alignof(UartcliLedFace), alignof(BaseLedMirror));
}
