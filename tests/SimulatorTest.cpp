// The simulator itself: sysfs semantics, journal, faults and virtual time.
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

#include "BoardFixture.h"
#include "orva/platform.h"

using namespace orva::test;
using orva::sim::Sandbox;

namespace {

const char kAttr[] = "/sys/class/leds/test/brightness";

class Simulator : public testing::Test {
protected:
    void SetUp() override { sandbox.addAttribute(kAttr, "7"); }

    std::string readAt(int fd, off64_t offset, size_t count = 64) {
        char buffer[64] = {};
        const ssize_t got = pread64(fd, buffer, count, offset);
        return got < 0 ? "error" : std::string(buffer, static_cast<size_t>(got));
    }

    Sandbox sandbox;
};

}  // namespace

TEST_F(Simulator, OpenWithTruncateKeepsTheValue) {
    const int fd = open64(kAttr, O_RDWR | O_CREAT | O_TRUNC, 0666);
    ASSERT_GT(fd, 0);
    EXPECT_EQ(readAt(fd, 0), "7\n");
    EXPECT_EQ(close(fd), 0);
    EXPECT_EQ(sandbox.openDescriptors(), 0);
}

TEST_F(Simulator, MissingAttributeIsEaccesAndMissingDirectoryEnoent) {
    errno = 0;
    EXPECT_EQ(open64("/sys/class/leds/test/missing", O_RDWR | O_CREAT | O_TRUNC, 0666), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(open64("/sys/class/leds/test/missing", O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(open64("/sys/class/leds/none/brightness", O_RDWR | O_CREAT, 0666), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(sandbox.hasAttribute("/sys/class/leds/test/missing"));  // nothing created on demand
}

TEST_F(Simulator, ReadOnlyAttributeRefusesWriteAccess) {
    sandbox.addAttribute("/sys/class/backlight/x/max_brightness", "99", 0444);
    EXPECT_EQ(open64("/sys/class/backlight/x/max_brightness", O_RDWR), -1);
    EXPECT_EQ(errno, EACCES);
    const int fd = open64("/sys/class/backlight/x/max_brightness", O_RDONLY);
    ASSERT_GT(fd, 0);
    EXPECT_EQ(readAt(fd, 0), "99\n");
    close(fd);
}

TEST_F(Simulator, WriteStoresTheTextUpToNulOrNewline) {
    const int fd = open64(kAttr, O_RDWR);
    ASSERT_GT(fd, 0);
    EXPECT_EQ(pwrite64(fd, "40\0", 3, 0), 3);
    EXPECT_EQ(sandbox.value(kAttr), "40");
    EXPECT_EQ(pwrite64(fd, "5\n", 2, 0), 2);
    EXPECT_EQ(sandbox.value(kAttr), "5");
    EXPECT_EQ(pwrite64(fd, "123", 3, 7), 3);  // one store call whatever the offset
    EXPECT_EQ(sandbox.value(kAttr), "123");
    EXPECT_EQ(readAt(fd, 0), "123\n");
    EXPECT_EQ(readAt(fd, 1), "23\n");
    EXPECT_EQ(readAt(fd, 4), "");
    EXPECT_EQ(readAt(fd, 0, 2), "12");
    close(fd);
}

TEST_F(Simulator, JournalHoldsExactBytesAndResults) {
    const int fd = open64(kAttr, O_RDWR | O_CREAT | O_TRUNC, 0666);
    pwrite64(fd, "9\0", 2, 0);
    readAt(fd, 0, 15);
    close(fd);
    const auto& journal = sandbox.journal();
    ASSERT_EQ(journal.size(), 4u);
    EXPECT_EQ(journal[0].call, Call::Open);
    EXPECT_EQ(journal[0].path, kAttr);
    EXPECT_EQ(journal[0].result, fd);
    EXPECT_EQ(journal[1].call, Call::Write);
    EXPECT_EQ(journal[1].bytes, std::string("9\0", 2));
    EXPECT_EQ(journal[1].result, 2);
    EXPECT_EQ(journal[2].call, Call::Read);
    EXPECT_EQ(journal[2].count, 15u);
    EXPECT_EQ(journal[2].bytes, "9\n");
    EXPECT_EQ(journal[3].call, Call::Close);
    EXPECT_EQ(journal[3].fd, fd);
}

TEST_F(Simulator, FaultsApplyInOrderAndRunOut) {
    sandbox.failCalls(kAttr, Call::Open, EINTR, 2);
    sandbox.zeroDescriptor(kAttr);
    EXPECT_EQ(open64(kAttr, O_RDWR), -1);
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(open64(kAttr, O_RDWR), -1);
    EXPECT_EQ(open64(kAttr, O_RDWR), 0);
    const int fd = open64(kAttr, O_RDWR);
    ASSERT_GT(fd, 0);
    sandbox.shortWrite(kAttr, 1);
    EXPECT_EQ(pwrite64(fd, "42\0", 3, 0), 1);
    EXPECT_EQ(sandbox.value(kAttr), "4");
    sandbox.emptyRead(kAttr);
    EXPECT_EQ(readAt(fd, 0), "");
    EXPECT_EQ(readAt(fd, 0), "4\n");
    sandbox.failCalls(kAttr, Call::Write, ENOSPC);
    EXPECT_EQ(pwrite64(fd, "1", 1, 0), -1);
    EXPECT_EQ(errno, ENOSPC);
    close(fd);
}

TEST_F(Simulator, ReadAndWriteWithoutOffsetAreServedToo) {
    const int fd = open64(kAttr, O_RDWR);
    ASSERT_GT(fd, 0);
    EXPECT_EQ(write(fd, "8", 1), 1);
    char buffer[8] = {};
    EXPECT_EQ(read(fd, buffer, sizeof(buffer)), 2);
    EXPECT_STREQ(buffer, "8\n");
    close(fd);
}

TEST_F(Simulator, CloseOfDescriptorZeroIsJournaledButStdinStaysOpen) {
    EXPECT_EQ(close(0), 0);
    ASSERT_EQ(sandbox.journal().size(), 1u);
    EXPECT_EQ(sandbox.journal()[0].fd, 0);
    EXPECT_NE(fcntl(0, F_GETFD), -1);
}

TEST_F(Simulator, SleepsRunOnVirtualTime) {
    const uint64_t before = nowMs();
    EXPECT_EQ(before, 1000u);
    usleep(5000);
    usleep(5000);
    timespec pause{0, 2000000};
    nanosleep(&pause, nullptr);
    EXPECT_EQ(nowMs(), before + 12);
    EXPECT_EQ(sandbox.nowUs(), 12000u);
    EXPECT_EQ(sandbox.sleeps(), (std::vector<uint64_t>{5000, 5000, 2000}));
    sandbox.advanceMs(100);
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    EXPECT_EQ(now.tv_sec, 1);
    EXPECT_EQ(now.tv_nsec, 112000000);
    // Writes carry the virtual time at which they happened.
    const int fd = open64(kAttr, O_RDWR);
    pwrite64(fd, "1", 1, 0);
    close(fd);
    EXPECT_EQ(orva::test::calls(sandbox.journal(), Call::Write)[0].timeUs, 112000u);
}

TEST_F(Simulator, OtherPathsAreUntouched) {
    char path[] = "/tmp/orva-sim-test-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(pwrite64(fd, "abc", 3, 0), 3);
    close(fd);
    unlink(path);
    EXPECT_TRUE(sandbox.journal().empty());
}

TEST(SimulatorWithoutSandbox, RefusesToOpenKernelFilesForWriting) {
    ASSERT_EQ(Sandbox::active(), nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(open64("/sys/class/leds/anything/brightness", O_RDWR | O_CREAT | O_TRUNC, 0666), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(open64("/proc/gpio/reset_btn", O_WRONLY), -1);
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("no sandbox is active"), std::string::npos);
}

TEST(SimulatorWithoutSandbox, OnlyOneSandboxAtATime) {
    Sandbox first;
    EXPECT_THROW(Sandbox second, std::logic_error);
}

TEST(SimulatorProfiles, BoardProfileBuildsKeysAndFiles) {
    orva::sim::SimBoard board(0xA533);
    EXPECT_EQ(board.profile().sysid, 0xA533u);
    EXPECT_EQ(board.value("/sys/class/backlight/3.pwm_bl/max_brightness"), "99");
    auto& info = orva::variant::CameraInfo::instance();
    EXPECT_EQ(static_cast<unsigned long long>(info["sysid"]), 0xA533u);
    EXPECT_EQ(static_cast<orva::variant::VariantType>(info["feature_led_ir"]), orva::variant::VT_INT8);
}

TEST(SimulatorProfiles, MalformedProfileNamesTheLine) {
    try {
        orva::sim::BoardProfile::parse("name x\ninfo sysid u64\n", "test.board");
        FAIL() << "no error";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("test.board:2"), std::string::npos) << error.what();
    }
    EXPECT_THROW(orva::sim::BoardProfile::parse("attr /etc/passwd 0644 x\n", "t"), std::runtime_error);
    EXPECT_THROW(orva::sim::BoardProfile::load(0x1234), std::runtime_error);
}

TEST(SimulatorProfiles, EveryProfileLoads) {
    const auto boards = orva::sim::BoardProfile::available();
    EXPECT_GE(boards.size(), 2u);
    for (const uint32_t sysid : boards) {
        EXPECT_NO_THROW(orva::sim::BoardProfile::load(sysid)) << std::hex << sysid;
    }
}
