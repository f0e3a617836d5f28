// System V shared memory for the sandbox: shmget, shmat, shmctl and shmdt hooks and the
// SharedMemory API. Built like Hooks.cpp, without _FILE_OFFSET_BITS, _TIME_BITS and
// _FORTIFY_SOURCE, so that every prototype is libc's own.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <sstream>
#include <map>
#include <set>
#include <stdexcept>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include "RealFunctions.h"
#include "SafePath.h"
#include "SimState.h"
#include "orva/sim/SharedMemory.h"

using orva::sim::Call;
using orva::sim::Fault;
using orva::sim::JournalEntry;
using orva::sim::HookScope;
using orva::sim::Sandbox;

namespace {



int realShmget(key_t key, size_t size, int flags) {
    ORVA_REAL(shmget);
    return real(key, size, flags);
}
void* realShmat(int id, const void* address, int flags) {
    ORVA_REAL(shmat);
    return real(id, address, flags);
}
int realShmctl(int id, int command, struct shmid_ds* status) {
    ORVA_REAL(shmctl);
    return real(id, command, status);
}
int realShmdt(const void* address) {
    ORVA_REAL(shmdt);
    return real(address);
}

void* const kFailedAttach = reinterpret_cast<void*>(-1);

struct Segment {
    int id = -1;
    size_t size = 0;
    void* mapping = nullptr;  // the sandbox's own read-write attachment (segments it made)
    bool owned = false;       // made by this sandbox: detached and its record removed at the end
};

// Shared memory of one sandbox; lives from its first use to the end of that sandbox.
struct ShmState {
    Sandbox* sandbox = nullptr;
    std::set<int> keys{orva::sim::kResetButtonSegmentKey};
    std::map<int, Segment> segments;  // by key
};

ShmState* gShm = nullptr;

std::string keyText(int key) {
    char text[16];
    snprintf(text, sizeof(text), "0x%x", static_cast<unsigned>(key));
    return text;
}

// Records of the segments, below the sandbox root: "sysv-shm/<key>" holds "<id> <creator pid>".
std::string recordPath(int key) { return "/sysv-shm/" + keyText(key); }

void endOfSandbox() {
    ShmState* state = gShm;
    gShm = nullptr;
    for (auto& item : state->segments) {
        Segment& segment = item.second;
        if (!segment.owned) continue;
        if (segment.mapping != nullptr) realShmdt(segment.mapping);
        realShmctl(segment.id, IPC_RMID, nullptr);
        orva::sim::safe::unlinkBeneath(state->sandbox->root(), recordPath(item.first));
    }
    delete state;
}

// The shared-memory state of the active sandbox, made on first use; null without a sandbox.
ShmState* activeState() {
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr) return nullptr;
    if (gShm == nullptr || gShm->sandbox != sandbox) {
        gShm = new ShmState;
        gShm->sandbox = sandbox;
        sandbox->addCleanup(endOfSandbox);
    }
    return gShm;
}

ShmState& requireState() {
    ShmState* state = activeState();
    if (state == nullptr) throw std::logic_error("orva-sim: shared memory needs an active sandbox");
    return *state;
}

// Whether id is still a live segment (made by creator, when given); its size.
bool stillExists(int id, size_t* size, pid_t creator = 0) {
    struct shmid_ds status {};
    if (realShmctl(id, IPC_STAT, &status) != 0) return false;
    if (creator != 0 && status.shm_cpid != creator) return false;
    if (size != nullptr) *size = status.shm_segsz;
    return true;
}

// The live segment behind key: this sandbox's table, else the record another process on the same
// sandbox directory left. Null when there is none.
Segment* findSegment(ShmState& state, int key) {
    auto found = state.segments.find(key);
    if (found != state.segments.end()) {
        if (found->second.owned || stillExists(found->second.id, &found->second.size)) return &found->second;
        state.segments.erase(found);
        return nullptr;
    }
    // The record names the creating process too, so that a stale record never leads to a
    // segment that reused its id.
    std::istringstream record(orva::sim::safe::readBeneath(state.sandbox->root(), recordPath(key)));
    Segment segment;
    pid_t creator = 0;
    if (!(record >> segment.id >> creator) || !stillExists(segment.id, &segment.size, creator)) return nullptr;
    return &(state.segments[key] = segment);
}

Segment* segmentWithId(ShmState& state, int id) {
    for (auto& item : state.segments) {
        if (item.second.id == id) return &item.second;
    }
    return nullptr;
}

// A fresh private segment behind key, attached read-write by the sandbox and marked for removal
// at once (Linux still lets others attach it by id while it is attached). errno on failure.
Segment* createSegment(ShmState& state, int key, size_t size) {
    const int id = realShmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    if (id < 0) return nullptr;
    void* mapping = realShmat(id, nullptr, 0);
    if (mapping == kFailedAttach) {
        const int error = errno;
        realShmctl(id, IPC_RMID, nullptr);
        errno = error;
        return nullptr;
    }
    realShmctl(id, IPC_RMID, nullptr);
    Segment segment;
    segment.id = id;
    segment.size = size;
    segment.mapping = mapping;
    segment.owned = true;
    const std::string text = std::to_string(id) + " " + std::to_string(getpid()) + "\n";
    orva::sim::safe::replaceBeneath(state.sandbox->root(), recordPath(key), text, 0644, true);
    return &(state.segments[key] = segment);
}

bool takeFault(Sandbox& sandbox, const char* function, Fault& taken) {
    auto& faults = orva::sim::Hooks::state(sandbox)->faults;
    for (auto it = faults.begin(); it != faults.end(); ++it) {
        if (it->first != function || it->second.call != Call::Shm || it->second.times <= 0) continue;
        taken = it->second;
        if (--it->second.times == 0) faults.erase(it);
        return true;
    }
    return false;
}


JournalEntry shmEntry(const char* function, std::vector<std::string> arguments) {
    JournalEntry entry;
    entry.call = Call::Shm;
    entry.path = function;
    entry.arguments = std::move(arguments);
    return entry;
}

std::string shmFlagsText(int flags) {
    std::string text;
    auto add = [&text](const char* name) { text += text.empty() ? name : std::string("|") + name; };
    if (flags & IPC_CREAT) add("IPC_CREAT");
    if (flags & IPC_EXCL) add("IPC_EXCL");
    if (flags & SHM_RDONLY) add("SHM_RDONLY");
    if (flags & SHM_RND) add("SHM_RND");
    const int permissions = flags & 0777;
    if (permissions != 0) {
        char octal[8];
        snprintf(octal, sizeof(octal), "0%o", static_cast<unsigned>(permissions));
        add(octal);
    }
    return text.empty() ? "0" : text;
}

std::string commandText(int command) {
    switch (command) {
    case IPC_STAT: return "IPC_STAT";
    case IPC_SET: return "IPC_SET";
    case IPC_RMID: return "IPC_RMID";
    default: return std::to_string(command);
    }
}

std::string addressText(const void* address) {
    if (address == nullptr) return "NULL";
    char text[32];
    snprintf(text, sizeof(text), "%p", address);
    return text;
}

int failWith(JournalEntry& entry, Sandbox& sandbox, int error) {
    entry.result = -1;
    entry.error = error;
    sandbox.record(entry);
    errno = error;
    return -1;
}

}  // namespace

extern "C" {

int shmget(key_t key, size_t size, int flags) {
    HookScope scope;
    ShmState* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr || state->keys.count(key) == 0) return realShmget(key, size, flags);
    Sandbox& sandbox = *state->sandbox;
    JournalEntry entry = shmEntry("shmget", {keyText(key), std::to_string(size), shmFlagsText(flags)});
    entry.offset = key;
    entry.count = size;
    entry.flags = flags;
    Fault fault;
    if (takeFault(sandbox, "shmget", fault)) return failWith(entry, sandbox, fault.error);
    Segment* segment = findSegment(*state, key);
    if (segment != nullptr) {
        // The kernel's rules for an existing key.
        if ((flags & IPC_CREAT) && (flags & IPC_EXCL)) return failWith(entry, sandbox, EEXIST);
        if (size > segment->size) return failWith(entry, sandbox, EINVAL);
    } else {
        if (!(flags & IPC_CREAT)) return failWith(entry, sandbox, ENOENT);
        if (size == 0) return failWith(entry, sandbox, EINVAL);
        segment = createSegment(*state, key, size);
        if (segment == nullptr) return failWith(entry, sandbox, errno);
    }
    entry.result = segment->id;
    sandbox.record(entry);
    return segment->id;
}

void* shmat(int id, const void* address, int flags) {
    HookScope scope;
    ShmState* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr || segmentWithId(*state, id) == nullptr) return realShmat(id, address, flags);
    Sandbox& sandbox = *state->sandbox;
    JournalEntry entry = shmEntry("shmat", {std::to_string(id), addressText(address), shmFlagsText(flags)});
    entry.fd = id;
    entry.flags = flags;
    Fault fault;
    if (takeFault(sandbox, "shmat", fault)) {
        failWith(entry, sandbox, fault.error);
        return kFailedAttach;
    }
    void* attached = realShmat(id, address, flags);
    if (attached == kFailedAttach) {
        failWith(entry, sandbox, errno);
        return kFailedAttach;
    }
    entry.result = static_cast<long long>(reinterpret_cast<uintptr_t>(attached));
    sandbox.record(entry);
    return attached;
}

int shmctl(int id, int command, struct shmid_ds* status) {
    HookScope scope;
    ShmState* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr || segmentWithId(*state, id) == nullptr) return realShmctl(id, command, status);
    Sandbox& sandbox = *state->sandbox;
    JournalEntry entry = shmEntry("shmctl", {std::to_string(id), commandText(command), addressText(status)});
    entry.fd = id;
    entry.flags = command;
    Fault fault;
    if (takeFault(sandbox, "shmctl", fault)) return failWith(entry, sandbox, fault.error);
    const int result = realShmctl(id, command, status);
    if (result < 0) return failWith(entry, sandbox, errno);
    if (command == IPC_STAT && status != nullptr) entry.count = status->shm_segsz;
    entry.result = result;
    sandbox.record(entry);
    return result;
}

// Every detach in a sandbox is journaled: the library also detaches what it never attached.
int shmdt(const void* address) {
    HookScope scope;
    ShmState* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr) return realShmdt(address);
    Sandbox& sandbox = *state->sandbox;
    JournalEntry entry = shmEntry("shmdt", {addressText(address)});
    Fault fault;
    if (takeFault(sandbox, "shmdt", fault)) return failWith(entry, sandbox, fault.error);
    const int result = realShmdt(address);
    if (result < 0) return failWith(entry, sandbox, errno);
    entry.result = result;
    sandbox.record(entry);
    return result;
}

}  // extern "C"

namespace orva::sim {

namespace {

Segment& requireSegment(int key) {
    Segment* segment = findSegment(requireState(), key);
    if (segment == nullptr) throw std::logic_error("orva-sim: no shared-memory segment " + keyText(key));
    return *segment;
}

// Runs work on the segment's bytes: the sandbox's own attachment, or a passing one.
template <typename Work>
void withBytes(int key, size_t offset, size_t count, Work work) {
    Segment& segment = requireSegment(key);
    if (offset > segment.size || count > segment.size - offset) {
        throw std::out_of_range("orva-sim: bytes " + std::to_string(offset) + ".." + std::to_string(offset + count) +
                                " outside segment " + keyText(key) + " of " + std::to_string(segment.size));
    }
    if (segment.mapping != nullptr) {
        work(static_cast<uint8_t*>(segment.mapping));
        return;
    }
    void* mapping = realShmat(segment.id, nullptr, 0);
    if (mapping == kFailedAttach) {
        throw std::runtime_error("orva-sim: cannot attach segment " + keyText(key) + ": " + strerror(errno));
    }
    work(static_cast<uint8_t*>(mapping));
    realShmdt(mapping);
}

}  // namespace

void SharedMemory::simulateKey(int key) { requireState().keys.insert(key); }

bool SharedMemory::isSimulatedKey(int key) { return requireState().keys.count(key) != 0; }

int SharedMemory::create(int key, size_t size) {
    ShmState& state = requireState();
    if (findSegment(state, key) != nullptr) {
        throw std::logic_error("orva-sim: segment " + keyText(key) + " already exists");
    }
    state.keys.insert(key);
    Segment* segment = createSegment(state, key, size);
    if (segment == nullptr) {
        throw std::runtime_error("orva-sim: cannot create segment " + keyText(key) + ": " + strerror(errno));
    }
    return segment->id;
}

void SharedMemory::adopt(int key, int shmid) {
    ShmState& state = requireState();
    Segment segment;
    segment.id = shmid;
    if (!stillExists(shmid, &segment.size)) {
        throw std::invalid_argument("orva-sim: no System V segment with id " + std::to_string(shmid));
    }
    remove(key);
    state.keys.insert(key);
    state.segments[key] = segment;
}

void SharedMemory::remove(int key) {
    ShmState& state = requireState();
    auto found = state.segments.find(key);
    if (found == state.segments.end()) return;
    const Segment segment = found->second;
    state.segments.erase(found);
    if (!segment.owned) return;
    if (segment.mapping != nullptr) realShmdt(segment.mapping);
    realShmctl(segment.id, IPC_RMID, nullptr);
    orva::sim::safe::unlinkBeneath(state.sandbox->root(), recordPath(key));
}

bool SharedMemory::exists(int key) { return findSegment(requireState(), key) != nullptr; }

int SharedMemory::id(int key) {
    const Segment* segment = findSegment(requireState(), key);
    return segment == nullptr ? -1 : segment->id;
}

size_t SharedMemory::size(int key) { return requireSegment(key).size; }

unsigned long SharedMemory::attachments(int key) {
    struct shmid_ds status {};
    if (realShmctl(requireSegment(key).id, IPC_STAT, &status) != 0) return 0;
    return static_cast<unsigned long>(status.shm_nattch);
}

void SharedMemory::write(int key, size_t offset, const std::string& bytes) {
    withBytes(key, offset, bytes.size(), [&](uint8_t* data) { memcpy(data + offset, bytes.data(), bytes.size()); });
}

void SharedMemory::setByte(int key, size_t offset, uint8_t value) {
    withBytes(key, offset, 1, [&](uint8_t* data) { data[offset] = value; });
}

std::string SharedMemory::read(int key) {
    std::string bytes;
    const size_t size = requireSegment(key).size;
    withBytes(key, 0, size, [&](uint8_t* data) { bytes.assign(reinterpret_cast<const char*>(data), size); });
    return bytes;
}

uint8_t SharedMemory::byte(int key, size_t offset) {
    uint8_t value = 0;
    withBytes(key, offset, 1, [&](uint8_t* data) { value = data[offset]; });
    return value;
}

}  // namespace orva::sim
