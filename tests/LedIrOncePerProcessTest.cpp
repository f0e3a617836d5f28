// The white-light maximum and the accessory IR output. Both look the board identifier up once per
// process, so every case here runs in a child process forked before anything in this test program
// reached those lookups: the parent never calls setMaxWhiteLedLevel or accessoryIrOn on a board
// that has the output.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "LedIrTestSupport.h"

using namespace orva::test;
using namespace orva::test::ir;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Runs body in a child process. Its expectation failures are printed as usual and make it exit
// with 1, which fails the test here.
void inFreshProcess(const std::function<void()>& body) {
    fflush(stdout);
    fflush(stderr);
    const pid_t child = fork();
    ASSERT_NE(child, -1) << strerror(errno);
    if (child == 0) {
        body();
        fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child process failed (see above), status " << status;
}

// The white LED's file by board, and the most it takes.
struct WhiteBoard {
    uint32_t sysid;
    std::string path;
    int maximum;
};
const WhiteBoard kWhiteBoards[] = {
    {0xA598, kPwm0, 14900}, {0xA59A, kPwm1, 100}, {0xA59B, kPwm1, 75}, {0xA5A6, kBusBacklight0, 218}};

}  // namespace

TEST(LedIrWhiteLevel, ClampsToTheBoardMaximumAndAppliesAtNextSwitchOnWhileOff) {
    for (const WhiteBoard& white : kWhiteBoards) {
        SCOPED_TRACE(white.path);
        inFreshProcess([&] {
            SimBoard board(white.sysid);
            LogCapture log;
            ProbedLedIr led;
            ASSERT_TRUE(led.init("ir"));
            log.clear();
            board.sandbox().clearJournal();
            EXPECT_TRUE(led.setMaxWhiteLedLevel(20000));
            EXPECT_EQ(led.whiteLedLevel, white.maximum);
            // Off: the current value is read and nothing is written.
            EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("read " + white.path));
            EXPECT_TRUE(led.setWhiteLedOn(true));
            EXPECT_THAT(writesTo(board.journal(), white.path), ElementsAre(withNul(std::to_string(white.maximum))));
            // Below the maximum the level is taken as it is, and written at once while lit.
            board.sandbox().clearJournal();
            EXPECT_TRUE(led.setMaxWhiteLedLevel(white.maximum - 1));
            EXPECT_EQ(led.whiteLedLevel, white.maximum - 1);
            EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("read " + white.path, "write " + white.path));
            EXPECT_EQ(board.value(white.path), std::to_string(white.maximum - 1));
            EXPECT_THAT(log.records(), IsEmpty());
        });
    }
}

TEST(LedIrWhiteLevel, MaximumOnA598WhileLitWrites14900) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        board.attribute(kPwm0, "5000");
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setMaxWhiteLedLevel(20000));
        EXPECT_EQ(led.whiteLedLevel, 14900);
        const auto reads = calls(board.journal(), Call::Read);
        ASSERT_EQ(reads.size(), 1u);
        EXPECT_EQ(reads[0].bytes, "5000\n");
        EXPECT_THAT(writesTo(board.journal(), kPwm0), ElementsAre(withNul("14900")));
    });
}

TEST(LedIrWhiteLevel, BoardIsLookedUpOncePerProcess) {
    inFreshProcess([] {
        {
            SimBoard board(0xA598);
            LedIr led;
            ASSERT_TRUE(led.init("ir"));
            EXPECT_TRUE(led.setMaxWhiteLedLevel(20000));
        }
        // A second board in the same process still clamps with the first board's maximum.
        SimBoard board(0xA59A);
        board.attribute(kPwm1, "1");
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        EXPECT_TRUE(led.setMaxWhiteLedLevel(150));
        EXPECT_EQ(led.whiteLedLevel, 150);
        EXPECT_EQ(board.value(kPwm1), "150");
    });
}

TEST(LedIrWhiteLevel, BoardWithoutAMaximumKeepsTheLevel) {
    inFreshProcess([] {
        SimBoard board(0xA59A);
        board.attribute(kPwm1, "1");
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        // The first lookup sees a board that has no maximum of its own.
        setInfo("sysid", 0xA533ULL);
        EXPECT_TRUE(led.setMaxWhiteLedLevel(5));
        EXPECT_EQ(led.whiteLedLevel, 100);
        EXPECT_EQ(board.value(kPwm1), "100");
    });
}

TEST(LedIrWhiteLevel, ReadAndWriteFailures) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        LogCapture log;
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        log.clear();
        const int fd = led.whiteLedFd;
        board.sandbox().failCalls(kBusBacklight0, Call::Read, EIO);
        EXPECT_FALSE(led.setMaxWhiteLedLevel(300));
        EXPECT_EQ(led.whiteLedLevel, 218);  // stored before the read
        board.sandbox().emptyRead(kBusBacklight0);
        errno = 0;
        EXPECT_FALSE(led.setMaxWhiteLedLevel(100));
        EXPECT_EQ(led.whiteLedLevel, 100);
        board.sandbox().failCalls(kBusBacklight0, Call::Read, EINTR, 2);
        EXPECT_TRUE(led.setMaxWhiteLedLevel(90));  // retried, light off

        board.sandbox().setValue(kBusBacklight0, "50");
        board.sandbox().failCalls(kBusBacklight0, Call::Write, EROFS);
        EXPECT_FALSE(led.setMaxWhiteLedLevel(80));
        EXPECT_EQ(board.value(kBusBacklight0), "50");
        board.sandbox().shortWrite(kBusBacklight0, 2);
        errno = 0;
        EXPECT_FALSE(led.setMaxWhiteLedLevel(70));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "setMaxWhiteLedLevel", 3, EIO,
                                         "Failed to read from proc entry " + hex(fd) + ", num bytes read -1"},
                                Expected{kSource, "setMaxWhiteLedLevel", 3, 0,
                                         "Failed to read from proc entry " + hex(fd) + ", num bytes read 0"},
                                Expected{kSource, "setMaxWhiteLedLevel", 3, EROFS,
                                         "Failed to write '80' to proc entry " + hex(fd)},
                                Expected{kSource, "setMaxWhiteLedLevel", 3, 0,
                                         "Failed to write '70' to proc entry " + hex(fd)}));
    });
}

TEST(LedIrAccessory, A598WritesItsDutyCycle) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.accessoryIrOn(true));
        EXPECT_EQ(board.value(kPwm1), "16200");
        EXPECT_TRUE(led.accessoryIrOn(false));
        EXPECT_TRUE(led.accessoryIrOnFd(true));
        EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("write " + kPwm1, "write " + kPwm1, "write " + kPwm1));
        EXPECT_THAT(writesTo(board.journal(), kPwm1), ElementsAre(withNul("16200"), withNul("0"), withNul("16200")));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedIrAccessory, WriteFailureIsLogged) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        log.clear();
        const int fd = openedFd(board.journal(), kPwm1);
        board.sandbox().failCalls(kPwm1, Call::Write, EIO);
        EXPECT_FALSE(led.accessoryIrOn(true));
        board.sandbox().failCalls(kPwm1, Call::Write, EINTR, 2);
        EXPECT_TRUE(led.accessoryIrOn(false));
        board.sandbox().shortWrite(kPwm1, 5);
        errno = 0;
        EXPECT_FALSE(led.accessoryIrOn(true));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "accessoryIrOnFd", 3, EIO, "Failed to write '16200' to proc entry " + hex(fd)},
                                Expected{kSource, "accessoryIrOnFd", 3, 0, "Failed to write '16200' to proc entry " + hex(fd)}));
    });
}

TEST(LedIrAccessory, BoardIsLookedUpOncePerProcess) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        board.sandbox().clearJournal();
        // The first lookup sees another board: the output is left alone, now and later.
        setInfo("sysid", 0xA5A5ULL);
        EXPECT_TRUE(led.accessoryIrOn(true));
        setInfo("sysid", 0xA598ULL);
        EXPECT_TRUE(led.accessoryIrOn(true));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}
