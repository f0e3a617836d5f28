// Object layout of the exported classes: clients allocate these objects, derive from them and reach
// protected members at fixed offsets, so member order, types and sizes must not change. Each class
// is compared with a mirror struct that declares the documented members in the documented order.
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "LayoutCheck.h"
#include "SlotIndex.h"
#include "orva_gpio_utils/BaseButton.h"
#include "orva_gpio_utils/BaseGPIOResetButton.h"
#include "orva_gpio_utils/BaseLed.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedModuleType.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/ResetButtonCase.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

// --- BaseLed ---

struct BaseLedAccess : BaseLed {
    using BaseLed::animDensity_;
    using BaseLed::animEnable_;
    using BaseLed::animStep_;
    using BaseLed::autoMode_;
    using BaseLed::autoModeState_;
    using BaseLed::bgAnimColor_;
    using BaseLed::bgColor_;
    using BaseLed::binary_;
    using BaseLed::brightness_;
    using BaseLed::colorCodes;
    using BaseLed::currentValue_;
    using BaseLed::exists_;
    using BaseLed::fgAnimColor_;
    using BaseLed::fgColor_;
    using BaseLed::initialized_;
    using BaseLed::name_;
    using BaseLed::rangeMax_;
    using BaseLed::rangeMin_;
    using BaseLed::saved_;
    using BaseLed::savedAutoMode_;
    using BaseLed::savedValue_;
};

TEST(MemberLayout, BaseLedMembersKeepTheirOrderAndTypes) {
    EXPECT_MEMBER(BaseLedAccess, colorCodes, BaseLedMirror, colorCodes);
    EXPECT_MEMBER(BaseLedAccess, initialized_, BaseLedMirror, initialized);
    EXPECT_MEMBER(BaseLedAccess, name_, BaseLedMirror, name);
    EXPECT_MEMBER(BaseLedAccess, exists_, BaseLedMirror, exists);
    EXPECT_MEMBER(BaseLedAccess, binary_, BaseLedMirror, binary);
    EXPECT_MEMBER(BaseLedAccess, rangeMin_, BaseLedMirror, rangeMin);
    EXPECT_MEMBER(BaseLedAccess, rangeMax_, BaseLedMirror, rangeMax);
    EXPECT_MEMBER(BaseLedAccess, autoMode_, BaseLedMirror, autoMode);
    EXPECT_MEMBER(BaseLedAccess, currentValue_, BaseLedMirror, currentValue);
    EXPECT_MEMBER(BaseLedAccess, autoModeState_, BaseLedMirror, autoModeState);
    EXPECT_MEMBER(BaseLedAccess, saved_, BaseLedMirror, saved);
    EXPECT_MEMBER(BaseLedAccess, savedAutoMode_, BaseLedMirror, savedAutoMode);
    EXPECT_MEMBER(BaseLedAccess, savedValue_, BaseLedMirror, savedValue);
    EXPECT_MEMBER(BaseLedAccess, brightness_, BaseLedMirror, brightness);
    EXPECT_MEMBER(BaseLedAccess, fgColor_, BaseLedMirror, fgColor);
    EXPECT_MEMBER(BaseLedAccess, bgColor_, BaseLedMirror, bgColor);
    EXPECT_MEMBER(BaseLedAccess, fgAnimColor_, BaseLedMirror, fgAnimColor);
    EXPECT_MEMBER(BaseLedAccess, bgAnimColor_, BaseLedMirror, bgAnimColor);
    EXPECT_MEMBER(BaseLedAccess, animDensity_, BaseLedMirror, animDensity);
    EXPECT_MEMBER(BaseLedAccess, animEnable_, BaseLedMirror, animEnable);
    EXPECT_MEMBER(BaseLedAccess, animStep_, BaseLedMirror, animStep);
    EXPECT_EQ(sizeof(BaseLed), sizeof(BaseLedMirror));
    EXPECT_EQ(alignof(BaseLed), alignof(BaseLedMirror));
}

TEST(MemberLayout, ColorIsASignedIntAndColorCodeThreeBytes) {
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<BaseLed::Color>, int>));
    EXPECT_EQ(sizeof(BaseLed::Color), 4u);
    EXPECT_EQ(sizeof(BaseLed::ColorCode), 3u);
    EXPECT_EQ(memberOffset(&BaseLed::ColorCode::red), 0);
    EXPECT_EQ(memberOffset(&BaseLed::ColorCode::green), 1);
    EXPECT_EQ(memberOffset(&BaseLed::ColorCode::blue), 2);
    EXPECT_TRUE((std::is_same_v<decltype(BaseLed::ColorCode::red), uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(BaseLed::ColorCode::green), uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(BaseLed::ColorCode::blue), uint8_t>));
}

// LedFace adds its descriptor; LedPower nothing.
TEST(MemberLayout, LedFacesOfTheCoreHaveTheirDocumentedSize) {
    struct LedFaceMirror : BaseLedMirror {
        int fd;
    };
    EXPECT_EQ(sizeof(LedFace), sizeof(LedFaceMirror));
    EXPECT_EQ(sizeof(LedPower), sizeof(BaseLedMirror));
}

TEST(MemberLayout, LedModuleTypeNamesAreATableOfTwo) {
    EXPECT_TRUE((std::is_same_v<decltype(orva::gpioutils::strTypeLedModule), const char* const[2]>));
}

// --- Buttons ---

struct BaseButtonMirror {
    virtual ~BaseButtonMirror() = default;
    bool initialized;
    bool exists;
    IButtonEventsObserver* observer;
    int32_t holdInterval;
    uint64_t pressStartMs;
    uint32_t holdCount;
};

struct BaseButtonAccess : BaseButton {
    using BaseButton::exists_;
    using BaseButton::holdCount_;
    using BaseButton::holdInterval_;
    using BaseButton::initialized_;
    using BaseButton::observer_;
    using BaseButton::pressStartMs_;
};

TEST(MemberLayout, BaseButtonMembersKeepTheirOrderAndTypes) {
    EXPECT_MEMBER(BaseButtonAccess, initialized_, BaseButtonMirror, initialized);
    EXPECT_MEMBER(BaseButtonAccess, exists_, BaseButtonMirror, exists);
    EXPECT_MEMBER(BaseButtonAccess, observer_, BaseButtonMirror, observer);
    EXPECT_MEMBER(BaseButtonAccess, holdInterval_, BaseButtonMirror, holdInterval);
    EXPECT_MEMBER(BaseButtonAccess, pressStartMs_, BaseButtonMirror, pressStartMs);
    EXPECT_MEMBER(BaseButtonAccess, holdCount_, BaseButtonMirror, holdCount);
    EXPECT_EQ(sizeof(BaseButton), sizeof(BaseButtonMirror));
    EXPECT_EQ(alignof(BaseButton), alignof(BaseButtonMirror));
}

// Derived members may sit in the base's tail padding (a non-POD base): the mirror derives too.
struct BaseGPIOResetButtonMirror : BaseButtonMirror {
    int fd;
    bool lowActive;
};

struct BaseGPIOResetButtonAccess : BaseGPIOResetButton {
    using BaseGPIOResetButton::fd_;
    using BaseGPIOResetButton::lowActive_;
};

TEST(MemberLayout, BaseGPIOResetButtonMembersFollowBaseButton) {
    EXPECT_MEMBER(BaseGPIOResetButtonAccess, fd_, BaseGPIOResetButtonMirror, fd);
    EXPECT_MEMBER(BaseGPIOResetButtonAccess, lowActive_, BaseGPIOResetButtonMirror, lowActive);
    EXPECT_EQ(sizeof(BaseGPIOResetButton), sizeof(BaseGPIOResetButtonMirror));
}

TEST(MemberLayout, ResetButtonCasesHaveTheirDocumentedSize) {
    struct ResetShmemButtonCaseMirror : BaseButtonMirror {
        bool consoleMode;
        const uint8_t* segment;
        int shmId;
        size_t segmentSize;
    };
    struct ResetButtonCaseMirror {
        virtual ~ResetButtonCaseMirror() = default;
        BaseButton* button;
        bool initialized;
    };
    EXPECT_EQ(sizeof(ResetShmemButtonCase), sizeof(ResetShmemButtonCaseMirror));
    EXPECT_EQ(sizeof(ResetButtonCase), sizeof(ResetButtonCaseMirror));
}

}  // namespace
