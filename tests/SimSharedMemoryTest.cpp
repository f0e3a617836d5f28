// The simulator's System V shared memory: simulated keys, the kernel's shmget rules, journal,
// faults, profile segments and removal at the end of the sandbox.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orva/sim/Sandbox.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"

namespace {

using orva::sim::BoardProfile;
using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::kResetButtonSegmentKey;
using orva::sim::Sandbox;
using orva::sim::SharedMemory;
using orva::sim::SimBoard;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool kernelHas(int id) {
    struct shmid_ds status {};
    return shmctl(id, IPC_STAT, &status) == 0;
}

TEST(SimSharedMemory, MissingSimulatedSegmentWithoutCreateIsENOENT) {
    Sandbox sandbox;
    errno = 0;
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(sandbox.journal().size(), 1u);
    const JournalEntry& entry = sandbox.journal()[0];
    EXPECT_EQ(entry.call, Call::Shm);
    EXPECT_EQ(entry.path, "shmget");
    EXPECT_THAT(entry.arguments, ElementsAre("0x162f", "0", "0"));
    EXPECT_EQ(entry.result, -1);
    EXPECT_EQ(entry.error, ENOENT);
}

TEST(SimSharedMemory, CreateFollowsTheKernelRules) {
    Sandbox sandbox;
    const int id = shmget(kResetButtonSegmentKey, 300, IPC_CREAT | 0600);
    ASSERT_GE(id, 0);
    EXPECT_TRUE(SharedMemory::exists(kResetButtonSegmentKey));
    EXPECT_EQ(SharedMemory::id(kResetButtonSegmentKey), id);
    EXPECT_EQ(SharedMemory::size(kResetButtonSegmentKey), 300u);
    EXPECT_EQ(SharedMemory::read(kResetButtonSegmentKey), std::string(300, '\0'));
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, 0), id);
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 300, 0), id);
    errno = 0;
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 301, 0), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, IPC_CREAT | IPC_EXCL | 0600), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(sandbox.journal()[0].arguments.at(2), "IPC_CREAT|0600");
}

TEST(SimSharedMemory, TheLibrarysViewFollowsTheProducersWrites) {
    Sandbox sandbox;
    const int id = SharedMemory::create(kResetButtonSegmentKey, 512);
    void* view = shmat(shmget(kResetButtonSegmentKey, 0, 0), nullptr, SHM_RDONLY);
    ASSERT_NE(view, reinterpret_cast<void*>(-1));
    const auto* bytes = static_cast<const volatile uint8_t*>(view);
    EXPECT_EQ(bytes[271], 0);
    SharedMemory::setByte(kResetButtonSegmentKey, 271, 9);
    SharedMemory::write(kResetButtonSegmentKey, 0, "ab");
    EXPECT_EQ(bytes[271], 9);
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(bytes[1], 'b');
    EXPECT_EQ(SharedMemory::byte(kResetButtonSegmentKey, 271), 9);
    EXPECT_EQ(SharedMemory::attachments(kResetButtonSegmentKey), 2u);
    EXPECT_EQ(shmdt(view), 0);
    EXPECT_EQ(SharedMemory::attachments(kResetButtonSegmentKey), 1u);
    std::vector<std::string> calls;
    for (const JournalEntry& entry : sandbox.journal()) calls.push_back(entry.path);
    EXPECT_THAT(calls, ElementsAre("shmget", "shmat", "shmdt"));
    EXPECT_EQ(sandbox.journal()[1].fd, id);
    EXPECT_THAT(sandbox.journal()[1].arguments, ElementsAre(std::to_string(id), "NULL", "SHM_RDONLY"));
    EXPECT_THROW(SharedMemory::setByte(kResetButtonSegmentKey, 512, 1), std::out_of_range);
    EXPECT_THROW(SharedMemory::create(kResetButtonSegmentKey, 16), std::logic_error);
}

TEST(SimSharedMemory, OtherKeysGoToTheKernelUnlessRegistered) {
    Sandbox sandbox;
    constexpr int kOtherKey = 0x4F52;
    EXPECT_FALSE(SharedMemory::isSimulatedKey(kOtherKey));
    const int privateId = shmget(IPC_PRIVATE, 64, IPC_CREAT | 0600);
    ASSERT_GE(privateId, 0);
    EXPECT_EQ(shmctl(privateId, IPC_RMID, nullptr), 0);
    EXPECT_THAT(sandbox.journal(), IsEmpty());  // not simulated: not journaled
    SharedMemory::simulateKey(kOtherKey);
    errno = 0;
    EXPECT_EQ(shmget(kOtherKey, 0, 0), -1);
    EXPECT_EQ(errno, ENOENT);
    const int id = SharedMemory::create(kOtherKey, 128);
    EXPECT_EQ(shmget(kOtherKey, 0, 0), id);
    EXPECT_EQ(sandbox.journal().back().arguments.at(0), "0x4f52");
}

TEST(SimSharedMemory, FaultsAreInjectedPerFunction) {
    Sandbox sandbox;
    const int id = SharedMemory::create(kResetButtonSegmentKey, 512);
    sandbox.failCalls("shmget", Call::Shm, EACCES);
    sandbox.failCalls("shmat", Call::Shm, ENOMEM);
    sandbox.failCalls("shmctl", Call::Shm, EIDRM);
    errno = 0;
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, 0), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, 0), id);
    EXPECT_EQ(shmat(id, nullptr, SHM_RDONLY), reinterpret_cast<void*>(-1));
    EXPECT_EQ(errno, ENOMEM);
    struct shmid_ds status {};
    EXPECT_EQ(shmctl(id, IPC_STAT, &status), -1);
    EXPECT_EQ(errno, EIDRM);
    EXPECT_EQ(shmctl(id, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_segsz, 512u);
    EXPECT_EQ(SharedMemory::attachments(kResetButtonSegmentKey), 1u);
}

TEST(SimSharedMemory, SegmentsAreRemovedWhenTheSandboxEnds) {
    int id = -1;
    std::string record;
    {
        Sandbox sandbox;
        id = SharedMemory::create(kResetButtonSegmentKey, 512);
        record = sandbox.root() + "/sysv-shm/0x162f";
        std::ifstream in(record);
        int recordedId = -1;
        ASSERT_TRUE(in >> recordedId);
        EXPECT_EQ(recordedId, id);
        EXPECT_TRUE(kernelHas(id));
    }
    EXPECT_FALSE(kernelHas(id));
    EXPECT_FALSE(std::ifstream(record).good());
}

TEST(SimSharedMemory, RemovedSegmentIsGoneAtOnce) {
    Sandbox sandbox;
    const int id = SharedMemory::create(kResetButtonSegmentKey, 512);
    SharedMemory::remove(kResetButtonSegmentKey);
    EXPECT_FALSE(SharedMemory::exists(kResetButtonSegmentKey));
    EXPECT_FALSE(kernelHas(id));
    errno = 0;
    EXPECT_EQ(shmget(kResetButtonSegmentKey, 0, 0), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(SimSharedMemory, BoardProfileDescribesTheSegment) {
    const BoardProfile profile = BoardProfile::parse("info sysid u64 0xA564\nshm 0x162F 300 0=1 271=0x22 299=255\n", "test");
    ASSERT_EQ(profile.segments.size(), 1u);
    SimBoard board(profile);
    const std::string bytes = SharedMemory::read(kResetButtonSegmentKey);
    ASSERT_EQ(bytes.size(), 300u);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[271], 0x22);
    EXPECT_EQ(static_cast<uint8_t>(bytes[299]), 255);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_THROW(BoardProfile::parse("shm 0x162F 300 300=1\n", "test"), std::runtime_error);
    EXPECT_THROW(BoardProfile::parse("shm 0x162F 300 1=256\n", "test"), std::runtime_error);
    EXPECT_THROW(BoardProfile::parse("shm 0x162F\n", "test"), std::runtime_error);
}

TEST(SimSharedMemory, BoardA564KeepsAFilledInReleasedSegment) {
    SimBoard board(0xA564);
    EXPECT_GE(SharedMemory::size(kResetButtonSegmentKey), 272u);
    EXPECT_NE(SharedMemory::byte(kResetButtonSegmentKey, 0), 0);
    EXPECT_NE(SharedMemory::byte(kResetButtonSegmentKey, 271), 0);
}

TEST(SimSharedMemory, WithoutASandboxTheApiRefuses) {
    EXPECT_THROW(SharedMemory::create(kResetButtonSegmentKey, 16), std::logic_error);
}

}  // namespace
