// System V shared memory of the active sandbox. While a sandbox is alive, shmget() of a simulated
// key (0x162F, and any key a test registers) is answered from the sandbox's own table instead of
// the kernel's key namespace, so a test or tool can create, fill and change the segment that
// another firmware process would keep, while the library has it attached.
//
// Each simulated segment is a real, private System V segment (IPC_PRIVATE), so shmat, shmctl and
// shmdt meet the real kernel. The sandbox that creates a segment keeps it attached read-write and
// marks it for removal at once: the kernel frees it when the last attachment goes, even if the
// process dies. Its id is recorded in <sandbox>/sysv-shm/<key>, so that a second process attached
// to the same sandbox directory (orva-gpio --sandbox DIR --reuse) reaches the same bytes.
//
// The hooks journal every simulated call as Call::Shm, with the function name as path
// ("shmget", "shmat", "shmctl", "shmdt") and the arguments as text in JournalEntry::arguments;
// Sandbox::failCalls("shmat", Call::Shm, EACCES) makes the next shmat fail, and so on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orva::sim {

// The key of the segment that holds the reset-button level on the shared-memory board.
constexpr int kResetButtonSegmentKey = 0x162F;

class SharedMemory {
public:
    // Every operation works on the active sandbox and throws std::logic_error without one.

    // Answers shmget(key, ...) from the sandbox from now on (0x162F always is).
    static void simulateKey(int key);
    static bool isSimulatedKey(int key);

    // A new zero-filled segment of size bytes behind key; throws when key already has one.
    // Returns its System V id. Removed when the sandbox ends.
    static int create(int key, size_t size);
    // Serves key from a segment the caller made and keeps (e.g. shmget(IPC_PRIVATE, ...));
    // the sandbox never removes it.
    static void adopt(int key, int shmid);
    // Forgets key's segment (and removes it when the sandbox made it): shmget then gives ENOENT.
    static void remove(int key);

    // Whether key has a live segment in this sandbox, made here or by another process on the
    // same sandbox directory.
    static bool exists(int key);
    // The segment's System V id, or -1.
    static int id(int key);
    // Size in bytes (shm_segsz); throws when key has no segment.
    static size_t size(int key);
    // Current number of attachments (shm_nattch), the sandbox's own included.
    static unsigned long attachments(int key);

    // Bytes of the segment, as the producing process would change them; throw when key has no
    // segment or the range does not fit.
    static void write(int key, size_t offset, const std::string& bytes);
    static void setByte(int key, size_t offset, uint8_t value);
    static std::string read(int key);
    static uint8_t byte(int key, size_t offset);
};

}  // namespace orva::sim
