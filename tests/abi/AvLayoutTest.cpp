// Object layout of the AV colour LED and the RGB LED: BaseLed's members, then each face's own in
// their documented order, compared with mirror structs.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "LayoutCheck.h"
#include "SlotIndex.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/RgbLedFace.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

struct CompoundLedFaceMirror : BaseLedMirror {
    int brightnessFd;
    int colorFgFd;
    int colorBgFd;
    bool hasAvLed;
    std::map<BaseLed::Color, int> channelFds;
};

struct RgbLedFaceMirror : BaseLedMirror {
    int brightnessFd;
    int colorFgFd;
    int colorBgFd;
    int animDensityFd;
    int animColorFgFd;
    int animColorBgFd;
    int animTriggerFd;
};

struct CompoundAccess : CompoundLedFace {
    using CompoundLedFace::brightnessFd;
    using CompoundLedFace::channelFds;
    using CompoundLedFace::colorBgFd;
    using CompoundLedFace::colorFgFd;
    using CompoundLedFace::hasAvLed;
};

struct RgbAccess : RgbLedFace {
    using RgbLedFace::animColorBgFd;
    using RgbLedFace::animColorFgFd;
    using RgbLedFace::animDensityFd;
    using RgbLedFace::animTriggerFd;
    using RgbLedFace::brightnessFd;
    using RgbLedFace::colorBgFd;
    using RgbLedFace::colorFgFd;
};

#define EXPECT_COMPOUND_MEMBER(member) expectMember(#member, &CompoundAccess::member, &CompoundLedFaceMirror::member)
#define EXPECT_RGB_MEMBER(member) expectMember(#member, &RgbAccess::member, &RgbLedFaceMirror::member)

TEST(AvLayout, CompoundLedFaceMembersFollowBaseLedInOrder) {
    EXPECT_COMPOUND_MEMBER(brightnessFd);
    EXPECT_COMPOUND_MEMBER(colorFgFd);
    EXPECT_COMPOUND_MEMBER(colorBgFd);
    EXPECT_COMPOUND_MEMBER(hasAvLed);
    EXPECT_COMPOUND_MEMBER(channelFds);
    EXPECT_EQ(sizeof(CompoundLedFace), sizeof(CompoundLedFaceMirror));
    EXPECT_EQ(alignof(CompoundLedFace), alignof(CompoundLedFaceMirror));
}

TEST(AvLayout, RgbLedFaceMembersFollowBaseLedInOrder) {
    EXPECT_RGB_MEMBER(brightnessFd);
    EXPECT_RGB_MEMBER(colorFgFd);
    EXPECT_RGB_MEMBER(colorBgFd);
    EXPECT_RGB_MEMBER(animDensityFd);
    EXPECT_RGB_MEMBER(animColorFgFd);
    EXPECT_RGB_MEMBER(animColorBgFd);
    EXPECT_RGB_MEMBER(animTriggerFd);
    EXPECT_EQ(sizeof(RgbLedFace), sizeof(RgbLedFaceMirror));
    EXPECT_EQ(alignof(RgbLedFace), alignof(RgbLedFaceMirror));
}

}  // namespace
