// Object layout of the LED-class colour LED and the two microcontroller faces: BaseLed's members,
// then each face's own in their documented order and types.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace {

using orva::test::abi::memberOffset;

template <typename Owner, typename Type, typename Mirror, typename MirrorType>
void expectMember(const char* name, Type Owner::*actual, MirrorType Mirror::*expected) {
    EXPECT_TRUE((std::is_same_v<Type, MirrorType>)) << name << " changed its type";
    EXPECT_EQ(memberOffset(actual), memberOffset(expected)) << name << " moved";
}

#define EXPECT_MEMBER(Access, member, Mirror, mirrorMember) \
    expectMember(#member, &Access::member, &Mirror::mirrorMember)

struct BaseLedMirror {
    virtual ~BaseLedMirror() = default;
    std::map<BaseLed::Color, BaseLed::ColorCode> colorCodes;
    bool initialized;
    std::string name;
    bool exists;
    bool binary;
    int32_t rangeMin;
    int32_t rangeMax;
    bool autoMode;
    int32_t currentValue;
    int32_t autoModeState;
    bool saved;
    bool savedAutoMode;
    int32_t savedValue;
    int32_t brightness;
    BaseLed::Color fgColor;
    BaseLed::Color bgColor;
    BaseLed::Color fgAnimColor;
    BaseLed::Color bgAnimColor;
    int32_t animDensity;
    bool animEnable;
    int32_t animStep;
};

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
