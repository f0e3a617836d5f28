// libc entry points that reach kernel attribute files and the clock. Built without
// _FILE_OFFSET_BITS, _TIME_BITS and _FORTIFY_SOURCE so that every prototype is the exact one.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include "RealFunctions.h"
#include "SafePath.h"
#include "SimState.h"

namespace orva::sim {
extern Sandbox* gActiveSandbox;
}

using orva::sim::Call;
using orva::sim::Fault;
using orva::sim::JournalEntry;
using orva::sim::HookScope;
using orva::sim::Sandbox;

namespace {

Sandbox::State* activeState() {
    Sandbox* sandbox = orva::sim::gActiveSandbox;
    return sandbox == nullptr ? nullptr : orva::sim::Hooks::state(*sandbox);
}

// The kernel path behind a simulated descriptor, or null.
const std::string* simulatedPath(Sandbox::State* state, int fd) {
    if (state == nullptr) return nullptr;
    auto found = state->descriptors.find(fd);
    return found == state->descriptors.end() ? nullptr : &found->second;
}

// Takes the first pending fault for path and call; null when there is none.
bool takeFault(Sandbox::State* state, const std::string& path, Call call, Fault& taken) {
    for (auto it = state->faults.begin(); it != state->faults.end(); ++it) {
        if (it->first != path || it->second.call != call || it->second.times <= 0) continue;
        taken = it->second;
        if (--it->second.times == 0) state->faults.erase(it);
        return true;
    }
    return false;
}

void record(JournalEntry entry) { orva::sim::gActiveSandbox->record(std::move(entry)); }

int realOpen(const char* path, int flags, mode_t mode) {
    ORVA_REAL(open64);
    return real(path, flags, mode);
}

// sysfs: an existing attribute opens (O_TRUNC ignored); write access to a read-only attribute is
// refused even for root; a missing attribute in an existing directory is EACCES with O_CREAT,
// anything else missing is ENOENT.
int simulatedOpen(Sandbox::State* state, const char* path, int flags, mode_t mode) {
    JournalEntry entry;
    entry.call = Call::Open;
    entry.path = path;
    entry.flags = flags;
    entry.mode = mode;
    Fault fault;
    if (takeFault(state, path, Call::Open, fault)) {
        if (fault.kind == Fault::Kind::ZeroDescriptor) {
            entry.fd = 0;
            entry.result = 0;
            record(entry);
            return 0;
        }
        entry.result = -1;
        entry.error = fault.error;
        record(entry);
        errno = fault.error;
        return -1;
    }
    // Nothing below the sandbox root is followed if it is a symbolic link: a planted link is
    // refused (ELOOP) instead of leading out of the sandbox.
    namespace safe = orva::sim::safe;
    struct stat64 info {};
    int error = 0;
    if (safe::statBeneath(state->root, path, info) == 0) {
        if (S_ISLNK(info.st_mode)) {
            error = ELOOP;
        } else if (S_ISDIR(info.st_mode)) {
            error = (flags & O_ACCMODE) == O_RDONLY ? 0 : EISDIR;
        } else if ((flags & O_ACCMODE) != O_RDONLY && (info.st_mode & 0222) == 0) {
            error = EACCES;
        } else if ((flags & O_ACCMODE) == O_RDONLY && (info.st_mode & 0444) == 0) {
            error = EACCES;
        }
    } else if (errno == ELOOP) {
        error = ELOOP;
    } else {
        const std::string directory = std::string(path).substr(0, std::string(path).rfind('/'));
        struct stat64 parent {};
        const bool parentExists = safe::statBeneath(state->root, directory, parent) == 0 && S_ISDIR(parent.st_mode);
        error = (parentExists && (flags & O_CREAT)) ? EACCES : ENOENT;
    }
    int fd = -1;
    if (error == 0) {
        fd = safe::openBeneath(state->root, path, S_ISDIR(info.st_mode) ? O_RDONLY : O_RDWR);
        if (fd < 0) error = errno;
    }
    entry.fd = fd;
    entry.result = fd;
    entry.error = error;
    if (fd >= 0) state->descriptors[fd] = path;
    record(entry);
    errno = error;
    return fd < 0 ? -1 : fd;
}

// An attribute's text: the stored value and a newline, regenerated on every read. Read by path, not
// through the descriptor: values are replaced atomically by a new file, as a show handler runs afresh.
std::string showText(const Sandbox::State* state, const std::string& path) {
    std::string stored = orva::sim::safe::readBeneath(state->root, path);
    const size_t end = stored.find_first_of(std::string("\n\0", 2));
    if (end != std::string::npos) stored.resize(end);
    return stored + "\n";
}

ssize_t simulatedRead(Sandbox::State* state, const std::string& path, int fd, void* buffer, size_t count,
                      off64_t offset) {
    JournalEntry entry;
    entry.call = Call::Read;
    entry.path = path;
    entry.fd = fd;
    entry.offset = offset;
    entry.count = count;
    Fault fault;
    if (takeFault(state, path, Call::Read, fault)) {
        if (fault.kind == Fault::Kind::EmptyRead) {
            entry.result = 0;
            record(entry);
            return 0;
        }
        entry.result = -1;
        entry.error = fault.error;
        record(entry);
        errno = fault.error;
        return -1;
    }
    const std::string text = showText(state, path);
    size_t available = offset < static_cast<off64_t>(text.size()) ? text.size() - static_cast<size_t>(offset) : 0;
    if (available > count) available = count;
    if (available > 0) memcpy(buffer, text.data() + offset, available);
    entry.bytes.assign(text.data() + (available ? offset : 0), available);
    entry.result = static_cast<long long>(available);
    record(entry);
    return static_cast<ssize_t>(available);
}

// A store call: the value becomes the text up to the first NUL or newline, whatever the offset.
ssize_t simulatedWrite(Sandbox::State* state, const std::string& path, int fd, const void* buffer, size_t count,
                       off64_t offset) {
    JournalEntry entry;
    entry.call = Call::Write;
    entry.path = path;
    entry.fd = fd;
    entry.offset = offset;
    entry.count = count;
    entry.bytes.assign(static_cast<const char*>(buffer), count);
    size_t taken = count;
    Fault fault;
    if (takeFault(state, path, Call::Write, fault)) {
        if (fault.kind == Fault::Kind::Errno) {
            entry.result = -1;
            entry.error = fault.error;
            record(entry);
            errno = fault.error;
            return -1;
        }
        if (fault.kind == Fault::Kind::ShortWrite && fault.bytes < count) taken = fault.bytes;
    }
    std::string value(static_cast<const char*>(buffer), taken);
    const size_t end = value.find_first_of(std::string("\n\0", 2));
    if (end != std::string::npos) value.resize(end);
    if (!orva::sim::safe::replaceBeneath(state->root, path, value)) {
        const int error = errno;
        entry.result = -1;
        entry.error = error;
        record(entry);
        errno = error;
        return -1;
    }
    entry.result = static_cast<long long>(taken);
    record(entry);
    return static_cast<ssize_t>(taken);
}

int openHook(const char* path, int flags, mode_t mode, int (*next)(const char*, int, ...)) {
    HookScope scope;
    Sandbox::State* state = scope.entered() ? activeState() : nullptr;
    if (state != nullptr && orva::sim::isSimulatedPath(path)) return simulatedOpen(state, path, flags, mode);
    if (state == nullptr && scope.entered() && orva::sim::isSimulatedPath(path) && (flags & O_ACCMODE) != O_RDONLY) {
        // Never touch the real kernel files from a process that carries the simulator.
        fprintf(stderr, "orva-sim: no sandbox is active; refusing to open %s for writing\n", path);
        errno = EACCES;
        return -1;
    }
    return next(path, flags, mode);
}

mode_t modeArgument(int flags, va_list args) {
    return (flags & (O_CREAT | O_TMPFILE)) ? static_cast<mode_t>(va_arg(args, int)) : 0;
}

ssize_t readHook(int fd, void* buffer, size_t count, off64_t offset, bool positional,
                 ssize_t (*next)(int, void*, size_t, off64_t), ssize_t (*nextStream)(int, void*, size_t)) {
    HookScope scope;
    Sandbox::State* state = scope.entered() ? activeState() : nullptr;
    const std::string* path = simulatedPath(state, fd);
    if (path != nullptr) {
        const std::string copy = *path;
        return simulatedRead(state, copy, fd, buffer, count, positional ? offset : 0);
    }
    return positional ? next(fd, buffer, count, offset) : nextStream(fd, buffer, count);
}

ssize_t writeHook(int fd, const void* buffer, size_t count, off64_t offset, bool positional,
                  ssize_t (*next)(int, const void*, size_t, off64_t), ssize_t (*nextStream)(int, const void*, size_t)) {
    HookScope scope;
    Sandbox::State* state = scope.entered() ? activeState() : nullptr;
    const std::string* path = simulatedPath(state, fd);
    if (path != nullptr) {
        const std::string copy = *path;
        return simulatedWrite(state, copy, fd, buffer, count, positional ? offset : 0);
    }
    return positional ? next(fd, buffer, count, offset) : nextStream(fd, buffer, count);
}

ssize_t realPread64(int fd, void* buffer, size_t count, off64_t offset) {
    ORVA_REAL(pread64);
    return real(fd, buffer, count, offset);
}
ssize_t realRead(int fd, void* buffer, size_t count) {
    ORVA_REAL(read);
    return real(fd, buffer, count);
}
ssize_t realPwrite64(int fd, const void* buffer, size_t count, off64_t offset) {
    ORVA_REAL(pwrite64);
    return real(fd, buffer, count, offset);
}
ssize_t realWrite(int fd, const void* buffer, size_t count) {
    ORVA_REAL(write);
    return real(fd, buffer, count);
}

int nextOpen(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = modeArgument(flags, args);
    va_end(args);
    return realOpen(path, flags, mode);
}

uint64_t addSleep(Sandbox::State* state, uint64_t us) {
    state->virtualUs += us;
    state->sleeps.push_back(us);
    JournalEntry entry;
    entry.call = Call::Sleep;
    entry.count = static_cast<size_t>(us);
    orva::sim::gActiveSandbox->record(entry);
    return us;
}

bool isVirtualClock(clockid_t clock) {
    return clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_MONOTONIC_COARSE ||
           clock == CLOCK_BOOTTIME;
}

// stat of a simulated path answers from the sandbox (the platform's isFile asks this way); other
// paths, and calls made while simulating, go to libc.
template <typename Real, typename Buffer>
int statHook(const char* path, Buffer* info, Real real) {
    HookScope scope;
    Sandbox::State* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr || !orva::sim::isSimulatedPath(path)) return real(path, info);
    // As for open: a link planted below the sandbox root is not followed out of it.
    struct stat64 checked {};
    if (orva::sim::safe::statBeneath(state->root, path, checked) != 0) return -1;
    if (S_ISLNK(checked.st_mode)) {
        errno = ELOOP;
        return -1;
    }
    const std::string file = state->root + path;
    return real(file.c_str(), info);
}

int realStat(const char* path, struct stat* info) {
    ORVA_REAL(stat);
    return real(path, info);
}

int realStat64(const char* path, struct stat64* info) {
    ORVA_REAL(stat64);
    return real(path, info);
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = modeArgument(flags, args);
    va_end(args);
    return openHook(path, flags, mode, nextOpen);
}

int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = modeArgument(flags, args);
    va_end(args);
    return openHook(path, flags, mode, nextOpen);
}

int __open_2(const char* path, int flags) { return openHook(path, flags, 0, nextOpen); }
int __open64_2(const char* path, int flags) { return openHook(path, flags, 0, nextOpen); }

static int openAtHook(int dirfd, const char* path, int flags, mode_t mode) {
    if (path != nullptr && path[0] == '/') return openHook(path, flags, mode, nextOpen);
    ORVA_REAL(openat64);
    return real(dirfd, path, flags, mode);
}

int openat(int dirfd, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = modeArgument(flags, args);
    va_end(args);
    return openAtHook(dirfd, path, flags, mode);
}

int openat64(int dirfd, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = modeArgument(flags, args);
    va_end(args);
    return openAtHook(dirfd, path, flags, mode);
}

int __openat_2(int dirfd, const char* path, int flags) { return openAtHook(dirfd, path, flags, 0); }
int __openat64_2(int dirfd, const char* path, int flags) { return openAtHook(dirfd, path, flags, 0); }

ssize_t pread64(int fd, void* buffer, size_t count, off64_t offset) {
    return readHook(fd, buffer, count, offset, true, realPread64, realRead);
}

ssize_t pread(int fd, void* buffer, size_t count, off_t offset) {
    return readHook(fd, buffer, count, offset, true, realPread64, realRead);
}

ssize_t __pread64_chk(int fd, void* buffer, size_t count, off64_t offset, size_t bufferSize) {
    if (count > bufferSize) {
        fprintf(stderr, "orva-sim: __pread64_chk buffer overflow\n");
        abort();
    }
    return readHook(fd, buffer, count, offset, true, realPread64, realRead);
}

ssize_t __pread_chk(int fd, void* buffer, size_t count, off_t offset, size_t bufferSize) {
    if (count > bufferSize) {
        fprintf(stderr, "orva-sim: __pread_chk buffer overflow\n");
        abort();
    }
    return readHook(fd, buffer, count, offset, true, realPread64, realRead);
}

ssize_t read(int fd, void* buffer, size_t count) {
    return readHook(fd, buffer, count, 0, false, realPread64, realRead);
}

ssize_t __read_chk(int fd, void* buffer, size_t count, size_t bufferSize) {
    if (count > bufferSize) {
        fprintf(stderr, "orva-sim: __read_chk buffer overflow\n");
        abort();
    }
    return readHook(fd, buffer, count, 0, false, realPread64, realRead);
}

ssize_t pwrite64(int fd, const void* buffer, size_t count, off64_t offset) {
    return writeHook(fd, buffer, count, offset, true, realPwrite64, realWrite);
}

ssize_t pwrite(int fd, const void* buffer, size_t count, off_t offset) {
    return writeHook(fd, buffer, count, offset, true, realPwrite64, realWrite);
}

ssize_t write(int fd, const void* buffer, size_t count) {
    return writeHook(fd, buffer, count, 0, false, realPwrite64, realWrite);
}

int close(int fd) {
    ORVA_REAL(close);
    HookScope scope;
    Sandbox::State* state = scope.entered() ? activeState() : nullptr;
    if (state == nullptr) return real(fd);
    const std::string* path = simulatedPath(state, fd);
    if (path == nullptr && fd != 0) return real(fd);
    JournalEntry entry;
    entry.call = Call::Close;
    entry.fd = fd;
    entry.path = path ? *path : std::string();
    Fault fault;
    if (path != nullptr && takeFault(state, *path, Call::Close, fault) && fault.kind == Fault::Kind::Errno) {
        // Linux releases the descriptor even when close reports an error.
        real(fd);
        state->descriptors.erase(fd);
        entry.result = -1;
        entry.error = fault.error;
        record(entry);
        errno = fault.error;
        return -1;
    }
    // Descriptor 0 is the process's standard input: journal a close of it, but keep it open.
    const int result = fd == 0 ? 0 : real(fd);
    entry.result = result;
    entry.error = result < 0 ? errno : 0;
    if (path != nullptr) state->descriptors.erase(fd);
    record(entry);
    return result;
}

int usleep(useconds_t us) {
    ORVA_REAL(usleep);
    Sandbox::State* state = activeState();
    if (state == nullptr || state->realTime) return real(us);
    addSleep(state, us);
    return 0;
}

int nanosleep(const struct timespec* request, struct timespec* remaining) {
    ORVA_REAL(nanosleep);
    Sandbox::State* state = activeState();
    if (state == nullptr || state->realTime || request == nullptr) return real(request, remaining);
    addSleep(state, static_cast<uint64_t>(request->tv_sec) * 1000000u + static_cast<uint64_t>(request->tv_nsec) / 1000u);
    if (remaining != nullptr) *remaining = timespec{};
    return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* request, struct timespec* remaining) {
    ORVA_REAL(clock_nanosleep);
    Sandbox::State* state = activeState();
    if (state == nullptr || state->realTime || request == nullptr || !isVirtualClock(clock)) {
        return real(clock, flags, request, remaining);
    }
    const uint64_t requestUs =
        static_cast<uint64_t>(request->tv_sec) * 1000000u + static_cast<uint64_t>(request->tv_nsec) / 1000u;
    const uint64_t nowUs = orva::sim::kClockBaseUs + state->virtualUs;
    if (flags & TIMER_ABSTIME) {
        if (requestUs > nowUs) addSleep(state, requestUs - nowUs);
    } else {
        addSleep(state, requestUs);
    }
    return 0;
}

int clock_gettime(clockid_t clock, struct timespec* now) {
    ORVA_REAL(clock_gettime);
    Sandbox::State* state = activeState();
    if (state == nullptr || state->realTime || !isVirtualClock(clock)) return real(clock, now);
    const uint64_t us = orva::sim::kClockBaseUs + state->virtualUs;
    now->tv_sec = static_cast<time_t>(us / 1000000u);
    now->tv_nsec = static_cast<long>((us % 1000000u) * 1000u);
    return 0;
}

int stat(const char* path, struct stat* info) { return statHook(path, info, realStat); }

int stat64(const char* path, struct stat64* info) { return statHook(path, info, realStat64); }

// The versioned entry points of binaries built against a glibc before 2.33: the same call with the
// kernel's structure version in front.
int __xstat(int, const char* path, struct stat* info) { return statHook(path, info, realStat); }

int __xstat64(int, const char* path, struct stat64* info) { return statHook(path, info, realStat64); }

#if __SIZEOF_POINTER__ == 4
// 32-bit targets built with 64-bit time (_TIME_BITS=64) call this one; its structure is only passed on.
int __stat64_time64(const char* path, void* info) {
    static int (*real)(const char*, void*) = nullptr;
    if (real == nullptr) real = reinterpret_cast<int (*)(const char*, void*)>(orva::sim::nextSymbol("__stat64_time64"));
    return statHook(path, info, real);
}
#endif

}  // extern "C"
