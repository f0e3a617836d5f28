// Compiled with the shipped library's own definitions and options: a read into a stack buffer
// whose length is known only at run time must go through the checking variant of pread64 and
// a stack protector, as any such code in the library would.
#include <cstddef>
#include <fcntl.h>
#include <unistd.h>

extern "C" __attribute__((visibility("default"))) long orvaHardeningProbe(int fd, size_t count) {
    char buffer[32];
    const ssize_t got = ::pread64(fd, buffer, count, 0);
    return got > 0 ? static_cast<long>(buffer[0]) : -1;
}
