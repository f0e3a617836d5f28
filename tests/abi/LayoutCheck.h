// Object-layout checks shared by the layout tests: a class is compared, member by member, with a
// mirror struct that declares the documented members in the documented order.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "SlotIndex.h"
#include "orva_gpio_utils/BaseLed.h"

namespace orva::test::abi {

// Same offset and same type as the mirror's member.
template <typename Owner, typename Type, typename Mirror, typename MirrorType>
void expectMember(const char* name, Type Owner::*actual, MirrorType Mirror::*expected) {
    EXPECT_TRUE((std::is_same_v<Type, MirrorType>)) << name << " changed its type";
    EXPECT_EQ(memberOffset(actual), memberOffset(expected)) << name << " moved";
}

// BaseLed's members in their documented order; faces' mirrors derive from it.
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

}  // namespace orva::test::abi

#define EXPECT_MEMBER(Access, member, Mirror, mirrorMember) \
    ::orva::test::abi::expectMember(#member, &Access::member, &Mirror::mirrorMember)
