// System calls and heap allocations of the benchmark process, counted as they happen.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace orva::bench {

struct Counters {
    size_t systemCalls = 0;
    size_t allocations = 0;
};
extern Counters counters;

// One file call as the library made it.
struct Recorded {
    enum Kind { Open, Read, Write, Close } kind;
    std::string path;
    int fd;
    int flags;
    unsigned mode;
    std::string bytes;
    size_t count;
    long long offset;
};

// While non-null, every file call is appended here.
extern std::vector<Recorded>* recording;

}  // namespace orva::bench
