// Object layout of the KTD20xx ring face and of its node-table records: BaseLed's members, then
// the face's one map; the records (shared with clients through initSysfs, initConfig and getSysId)
// in their documented field order and with their documented 8-bit fields.
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
#include "orva_gpio_utils/Ktd2061LedFace.h"

namespace {

using orva::test::abi::BaseLedMirror;
using orva::test::abi::expectMember;
using orva::test::abi::memberOffset;

#define EXPECT_FIELD(Actual, Mirror, member) expectMember(#member, &Actual::member, &Mirror::member)

using Face = Ktd2061LedFace;

struct KtdMirror : BaseLedMirror {
    std::map<BaseLed::Color, std::unique_ptr<Face::LedsState>> ledsStates;
};

struct KtdAccess : Face {
    using Face::ledsStates;
    using Face::lastValue;
    using Face::sysfsConfig;
};

struct NodesMirror {
    int8_t num;
    const char* const* names;
    std::vector<std::string> paths;
    std::vector<int> fds;
    Face::sysfs_t* owner;
    std::unique_ptr<Face::nodeVal_t[]> vals;
};

struct ModuleMirror {
    Face::sysfs_nodes_t brightness;
    Face::sysfs_nodes_t pattern;
    Face::sysfs_nodes_t mode;
    uint8_t isRgb;
    const char* typeName;
    int8_t numLeds;
    uint8_t modeOn;
    uint64_t lastModeRefreshMs;
};

struct ConfigMirror {
    Face::sysfs_t module[2];
    uint8_t channelBits[2][3];
    int8_t animPos[2];
};

struct LedsStateMirror {
    std::unique_ptr<uint8_t[]> vals;
    int8_t len;
    uint8_t val;
};

TEST(KtdLayout, FaceKeepsOneMapAfterBaseLed) {
    EXPECT_FIELD(KtdAccess, KtdMirror, ledsStates);
    EXPECT_EQ(sizeof(Face), sizeof(KtdMirror));
    EXPECT_EQ(alignof(Face), alignof(KtdMirror));
}

TEST(KtdLayout, ProcessWideStateIsTheTableAndOneInt) {
    EXPECT_TRUE((std::is_same_v<decltype(KtdAccess::sysfsConfig), Face::ktd20xxSysfsConfig_s>));
    EXPECT_TRUE((std::is_same_v<decltype(KtdAccess::lastValue), int>));
}

TEST(KtdLayout, NodeGroupFieldsInOrder) {
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, num);
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, names);
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, paths);
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, fds);
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, owner);
    EXPECT_FIELD(Face::sysfs_nodes_t, NodesMirror, vals);
    EXPECT_EQ(sizeof(Face::sysfs_nodes_t), sizeof(NodesMirror));
    // Four bytes per node whatever the group: a brightness, a pattern text with its NUL, or a mode.
    EXPECT_EQ(sizeof(Face::nodeVal_t), 4u);
    EXPECT_EQ(sizeof(Face::nodeVal_t::pattern), 4u);
}

TEST(KtdLayout, ModuleFieldsInOrder) {
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, brightness);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, pattern);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, mode);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, isRgb);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, typeName);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, numLeds);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, modeOn);
    EXPECT_FIELD(Face::sysfs_t, ModuleMirror, lastModeRefreshMs);
    EXPECT_EQ(sizeof(Face::sysfs_t), sizeof(ModuleMirror));
}

TEST(KtdLayout, ConfigFieldsInOrder) {
    EXPECT_FIELD(Face::ktd20xxSysfsConfig_s, ConfigMirror, module);
    EXPECT_FIELD(Face::ktd20xxSysfsConfig_s, ConfigMirror, channelBits);
    EXPECT_FIELD(Face::ktd20xxSysfsConfig_s, ConfigMirror, animPos);
    EXPECT_EQ(sizeof(Face::ktd20xxSysfsConfig_s), sizeof(ConfigMirror));
}

TEST(KtdLayout, LedsStateIsOneByteArrayWithItsLengthAndLevel) {
    EXPECT_FIELD(Face::LedsState, LedsStateMirror, vals);
    EXPECT_FIELD(Face::LedsState, LedsStateMirror, len);
    EXPECT_FIELD(Face::LedsState, LedsStateMirror, val);
    EXPECT_EQ(sizeof(Face::LedsState), sizeof(LedsStateMirror));
}

}  // namespace
