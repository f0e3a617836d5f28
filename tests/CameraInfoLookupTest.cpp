// Device-information lookups as the faces make them: fatal on a missing or mistyped key.
#include <gtest/gtest.h>

#include "LogCapture.h"
#include "orva/platform.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/LedFace.h"

using orva::variant::CameraInfo;
using orva::variant::Variant;

namespace {

// The line the host logger prints for a lookup fault, then the crash.
std::string fatalPattern(const std::string& key, const std::string& text) {
    return "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:" + key + ":[0-9]+: " + text +
           "\n(.|\n)*forceCrash called";
}

class CameraInfoLookup : public testing::Test {
protected:
    void SetUp() override {
#ifdef ORVA_TEST_UNDER_EMULATOR
        // A user-mode emulator cannot re-execute the test binary for the child (no binfmt handler).
        testing::FLAGS_gtest_death_test_style = "fast";
#else
        testing::FLAGS_gtest_death_test_style = "threadsafe";
#endif
        CameraInfo::instance().Free();
        CameraInfo::instance().IsArray(false);
    }
    orva::sim::Sandbox sandbox;
};

bool frontLightExists() {
    LedFace face;
    return face.exists();
}

}  // namespace

TEST_F(CameraInfoLookup, MissingSysidIsFatal) {
    CameraInfo::instance()["hwrev"] = 3ULL;
    EXPECT_DEATH(frontLightExists(), fatalPattern("sysid", "Key \"sysid\" not available"));
}

TEST_F(CameraInfoLookup, SysidStoredAsTextIsFatal) {
    CameraInfo::instance()["sysid"] = "0xA533";
    EXPECT_DEATH(frontLightExists(), fatalPattern("sysid", "Key \"sysid\" has a different type than expected"));
}

TEST_F(CameraInfoLookup, SysidStoredAsBoolIsFatal) {
    CameraInfo::instance()["sysid"] = true;  // 0x8003: no integer bit
    EXPECT_DEATH(frontLightExists(), fatalPattern("sysid", "Key \"sysid\" has a different type than expected"));
}

TEST_F(CameraInfoLookup, RootThatIsNotAMapIsFatal) {
    CameraInfo::instance().Free();
    EXPECT_DEATH(frontLightExists(), fatalPattern("sysid", "Invalid variant type detected"));
    CameraInfo::instance() = 5;
    EXPECT_DEATH(frontLightExists(), fatalPattern("sysid", "Invalid variant type detected"));
}

TEST_F(CameraInfoLookup, EveryIntegerTypeIsAccepted) {
    CameraInfo::instance()["sysid"] = 0xA533ULL;
    EXPECT_TRUE(frontLightExists());
    CameraInfo::instance()["sysid"] = 0xA533u;
    EXPECT_TRUE(frontLightExists());
    CameraInfo::instance()["sysid"] = 0xA533;
    EXPECT_TRUE(frontLightExists());
    CameraInfo::instance()["sysid"] = 0xA533LL;
    EXPECT_TRUE(frontLightExists());
    CameraInfo::instance()["sysid"] = 0xA534ULL;
    EXPECT_FALSE(frontLightExists());
}

TEST_F(CameraInfoLookup, BoardIdentifierIsComparedAsThirtyTwoBits) {
    CameraInfo::instance()["sysid"] = 0x50000A533ULL;
    EXPECT_TRUE(frontLightExists());
}

TEST_F(CameraInfoLookup, LookupLeavesTheMapAsItWas) {
    CameraInfo::instance()["sysid"] = 0xA533ULL;
    EXPECT_TRUE(frontLightExists());
    EXPECT_EQ(CameraInfo::instance().mapValue().size(), 1u);
    EXPECT_FALSE(CameraInfo::instance().HasKey("isSStar"));
}
