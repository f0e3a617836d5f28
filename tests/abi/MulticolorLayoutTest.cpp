// Object layout of the multicolour LED class face: BaseLed's members, then the face's own in their
// documented order, compared with a mirror struct.
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "LayoutCheck.h"
#include "SlotIndex.h"
#include "orva_gpio_utils/MulticolorLedFace.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

#define EXPECT_MULTICOLOR_MEMBER(member) \
    expectMember(#member, &MulticolorAccess::member, &MulticolorLedFaceMirror::member)

struct MulticolorLedFaceMirror : BaseLedMirror {
    int animPos;
    int animLen;
    int step;
    int maxNumLed;
    int maxNumWledModule;
    bool isRgbGroup;
    int maxNumRgbGroup;
    int maxIteration;
    int whiteOffset;
    BaseLed::Color rgbOrder[3];
    int currentValue;
    std::vector<int> wledFds;
    std::vector<int> rgbFds;
    std::vector<int> brightnessFds;
    std::map<BaseLed::Color, std::unique_ptr<MulticolorLedFace::LedsState>> ledsStates;
};

struct MulticolorAccess : MulticolorLedFace {
    using MulticolorLedFace::animLen;
    using MulticolorLedFace::animPos;
    using MulticolorLedFace::brightnessFds;
    using MulticolorLedFace::currentValue;
    using MulticolorLedFace::isRgbGroup;
    using MulticolorLedFace::ledsStates;
    using MulticolorLedFace::maxIteration;
    using MulticolorLedFace::maxNumLed;
    using MulticolorLedFace::maxNumRgbGroup;
    using MulticolorLedFace::maxNumWledModule;
    using MulticolorLedFace::rgbFds;
    using MulticolorLedFace::rgbOrder;
    using MulticolorLedFace::step;
    using MulticolorLedFace::wledFds;
    using MulticolorLedFace::whiteOffset;
};

TEST(MulticolorLayout, FaceMembersFollowBaseLedInTheirOrder) {
    EXPECT_MULTICOLOR_MEMBER(animPos);
    EXPECT_MULTICOLOR_MEMBER(animLen);
    EXPECT_MULTICOLOR_MEMBER(step);
    EXPECT_MULTICOLOR_MEMBER(maxNumLed);
    EXPECT_MULTICOLOR_MEMBER(maxNumWledModule);
    EXPECT_MULTICOLOR_MEMBER(isRgbGroup);
    EXPECT_MULTICOLOR_MEMBER(maxNumRgbGroup);
    EXPECT_MULTICOLOR_MEMBER(maxIteration);
    EXPECT_MULTICOLOR_MEMBER(whiteOffset);
    EXPECT_MULTICOLOR_MEMBER(rgbOrder);
    EXPECT_MULTICOLOR_MEMBER(currentValue);
    EXPECT_MULTICOLOR_MEMBER(wledFds);
    EXPECT_MULTICOLOR_MEMBER(rgbFds);
    EXPECT_MULTICOLOR_MEMBER(brightnessFds);
    EXPECT_MULTICOLOR_MEMBER(ledsStates);
    EXPECT_EQ(sizeof(MulticolorLedFace), sizeof(MulticolorLedFaceMirror));
    EXPECT_EQ(alignof(MulticolorLedFace), alignof(MulticolorLedFaceMirror));
}

TEST(MulticolorLayout, LedsStateIsOneIntPerLed) {
    struct LedsStateMirror {
        std::vector<int> vals;
    };
    EXPECT_TRUE((std::is_same_v<decltype(MulticolorLedFace::LedsState::vals), std::vector<int>>));
    EXPECT_EQ(sizeof(MulticolorLedFace::LedsState), sizeof(LedsStateMirror));
}

}  // namespace
