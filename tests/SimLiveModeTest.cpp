// The sandbox serving a program that runs on its own: the journal file, real time, programs
// without stand-ins, and device-information keys given over a board profile.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva/sim/Programs.h"

using namespace orva::test;
using orva::sim::BoardProfile;
using orva::sim::Sandbox;

extern char** environ;

namespace {

const char kAttr[] = "/sys/class/leds/test/brightness";

std::string fileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string pidText() { return std::to_string(getpid()); }

uint64_t monotonicUs() {
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000u + static_cast<uint64_t>(now.tv_nsec) / 1000u;
}

}  // namespace

TEST(SimLiveMode, JournalFileHoldsOneJsonLinePerCallAsItHappens) {
    Sandbox sandbox;
    sandbox.addAttribute(kAttr, "7");
    const std::string journal = sandbox.root() + "/journal";
    sandbox.journalToFile(journal);
    const int fd = open64(kAttr, O_RDWR);
    ASSERT_GT(fd, 0);
    const std::string fdText = std::to_string(fd);
    // Each line is in the file before the next call returns.
    EXPECT_EQ(fileText(journal),
              "{\"us\":0,\"pid\":" + pidText() + ",\"call\":\"open\",\"path\":\"/sys/class/leds/test/brightness\",\"fd\":" +
                  fdText + ",\"flags\":2,\"mode\":0,\"offset\":0,\"count\":0,\"bytes\":\"\",\"result\":" + fdText +
                  ",\"errno\":0,\"args\":[]}\n");
    sandbox.advanceMs(5);
    ASSERT_EQ(pwrite64(fd, "4\"\\\n\0\xff", 6, 0), 6);
    char buffer[8] = {};
    // The value is the text before the newline; a read shows it with the newline.
    ASSERT_EQ(pread64(fd, buffer, sizeof(buffer), 0), 4);
    usleep(250);  // journaled once the clock has moved
    ASSERT_EQ(close(fd), 0);
    EXPECT_EQ(fileText(journal),
              "{\"us\":0,\"pid\":" + pidText() + ",\"call\":\"open\",\"path\":\"/sys/class/leds/test/brightness\",\"fd\":" +
                  fdText + ",\"flags\":2,\"mode\":0,\"offset\":0,\"count\":0,\"bytes\":\"\",\"result\":" + fdText +
                  ",\"errno\":0,\"args\":[]}\n"
                  "{\"us\":5000,\"pid\":" + pidText() + ",\"call\":\"write\",\"path\":\"/sys/class/leds/test/brightness\",\"fd\":" +
                  fdText + ",\"flags\":0,\"mode\":0,\"offset\":0,\"count\":6,\"bytes\":\"4\\\"\\\\\\u000a\\u0000\\u00ff\","
                  "\"result\":6,\"errno\":0,\"args\":[]}\n"
                  "{\"us\":5000,\"pid\":" + pidText() + ",\"call\":\"read\",\"path\":\"/sys/class/leds/test/brightness\",\"fd\":" +
                  fdText + ",\"flags\":0,\"mode\":0,\"offset\":0,\"count\":8,\"bytes\":\"4\\\"\\\\\\u000a\","
                  "\"result\":4,\"errno\":0,\"args\":[]}\n"
                  "{\"us\":5250,\"pid\":" + pidText() + ",\"call\":\"sleep\",\"path\":\"\",\"fd\":-1,\"flags\":0,\"mode\":0,"
                  "\"offset\":0,\"count\":250,\"bytes\":\"\",\"result\":0,\"errno\":0,\"args\":[]}\n"
                  "{\"us\":5250,\"pid\":" + pidText() + ",\"call\":\"close\",\"path\":\"/sys/class/leds/test/brightness\",\"fd\":" +
                  fdText + ",\"flags\":0,\"mode\":0,\"offset\":0,\"count\":0,\"bytes\":\"\",\"result\":0,\"errno\":0,\"args\":[]}\n");
    // Kept in memory too, unless asked otherwise.
    EXPECT_EQ(sandbox.journal().size(), 5u);
}

TEST(SimLiveMode, FailedCallsAndProgramRunsAreJournaledWithTheirErrorAndArguments) {
    Sandbox sandbox;
    sandbox.addAttribute(kAttr, "7");
    const std::string journal = sandbox.root() + "/journal";
    sandbox.journalToFile(journal, false);
    sandbox.failCalls(kAttr, orva::sim::Call::Open, EIO);
    errno = 0;
    EXPECT_EQ(open64(kAttr, O_RDONLY), -1);
    EXPECT_EQ(errno, EIO);
    orva::sim::registerProgram("/usr/bin/tool", 3);
    EXPECT_EQ(orva::utils::sysExecSimple("/usr/bin/tool", {"-x", "a b"}), 3);
    EXPECT_EQ(fileText(journal),
              "{\"us\":0,\"pid\":" + pidText() + ",\"call\":\"open\",\"path\":\"/sys/class/leds/test/brightness\","
              "\"fd\":-1,\"flags\":0,\"mode\":0,\"offset\":0,\"count\":0,\"bytes\":\"\",\"result\":-1,\"errno\":5,\"args\":[]}\n"
              "{\"us\":0,\"pid\":" + pidText() + ",\"call\":\"exec\",\"path\":\"/usr/bin/tool\",\"fd\":-1,\"flags\":0,"
              "\"mode\":0,\"offset\":0,\"count\":0,\"bytes\":\"\",\"result\":3,\"errno\":0,\"args\":[\"-x\",\"a b\"]}\n");
    // Not kept in memory: a long-running process does not grow.
    EXPECT_TRUE(sandbox.journal().empty());
}

TEST(SimLiveMode, JournalFileIsAppendedToAndMustBeWritable) {
    Sandbox sandbox;
    sandbox.addAttribute(kAttr, "1");
    const std::string journal = sandbox.root() + "/journal";
    {
        std::ofstream earlier(journal);
        earlier << "earlier line\n";
    }
    sandbox.journalToFile(journal, false);
    const int fd = open64(kAttr, O_RDONLY);
    ASSERT_GT(fd, 0);
    close(fd);
    const std::string text = fileText(journal);
    EXPECT_EQ(text.compare(0, 13, "earlier line\n"), 0);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
    try {
        sandbox.journalToFile(sandbox.root() + "/missing/journal");
        FAIL() << "a journal in a missing directory was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "orva-sim: cannot open journal " + sandbox.root() + "/missing/journal: No such file or directory");
    }
}

TEST(SimLiveMode, RealTimeSleepsAndReadsTheKernelClock) {
    Sandbox sandbox;
    EXPECT_FALSE(sandbox.realTime());
    sandbox.useRealTime();
    EXPECT_TRUE(sandbox.realTime());
    const uint64_t before = monotonicUs();
    EXPECT_EQ(usleep(20000), 0);
    timespec request{0, 10 * 1000 * 1000};
    EXPECT_EQ(nanosleep(&request, nullptr), 0);
    EXPECT_EQ(clock_nanosleep(CLOCK_MONOTONIC, 0, &request, nullptr), 0);
    const uint64_t after = monotonicUs();
    EXPECT_GE(after - before, 40000u);
    // The clock is the kernel's, not the virtual one that starts at 1000 ms.
    EXPECT_GE(nowMs(), after / 1000u);
    EXPECT_TRUE(sandbox.sleeps().empty());
    EXPECT_EQ(sandbox.nowUs(), 0u);
    EXPECT_TRUE(sandbox.journal().empty());
}

TEST(SimLiveMode, ProgramsWithoutStandInRunForRealWhenAsked) {
    Sandbox sandbox;
    EXPECT_FALSE(sandbox.runsProgramsWithoutStandIn());
    sandbox.runProgramsWithoutStandIn();
    EXPECT_TRUE(sandbox.runsProgramsWithoutStandIn());
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/sh", {"-c", "exit 7"}), 7);
    // A stand-in still answers for its program.
    orva::sim::registerProgram("/bin/sh", 9);
    EXPECT_EQ(orva::utils::sysExecSimple("/bin/sh", {"-c", "exit 7"}), 9);
    ASSERT_EQ(sandbox.journal().size(), 1u);
    EXPECT_EQ(sandbox.journal()[0].call, orva::sim::Call::Exec);
    EXPECT_EQ(sandbox.journal()[0].result, 9);
}

TEST(SimLiveMode, KeysOverAProfileKeepTheirTypeAndNewOnesTakeOneFromTheirText) {
    BoardProfile profile = BoardProfile::load(0xA532);
    profile.applyKeys({{"hwrev", "12"}, {"isNew", "true"}, {"count", "0x10"}, {"offset", "-3"}, {"label", "front door"}});
    orva::sim::SimBoard board(profile);
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    EXPECT_EQ(info["hwrev"].type(), orva::variant::VT_UINT64);
    EXPECT_EQ(static_cast<unsigned long long>(info["hwrev"]), 12u);
    EXPECT_EQ(static_cast<unsigned long long>(info["sysid"]), 0xA532u);
    EXPECT_EQ(info["isNew"].type(), orva::variant::VT_BOOL);
    EXPECT_TRUE(static_cast<bool>(info["isNew"]));
    EXPECT_EQ(info["count"].type(), orva::variant::VT_UINT64);
    EXPECT_EQ(static_cast<unsigned long long>(info["count"]), 16u);
    EXPECT_EQ(info["offset"].type(), orva::variant::VT_INT32);
    EXPECT_EQ(static_cast<long long>(static_cast<unsigned long long>(info["offset"])), -3);
    EXPECT_EQ(info["label"].type(), orva::variant::VT_STRING);
    EXPECT_EQ(info["label"].stringValue(), "front door");
    EXPECT_EQ(BoardProfile::inferredKeyType("false"), "bool");
    EXPECT_EQ(BoardProfile::inferredKeyType("42"), "u64");
    EXPECT_EQ(BoardProfile::inferredKeyType("0xA5"), "u64");
    EXPECT_EQ(BoardProfile::inferredKeyType("-1"), "i32");
    EXPECT_EQ(BoardProfile::inferredKeyType("0x"), "str");
    EXPECT_EQ(BoardProfile::inferredKeyType("-"), "str");
    EXPECT_EQ(BoardProfile::inferredKeyType(""), "str");
}

TEST(SimLiveMode, AKeyValueItsTypeCannotHoldIsRefused) {
    BoardProfile profile = BoardProfile::load(0xA532);
    try {
        profile.applyKeys({{"hwrev", "new"}});
        FAIL() << "hwrev=new was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "key hwrev: not a number: new");
    }
    try {
        profile.applyKeys({{"", "1"}});
        FAIL() << "an empty key was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "a key needs a name: '=1'");
    }
    EXPECT_EQ(profile.info.size(), BoardProfile::load(0xA532).info.size());
}
