// Object layout of the glow light, the Ethernet PHY LED and the green status LED: BaseLed's
// members, then each face's own in their documented order and types.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "LayoutCheck.h"
#include "SlotIndex.h"
#include "orva/platform.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedPhy.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

struct LedGlowMirror : BaseLedMirror {
    int glowFd;
};
struct LedGlowAccess : LedGlow {
    using LedGlow::glowFd;
};

struct LedPhyMirror : BaseLedMirror {
    orva::utils::mdio mdio;
    const orva::gpioutils::PhyConfig* _phyConfig;
};
struct LedPhyAccess : LedPhy {
    using LedPhy::_phyConfig;
    using LedPhy::mdio;
};

struct GreenLedFaceMirror : BaseLedMirror {
    int fd;
    int value;
};
struct GreenLedFaceAccess : GreenLedFace {
    using GreenLedFace::fd;
    using GreenLedFace::value;
};

TEST(GlowPhyGreenLayout, LedGlowAddsItsDescriptor) {
    EXPECT_MEMBER(LedGlowAccess, glowFd, LedGlowMirror, glowFd);
    EXPECT_EQ(sizeof(LedGlow), sizeof(LedGlowMirror));
    EXPECT_EQ(alignof(LedGlow), alignof(LedGlowMirror));
}

TEST(GlowPhyGreenLayout, LedPhyAddsTheMdioObjectThenTheTableRow) {
    EXPECT_MEMBER(LedPhyAccess, mdio, LedPhyMirror, mdio);
    EXPECT_MEMBER(LedPhyAccess, _phyConfig, LedPhyMirror, _phyConfig);
    EXPECT_EQ(sizeof(LedPhy), sizeof(LedPhyMirror));
    EXPECT_EQ(alignof(LedPhy), alignof(LedPhyMirror));
}

TEST(GlowPhyGreenLayout, GreenLedFaceAddsItsDescriptorThenTheValue) {
    EXPECT_MEMBER(GreenLedFaceAccess, fd, GreenLedFaceMirror, fd);
    EXPECT_MEMBER(GreenLedFaceAccess, value, GreenLedFaceMirror, value);
    EXPECT_EQ(sizeof(GreenLedFace), sizeof(GreenLedFaceMirror));
    EXPECT_EQ(alignof(GreenLedFace), alignof(GreenLedFaceMirror));
}

}  // namespace
