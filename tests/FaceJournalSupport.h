// Readable views of the simulator journal for the single-file LED faces, and the simulator's own
// heap cost of journaling a call (so that a test can tell the face's allocations from it).
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <unistd.h>
#include <vector>

#include "AllocationCounter.h"
#include "BoardFixture.h"

namespace orva::test {

// One call on an attribute file as the journal holds it: the kind, the path, the exact bytes
// (write: handed in; read: returned) and the result.
struct FileCall {
    Call call;
    std::string path;
    std::string bytes;
    long long result;
};

inline bool operator==(const FileCall& a, const FileCall& b) {
    return a.call == b.call && a.path == b.path && a.bytes == b.bytes && a.result == b.result;
}

inline void PrintTo(const FileCall& c, std::ostream* os) {
    *os << "{" << orva::sim::callName(c.call) << " " << c.path << " \"";
    for (const char ch : c.bytes) {
        if (ch == '\0') {
            *os << "\\0";
        } else if (ch == '\n') {
            *os << "\\n";
        } else {
            *os << ch;
        }
    }
    *os << "\" -> " << c.result << "}";
}

inline FileCall openOf(const std::string& path, long long fd) { return FileCall{Call::Open, path, "", fd}; }
// A write of text and its NUL, all bytes taken.
inline FileCall writeOf(const std::string& path, const std::string& text) {
    return FileCall{Call::Write, path, withNul(text), static_cast<long long>(text.size() + 1)};
}
inline FileCall readOf(const std::string& path, const std::string& bytes) {
    return FileCall{Call::Read, path, bytes, static_cast<long long>(bytes.size())};
}
inline FileCall closeOf(const std::string& path) { return FileCall{Call::Close, path, "", 0}; }

// The open, read, write and close calls of a journal, in order.
inline std::vector<FileCall> fileCalls(const std::vector<JournalEntry>& journal) {
    std::vector<FileCall> selected;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Open || entry.call == Call::Read || entry.call == Call::Write ||
            entry.call == Call::Close) {
            selected.push_back(FileCall{entry.call, entry.path, entry.bytes, entry.result});
        }
    }
    return selected;
}

// Heap allocations the simulator makes to journal one positional write of bytes on fd, measured
// by making that write directly. A face's own steady-state cost is its count minus this.
inline size_t simulatorAllocationsPerWrite(int fd, const std::string& bytes) {
    AllocationScope scope;
    const ssize_t written = ::pwrite64(fd, bytes.data(), bytes.size(), 0);
    EXPECT_EQ(written, static_cast<ssize_t>(bytes.size()));
    return scope.count();
}

}  // namespace orva::test
