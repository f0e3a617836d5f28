// The simulator's stand-in for the microcontroller tool: the argument vector it accepts, the "\xHH"
// text turned into bytes, the frames in words; and stat of simulated files, as the platform's isFile
// asks it.
#include <cerrno>
#include <stdexcept>
#include <sys/stat.h>

#include <gmock/gmock.h>

#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva/sim/Uartcli.h"

using namespace orva::test;
using orva::sim::ProgramOutcome;
using orva::sim::Sandbox;
using orva::sim::UartcliFrame;
using testing::ElementsAre;

namespace {

std::vector<std::string> run(const std::string& frame) { return {"-s", "5", "-r", "100", "-H", "-i", frame, "-o", "3"}; }

std::string describe(const std::string& frame) { return orva::sim::decodeUartcliRun(run(frame)).description; }

}  // namespace

TEST(SimUartcli, TextOfEscapedBytesBecomesTheBytes) {
    std::vector<uint8_t> bytes;
    EXPECT_TRUE(orva::sim::decodeUartcliText("\\x81\\x01\\xfe\\xFF\\x00", bytes));
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0x81, 0x01, 0xFE, 0xFF, 0x00}));
    for (const std::string bad : {"", "\\x8", "x81", "\\y81", "\\xZZ", "\\x81 ", "\\x81\\x0", "\\\\x81"}) {
        EXPECT_FALSE(orva::sim::decodeUartcliText(bad, bytes)) << bad;
        EXPECT_TRUE(bytes.empty());
    }
}

TEST(SimUartcli, FramesInWords) {
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\xF9\\x00\\xFF"), "take control");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\xF9\\x01\\xFF"), "release control");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x01\\x02\\x00\\x00\\x00\\xFF"), "set colour 0x01 (red)");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x02\\x02\\x00\\x00\\x00\\xFF"), "set colour 0x02 (green)");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x04\\x02\\x00\\x00\\x00\\xFF"), "set colour 0x04 (blue)");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x00\\x02\\x00\\x00\\x00\\xFF"), "set colour 0x00 (off)");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x83\\x02\\x00\\x00\\x00\\xFF"), "set colour 0x83 (red+green+bit 7)");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\xF9\\x02\\xFF"), "unknown frame 81 01 04 FE F9 02 FF");
    EXPECT_EQ(describe("\\x81\\x01\\x04\\xFE\\x06\\x01\\x01\\x03\\x00\\x00\\x00\\xFF"),
              "unknown frame 81 01 04 FE 06 01 01 03 00 00 00 FF");
    EXPECT_EQ(describe("\\x81\\x01"), "unknown frame 81 01");
    EXPECT_EQ(describe("\x81\x01"), "malformed frame text \"\x81\x01\"");

    const UartcliFrame frame = orva::sim::decodeUartcliRun(run("\\x81\\x01\\x04\\xFE\\x06\\x01\\x04\\x02\\x00\\x00\\x00\\xFF"));
    EXPECT_EQ(frame.kind, UartcliFrame::Kind::SetColor);
    EXPECT_EQ(frame.colorCode, 0x04);
    EXPECT_EQ(frame.bytes.size(), 12u);
    EXPECT_EQ(frame.text, "\\x81\\x01\\x04\\xFE\\x06\\x01\\x04\\x02\\x00\\x00\\x00\\xFF");
}

TEST(SimUartcli, OnlyTheToolsArgumentVectorIsAccepted) {
    const std::string take = "\\x81\\x01\\x04\\xFE\\xF9\\x00\\xFF";
    const std::vector<std::vector<std::string>> bad = {
        {},
        {"-i", take},
        {"-s", "5", "-r", "100", "-H", "-i", take, "-o"},
        {"-s", "5", "-r", "100", "-H", "-i", take, "-o", "3", "-v"},
        {"-s", "4", "-r", "100", "-H", "-i", take, "-o", "3"},
        {"-s", "5", "-r", "100", "-i", "-H", take, "-o", "3"},
    };
    for (const auto& arguments : bad) {
        const UartcliFrame frame = orva::sim::decodeUartcliRun(arguments);
        EXPECT_EQ(frame.kind, UartcliFrame::Kind::BadArguments);
        EXPECT_EQ(frame.description.rfind("bad arguments", 0), 0u) << frame.description;
    }
    EXPECT_EQ(orva::sim::decodeUartcliRun({"-i", "x"}).description, "bad arguments \"-i\" \"x\"");
}

TEST(SimUartcli, StandInExitsAsRegisteredAndRecordsEveryRun) {
    Sandbox sandbox;
    orva::sim::registerUartcli();
    const std::string take = "\\x81\\x01\\x04\\xFE\\xF9\\x00\\xFF";
    EXPECT_EQ(orva::utils::sysExecSimple(orva::sim::kUartcliPath, run(take)), 0);
    EXPECT_EQ(orva::utils::sysExecSimple(orva::sim::kUartcliPath, {"-i", take}), orva::sim::kUartcliUsageError);
    orva::sim::registerUartcli(3);
    EXPECT_EQ(orva::utils::sysExecSimple(orva::sim::kUartcliPath, run("\\x81")), 3);
    orva::sim::registerUartcli(ProgramOutcome::notStarted(ENOENT));
    EXPECT_EQ(orva::utils::sysExecSimple(orva::sim::kUartcliPath, run(take)), -1);
    const auto frames = orva::sim::uartcliFrames();
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_EQ(frames[0].description, "take control");
    EXPECT_EQ(frames[0].exitCode, 0);
    EXPECT_EQ(frames[1].kind, UartcliFrame::Kind::BadArguments);
    EXPECT_EQ(frames[1].exitCode, 2);
    EXPECT_EQ(frames[2].description, "unknown frame 81");
    EXPECT_EQ(frames[2].exitCode, 3);
    EXPECT_EQ(frames[3].exitCode, -1);
    sandbox.clearJournal();
    EXPECT_TRUE(orva::sim::uartcliFrames().empty());
}

TEST(SimUartcli, NeedsAnActiveSandbox) {
    EXPECT_THROW(orva::sim::registerUartcli(), std::logic_error);
    EXPECT_THROW(orva::sim::uartcliFrames(), std::logic_error);
}

// ---- stat of simulated files ----

TEST(SimStat, IsFileAnswersFromTheSandboxForSimulatedPaths) {
    const std::string attribute = "/sys/class/leds/probe:R/brightness";
    const std::string proc = "/proc/gpio/probe_entry";
    Sandbox sandbox;
    EXPECT_FALSE(isFile(attribute.c_str()));
    sandbox.addAttribute(attribute, "12");
    sandbox.addAttribute(proc, "0");
    EXPECT_TRUE(isFile(attribute.c_str()));
    EXPECT_TRUE(isFile(proc.c_str()));
    EXPECT_FALSE(isFile("/sys/class/leds/probe:R"));  // a directory
    EXPECT_FALSE(isFile("/sys/class/leds/probe:R/missing"));
    sandbox.removeAttribute(attribute);
    EXPECT_FALSE(isFile(attribute.c_str()));
    // Other paths are the real file system's.
    EXPECT_TRUE(isFile("/bin/sh"));
    EXPECT_FALSE(isFile("/nonexistent"));
    // stat answers with the sandbox file, and touches no journal. (The large-file form: on 32-bit
    // targets plain stat fails with EOVERFLOW on the host's 64-bit inode numbers.)
    struct stat64 info {};
    errno = 0;
    EXPECT_EQ(stat64(attribute.c_str(), &info), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(stat64(proc.c_str(), &info), 0);
    // The plain form is served from the sandbox too: the attribute removed above is missing there.
    struct stat plain {};
    errno = 0;
    EXPECT_EQ(stat(attribute.c_str(), &plain), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(S_ISREG(info.st_mode));
    EXPECT_EQ(info.st_size, 1);
    EXPECT_TRUE(sandbox.journal().empty());
}

TEST(SimStat, WithoutASandboxSimulatedPathsAreTheRealOnes) {
    struct stat64 info {};
    EXPECT_FALSE(isFile("/sys/class/leds/probe:R/brightness"));
    EXPECT_EQ(stat64("/proc/self", &info), 0);
    EXPECT_EQ(stat64("/sys", &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
}
