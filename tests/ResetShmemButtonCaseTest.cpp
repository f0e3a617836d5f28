// The reset button of board 0xA564, read from byte 271 of the System V segment 0x162F that another
// process keeps: attach, size, the not-yet-filled-in segment, console mode and every failure path.
#include <cerrno>
#include <cstdint>
#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ButtonEvents.h"
#include "LogCapture.h"
#include "orva/host_platform.h"
#include "orva/platform.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"

namespace {

using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::kResetButtonSegmentKey;
using orva::sim::SharedMemory;
using orva::sim::SimBoard;
using orva::test::Expected;
using orva::test::held;
using orva::test::LogCapture;
using orva::test::pressed;
using orva::test::RecordingObserver;
using orva::test::released;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kKey = kResetButtonSegmentKey;
constexpr size_t kButtonByte = 271;
const char kSource[] = "src/ResetShmemButtonCase";

const Expected kInitFailed{"src/BaseButton", "init", 3, 0, "Failed to init GPIO"};

Expected initMessage(const std::string& text) { return {kSource, "initGPIO", 3, 0, text}; }
Expected detachFailed(const std::string& reason) {
    return {kSource, "~ResetShmemButtonCase", 6, 0, "shared memory detach failed (" + reason + ")"};
}

std::vector<JournalEntry> shmCalls(const SimBoard& board) {
    std::vector<JournalEntry> calls;
    for (const JournalEntry& entry : board.journal()) {
        if (entry.call == Call::Shm) calls.push_back(entry);
    }
    return calls;
}

std::vector<std::string> names(const std::vector<JournalEntry>& calls) {
    std::vector<std::string> result;
    for (const JournalEntry& call : calls) result.push_back(call.path);
    return result;
}

std::string idText(int id) { return std::to_string(id); }

class ResetShmemButtonCaseTest : public ::testing::Test {
protected:
    bool readsPressed(const ResetShmemButtonCase& button) {
        bool pressedNow = true;
        EXPECT_TRUE(button.readValue(pressedNow));
        return pressedNow;
    }
    void fillWith(uint8_t value) { SharedMemory::write(kKey, 0, std::string(SharedMemory::size(kKey), char(value))); }

    SimBoard board{0xA564};  // segment of 512 bytes, byte 0 = 1 and byte 271 = 1: filled in, released
    LogCapture log;
    RecordingObserver observer;
};

TEST_F(ResetShmemButtonCaseTest, ExistsOnlyOnBoardA564) {
    EXPECT_TRUE(ResetShmemButtonCase(true).exists());
    EXPECT_TRUE(ResetShmemButtonCase(false).exists());
    orva::variant::CameraInfo::instance()["sysid"] = 0xA533ULL;
    EXPECT_FALSE(ResetShmemButtonCase(true).exists());
}

TEST_F(ResetShmemButtonCaseTest, InitAttachesTheExistingSegmentReadOnlyAndLearnsItsSize) {
    const int id = SharedMemory::id(kKey);
    {
        ResetShmemButtonCase button(false);
        ASSERT_TRUE(button.init(&observer, 100));
        const std::vector<JournalEntry> calls = shmCalls(board);
        ASSERT_THAT(names(calls), ElementsAre("shmget", "shmat", "shmctl"));
        EXPECT_THAT(calls[0].arguments, ElementsAre("0x162f", "0", "0"));  // an existing segment only
        EXPECT_EQ(calls[0].result, id);
        EXPECT_THAT(calls[1].arguments, ElementsAre(idText(id), "NULL", "SHM_RDONLY"));
        EXPECT_NE(calls[1].result, -1);
        EXPECT_EQ(calls[2].arguments.at(0), idText(id));
        EXPECT_EQ(calls[2].arguments.at(1), "IPC_STAT");
        EXPECT_EQ(calls[2].result, 0);
        EXPECT_EQ(calls[2].count, 512u);
        EXPECT_EQ(SharedMemory::attachments(kKey), 2u);  // the producer's and the button's
        EXPECT_THAT(log.records(), IsEmpty());
        board.sandbox().clearJournal();
    }
    // The destructor detaches what it attached.
    const std::vector<JournalEntry> calls = shmCalls(board);
    ASSERT_THAT(names(calls), ElementsAre("shmdt"));
    EXPECT_EQ(calls[0].result, 0);
    EXPECT_EQ(SharedMemory::attachments(kKey), 1u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ResetShmemButtonCaseTest, Byte271ZeroInAFilledInSegmentIsPressed) {
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    EXPECT_FALSE(readsPressed(button));
    SharedMemory::setByte(kKey, kButtonByte, 0);
    EXPECT_TRUE(readsPressed(button));
    SharedMemory::setByte(kKey, kButtonByte, 2);
    EXPECT_FALSE(readsPressed(button));
    SharedMemory::setByte(kKey, kButtonByte, 0xFF);
    EXPECT_FALSE(readsPressed(button));
}

TEST_F(ResetShmemButtonCaseTest, SegmentOfAllZerosIsNeverPressed) {
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 0));
    fillWith(0);
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(button.service());
        board.advanceMs(100);
    }
    EXPECT_FALSE(readsPressed(button));
    EXPECT_THAT(observer.events, IsEmpty());
}

TEST_F(ResetShmemButtonCaseTest, ByteZeroSetAndByte271ZeroIsPressed) {
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    fillWith(0);
    SharedMemory::setByte(kKey, 0, 1);
    EXPECT_TRUE(readsPressed(button));
}

TEST_F(ResetShmemButtonCaseTest, AnyNonZeroByteMarksTheSegmentFilledIn) {
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    fillWith(0);
    SharedMemory::setByte(kKey, 511, 7);  // the last byte
    EXPECT_TRUE(readsPressed(button));
    SharedMemory::setByte(kKey, 511, 0);
    EXPECT_FALSE(readsPressed(button));
}

TEST_F(ResetShmemButtonCaseTest, Byte271IsReadWhateverTheSegmentSize) {
    // A producer segment smaller than the button byte: byte 271 lies beyond shm_segsz but in the
    // same zero-filled page, and reads as pressed.
    SharedMemory::remove(kKey);
    SharedMemory::create(kKey, 100);
    SharedMemory::setByte(kKey, 0, 1);
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    EXPECT_EQ(shmCalls(board).back().count, 100u);
    EXPECT_TRUE(readsPressed(button));
}

TEST_F(ResetShmemButtonCaseTest, PressHoldAndReleaseFromTheProducer) {
    ResetShmemButtonCase button(false);
    ASSERT_TRUE(button.init(&observer, 100));
    ASSERT_TRUE(button.service());
    SharedMemory::setByte(kKey, kButtonByte, 0);
    for (int t = 0; t < 250; t += 10) {
        ASSERT_TRUE(button.service());
        board.advanceMs(10);
    }
    SharedMemory::setByte(kKey, kButtonByte, 1);
    ASSERT_TRUE(button.service());
    EXPECT_THAT(observer.events, ElementsAre(pressed(), held(10), held(110), held(210), released(250)));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ResetShmemButtonCaseTest, ConsoleModeInitialisesWithoutAnySegmentAndNeverFires) {
    SharedMemory::remove(kKey);
    board.sandbox().clearJournal();
    {
        ResetShmemButtonCase button(true);
        ASSERT_TRUE(button.init(&observer, 0));
        EXPECT_FALSE(readsPressed(button));
        EXPECT_TRUE(button.service());
    }
    EXPECT_THAT(board.journal(), IsEmpty());  // no shmget, no shmat and no shmdt
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ResetShmemButtonCaseTest, ConsoleModeIgnoresAPressedSegment) {
    SharedMemory::setByte(kKey, kButtonByte, 0);
    ResetShmemButtonCase button(true);
    ASSERT_TRUE(button.init(&observer, 0));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(button.service());
        board.advanceMs(50);
    }
    EXPECT_FALSE(readsPressed(button));
    EXPECT_THAT(observer.events, IsEmpty());
    EXPECT_THAT(shmCalls(board), IsEmpty());
}

TEST_F(ResetShmemButtonCaseTest, MissingSegmentFailsInitAndTheDestructorStillDetaches) {
    SharedMemory::remove(kKey);
    {
        ResetShmemButtonCase button(false);
        EXPECT_FALSE(button.init(&observer, 100));
        const std::vector<JournalEntry> calls = shmCalls(board);
        ASSERT_THAT(names(calls), ElementsAre("shmget"));
        EXPECT_EQ(calls[0].result, -1);
        EXPECT_EQ(calls[0].error, ENOENT);
        EXPECT_THAT(log.records(), ElementsAre(initMessage("failed to get shared memory"), kInitFailed));
        log.clear();
    }
    EXPECT_THAT(log.records(), ElementsAre(detachFailed("Invalid argument")));
    const std::vector<JournalEntry> calls = shmCalls(board);
    ASSERT_THAT(names(calls), ElementsAre("shmget", "shmdt"));
    EXPECT_THAT(calls[1].arguments, ElementsAre("NULL"));
    EXPECT_EQ(calls[1].error, EINVAL);
}

TEST_F(ResetShmemButtonCaseTest, FailedAttachIsReportedAndDetachFailsAtDestruction) {
    board.sandbox().failCalls("shmat", Call::Shm, EACCES);
    {
        ResetShmemButtonCase button(false);
        EXPECT_FALSE(button.init(&observer, 100));
        EXPECT_THAT(log.records(), ElementsAre(initMessage("Failed to attach shared memory"), kInitFailed));
        EXPECT_THAT(names(shmCalls(board)), ElementsAre("shmget", "shmat"));
        EXPECT_EQ(shmCalls(board).back().error, EACCES);
        log.clear();
    }
    EXPECT_THAT(log.records(), ElementsAre(detachFailed("Invalid argument")));
    EXPECT_EQ(shmCalls(board).back().path, "shmdt");
    EXPECT_EQ(shmCalls(board).back().error, EINVAL);
    EXPECT_EQ(SharedMemory::attachments(kKey), 1u);
}

TEST_F(ResetShmemButtonCaseTest, FailedStatusIsReportedAndTheAttachmentIsReleased) {
    board.sandbox().failCalls("shmctl", Call::Shm, EIDRM);
    {
        ResetShmemButtonCase button(false);
        EXPECT_FALSE(button.init(&observer, 100));
        EXPECT_THAT(log.records(), ElementsAre(initMessage("Failed to get shared memory size"), kInitFailed));
        EXPECT_EQ(SharedMemory::attachments(kKey), 2u);
        log.clear();
    }
    EXPECT_THAT(log.records(), IsEmpty());  // it was attached: the detach succeeds
    EXPECT_EQ(SharedMemory::attachments(kKey), 1u);
}

TEST_F(ResetShmemButtonCaseTest, FailedDetachIsOnlyInformation) {
    {
        ResetShmemButtonCase button(false);
        ASSERT_TRUE(button.init(&observer, 100));
        board.sandbox().failCalls("shmdt", Call::Shm, EINVAL);
    }
    EXPECT_THAT(log.records(), ElementsAre(detachFailed("Invalid argument")));
}

TEST_F(ResetShmemButtonCaseTest, DetachFailureNamesTheErrno) {
    {
        ResetShmemButtonCase button(false);
        ASSERT_TRUE(button.init(&observer, 100));
        board.sandbox().failCalls("shmdt", Call::Shm, ENOMEM);
    }
    EXPECT_THAT(log.records(), ElementsAre(detachFailed("Cannot allocate memory")));
}

TEST_F(ResetShmemButtonCaseTest, OnOtherBoardsItIsNeverAttachedButStillDetachedAtTheEnd) {
    orva::variant::CameraInfo::instance()["sysid"] = 0xA533ULL;
    board.sandbox().clearJournal();
    {
        ResetShmemButtonCase button(false);
        ASSERT_TRUE(button.init(&observer, 100));
        SharedMemory::setByte(kKey, kButtonByte, 0);
        EXPECT_TRUE(button.service());
        EXPECT_THAT(observer.events, IsEmpty());
        EXPECT_THAT(board.journal(), IsEmpty());
    }
    EXPECT_THAT(names(shmCalls(board)), ElementsAre("shmdt"));
    EXPECT_THAT(log.records(), ElementsAre(detachFailed("Invalid argument")));
}

// The library against a segment the test makes itself in the real kernel, with a private key:
// attach, status and detach meet the kernel, only the key lookup goes through the sandbox.
TEST_F(ResetShmemButtonCaseTest, RealPrivateSegmentFromTheKernel) {
    const int id = shmget(IPC_PRIVATE, 4096, IPC_CREAT | 0600);
    ASSERT_GE(id, 0) << strerror(errno);
    void* mapping = shmat(id, nullptr, 0);
    ASSERT_NE(mapping, reinterpret_cast<void*>(-1)) << strerror(errno);
    auto* bytes = static_cast<volatile uint8_t*>(mapping);
    bytes[0] = 0x5A;
    bytes[kButtonByte] = 1;
    SharedMemory::adopt(kKey, id);
    board.sandbox().clearJournal();
    {
        ResetShmemButtonCase button(false);
        ASSERT_TRUE(button.init(&observer, 100));
        const std::vector<JournalEntry> calls = shmCalls(board);
        ASSERT_THAT(names(calls), ElementsAre("shmget", "shmat", "shmctl"));
        EXPECT_EQ(calls[0].result, id);
        EXPECT_EQ(calls[2].count, 4096u);
        struct shmid_ds status {};
        ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
        EXPECT_EQ(status.shm_nattch, 2u);
        EXPECT_EQ(status.shm_segsz, 4096u);

        ASSERT_TRUE(button.service());
        bytes[kButtonByte] = 0;
        board.advanceMs(30);
        ASSERT_TRUE(button.service());
        board.advanceMs(70);
        ASSERT_TRUE(button.service());
        bytes[kButtonByte] = 1;
        board.advanceMs(5);
        ASSERT_TRUE(button.service());
        EXPECT_THAT(observer.events, ElementsAre(pressed(), held(70), released(75)));
    }
    struct shmid_ds status {};
    ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_nattch, 1u);  // the button detached; the test's own attachment is left
    EXPECT_THAT(log.records(), IsEmpty());
    SharedMemory::remove(kKey);
    EXPECT_EQ(shmdt(mapping), 0);
    EXPECT_EQ(shmctl(id, IPC_RMID, nullptr), 0);
}

}  // namespace
