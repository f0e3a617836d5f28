// The benchmark program's own definitions of the file calls the library makes: each forwards to
// libc and counts, so that a benchmark can report the system calls of one operation. The same
// definitions serve the hand-written calls of the minimum, so both sides pay the same forwarding.
#include "CountingCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <new>

namespace orva::bench {

Counters counters;
std::vector<Recorded>* recording = nullptr;

namespace {

template <typename Function>
Function next(const char* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) abort();
    return reinterpret_cast<Function>(symbol);
}

using OpenFn = int (*)(const char*, int, ...);
using PreadFn = ssize_t (*)(int, void*, size_t, off64_t);
using PwriteFn = ssize_t (*)(int, const void*, size_t, off64_t);
using CloseFn = int (*)(int);

OpenFn realOpen = next<OpenFn>("open64");
PreadFn realPread = next<PreadFn>("pread64");
PwriteFn realPwrite = next<PwriteFn>("pwrite64");
CloseFn realClose = next<CloseFn>("close");

}  // namespace
}  // namespace orva::bench

using orva::bench::counters;
using orva::bench::Recorded;
using orva::bench::recording;

extern "C" int open64(const char* path, int flags, ...) {
    unsigned mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, unsigned);
        va_end(args);
    }
    ++counters.systemCalls;
    const int fd = orva::bench::realOpen(path, flags, mode);
    if (recording != nullptr) recording->push_back({Recorded::Open, path, fd, flags, mode, {}, 0, 0});
    return fd;
}

extern "C" ssize_t pread64(int fd, void* buffer, size_t count, off64_t offset) {
    ++counters.systemCalls;
    if (recording != nullptr) recording->push_back({Recorded::Read, {}, fd, 0, 0, {}, count, offset});
    return orva::bench::realPread(fd, buffer, count, offset);
}

extern "C" ssize_t pwrite64(int fd, const void* buffer, size_t count, off64_t offset) {
    ++counters.systemCalls;
    if (recording != nullptr) {
        recording->push_back(
            {Recorded::Write, {}, fd, 0, 0, std::string(static_cast<const char*>(buffer), count), count, offset});
    }
    return orva::bench::realPwrite(fd, buffer, count, offset);
}

extern "C" int close(int fd) {
    ++counters.systemCalls;
    if (recording != nullptr) recording->push_back({Recorded::Close, {}, fd, 0, 0, {}, 0, 0});
    return orva::bench::realClose(fd);
}

// Every heap allocation of the process.
void* operator new(size_t size) {
    ++counters.allocations;
    if (void* block = malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    ++counters.allocations;
    return malloc(size == 0 ? 1 : size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept { return operator new(size, tag); }
void operator delete(void* block) noexcept { free(block); }
void operator delete[](void* block) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }
void operator delete[](void* block, size_t) noexcept { free(block); }
