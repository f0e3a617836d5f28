// The development-host platform library.
#include <cerrno>
#include <climits>

#include "LogCapture.h"
#include "orva/platform.h"

using orva::variant::CameraInfo;
using orva::variant::Variant;
using orva::variant::VariantType;

TEST(HostLogging, RecordCarriesEveryArgumentAndTheFormattedText) {
    orva::test::LogCapture log;
    errno = 5;
    const int result = logInternal("tag", "src/File", "function", 42, 4, 11, 0, "value %d of %s", 7, "x");
    EXPECT_EQ(errno, 5);  // logging never disturbs errno
    EXPECT_EQ(result, 12);
    ASSERT_EQ(log.records().size(), 1u);
    const auto& record = log.records()[0];
    EXPECT_EQ(record.tag, "tag");
    EXPECT_EQ(record.file, "src/File");
    EXPECT_EQ(record.function, "function");
    EXPECT_EQ(record.line, 42);
    EXPECT_EQ(record.level, 4);
    EXPECT_EQ(record.errorNumber, 11);
    EXPECT_EQ(record.text, "value 7 of x");
    EXPECT_EQ(orva::host::formatRecord(record),
              "WARN  tag src/File:function:42: value 7 of x (errno 11: Resource temporarily unavailable)");
}

TEST(HostLogging, EchoPrintsOneLineOnStderr) {
    testing::internal::CaptureStderr();
    logInternal("orva_gpio_utils", "src/BaseLed", "init", 9, 3, 0, 0, "Internal error");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR orva_gpio_utils src/BaseLed:init:9: Internal error\n");
}

TEST(HostLoggingDeath, ForceCrashLogsAndAborts) {
    EXPECT_DEATH(forceCrash(3), "forceCrash called \\(log result 3\\)");
}

TEST(HostUtils, FormatTrimToString) {
    EXPECT_EQ(orva::utils::format("%d-%s", -4, "ab"), "-4-ab");
    EXPECT_EQ(orva::utils::format("%s", ""), "");
    EXPECT_EQ(orva::utils::format("%s", std::string(300, 'x').c_str()).size(), 300u);
    std::string text = " \t 12 \n";
    orva::utils::trim(text);
    EXPECT_EQ(text, "12");
    text = "   ";
    orva::utils::trim(text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(orva::utils::toString(-2147483647 - 1), "-2147483648");
    EXPECT_EQ(orva::utils::toString(4294967295u), "4294967295");
}

TEST(HostUtils, SysExecSimpleRunsWithoutAShell) {
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/true", {}), 0);
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/false", {}), 1);
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/sh", {"-c", "exit 3"}), 3);
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/test", {"a b", "=", "a b"}), 0);  // one argument, spaces kept
    EXPECT_NE(orva::utils::sysExecSimple("/nonexistent/program", {}), 0);
}

TEST(HostPlatform, ClockIsMonotonicAndNeverZero) {
    const uint64_t first = nowMs();
    const uint64_t second = nowMs();
    EXPECT_NE(first, 0u);
    EXPECT_GE(second, first);
}

TEST(HostPlatform, IsFileAndConsoleMode) {
    EXPECT_TRUE(isFile("/bin/sh"));
    EXPECT_FALSE(isFile("/bin"));
    EXPECT_FALSE(isFile("/nonexistent"));
    EXPECT_FALSE(ConsoleEnabled());
    orva::host::setConsoleEnabled(true);
    EXPECT_TRUE(ConsoleEnabled());
    orva::host::setConsoleEnabled(false);
}

TEST(HostPlatform, MdioOnAMissingInterfaceFails) {
    orva::utils::mdio phy;
    unsigned short value = 0;
    EXPECT_FALSE(phy.read(0x11, value));
    EXPECT_FALSE(phy.init("orva-none0"));
    EXPECT_FALSE(phy.init(""));
    EXPECT_FALSE(phy.write(0x11, 1));
}

TEST(HostVariant, TypeTagsFollowTheValue) {
    Variant value;
    EXPECT_EQ(static_cast<VariantType>(value), orva::variant::VT_NULL);
    value = true;
    EXPECT_EQ(static_cast<unsigned>(static_cast<VariantType>(value)) & 0x8003u, 0x8003u);
    value = static_cast<signed char>(-1);
    EXPECT_EQ(static_cast<VariantType>(value), orva::variant::VT_INT8);
    EXPECT_EQ(static_cast<signed char>(value), -1);
    EXPECT_TRUE(static_cast<bool>(value));
    for (VariantType type : {orva::variant::VT_INT8, orva::variant::VT_INT32, orva::variant::VT_UINT32,
                             orva::variant::VT_INT64, orva::variant::VT_UINT64}) {
        EXPECT_NE(type & 0x4000u, 0u);
        EXPECT_NE(type & 0x8003u, 0x8003u);
    }
    value = 8;
    EXPECT_EQ(static_cast<VariantType>(value), orva::variant::VT_INT32);
    value = 8u;
    EXPECT_EQ(static_cast<VariantType>(value), orva::variant::VT_UINT32);
    value = 0xA533ULL;
    EXPECT_EQ(static_cast<unsigned long long>(value), 0xA533u);
    value = -2;
    EXPECT_EQ(static_cast<unsigned long long>(value), static_cast<unsigned long long>(-2LL));
    value = "text";
    EXPECT_EQ(static_cast<VariantType>(value), orva::variant::VT_STRING);
    EXPECT_EQ(static_cast<VariantType>(value) & 0x4000u, 0u);
}

TEST(HostVariant, MapsInsertNullAndCopyDeeply) {
    Variant map;
    map["a"] = 1;
    EXPECT_EQ(static_cast<VariantType>(map), orva::variant::VT_MAP);
    EXPECT_TRUE(map.HasKey("a"));
    EXPECT_FALSE(map.HasKey("b"));
    map["b"];
    EXPECT_TRUE(map.HasKey("b"));
    EXPECT_EQ(static_cast<VariantType>(map["b"]), orva::variant::VT_NULL);
    Variant copy = map;
    copy["a"] = 2;
    EXPECT_EQ(static_cast<unsigned long long>(map["a"]), 1u);
    map.Free();
    EXPECT_EQ(static_cast<VariantType>(map), orva::variant::VT_NULL);
    map.IsArray(true);
    EXPECT_EQ(static_cast<VariantType>(map), orva::variant::VT_ARRAY);
    map.IsArray(false);
    EXPECT_EQ(static_cast<VariantType>(map), orva::variant::VT_MAP);
    EXPECT_FALSE(map.HasKey("a"));
}

TEST(HostVariant, CameraInfoIsOneProcessWideMap) {
    CameraInfo::instance().Free();
    CameraInfo::instance()["sysid"] = 0xA533ULL;
    EXPECT_EQ(&CameraInfo::instance(), &CameraInfo::instance());
    EXPECT_TRUE(CameraInfo::instance().HasKey("sysid"));
}
