// Shared by the tests of the LED faces that open, write and close a file on each write: readable
// journal lines and the simulator's own cost of a sequence of calls.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "orva/platform.h"

namespace orva::test::sysfs {

// Bytes as a test states them: NUL as \0 and newline as \n.
inline std::string shown(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c == '\0') {
            text += "\\0";
        } else if (c == '\n') {
            text += "\\n";
        } else {
            text += c;
        }
    }
    return text;
}

// One line per call: "open PATH", "write PATH 49\0", "read PATH 0000ff\n", "close PATH". A failed
// call ends with " -> -1" (or the descriptor 0 it handed out).
inline std::vector<std::string> trace(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) {
        std::string line = std::string(orva::sim::callName(entry.call)) + " " + entry.path;
        if (entry.call == Call::Write || entry.call == Call::Read) line += " " + shown(entry.bytes);
        if (entry.call == Call::Open && entry.result <= 0) line += " -> " + std::to_string(entry.result);
        if (entry.call != Call::Open && entry.result < 0) line += " -> " + std::to_string(entry.result);
        lines.push_back(line);
    }
    return lines;
}

// The open, write and close of one plain write of text (its NUL included).
inline std::vector<std::string> plainWrite(const std::string& path, const std::string& text) {
    return {"open " + path, "write " + path + " " + text + "\\0", "close " + path};
}

inline std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> parts) {
    std::vector<std::string> lines;
    for (const auto& part : parts) lines.insert(lines.end(), part.begin(), part.end());
    return lines;
}

// The descriptor as the failure messages print it.
inline std::string hex(long long fd) {
    char text[32];
    snprintf(text, sizeof(text), "0x%llx", fd);
    return text;
}

// Heap allocations of making the journal's calls directly, the way the library does (and calling
// isFile on each of probed first): what the simulator and platform cost on their own. The journal
// must have been cleared; pass a copy taken before.
inline size_t simulatorCost(const std::vector<JournalEntry>& calls, const std::vector<std::string>& probed = {}) {
    AllocationScope scope;
    for (const std::string& path : probed) (void)isFile(path.c_str());
    int fd = -1;
    char buffer[16];
    for (const JournalEntry& entry : calls) {
        switch (entry.call) {
        case Call::Open: fd = ::open64(entry.path.c_str(), entry.flags, entry.mode); break;
        case Call::Read: (void)::pread64(fd, buffer, entry.count, 0); break;
        case Call::Write: (void)::pwrite64(fd, entry.bytes.data(), entry.bytes.size(), 0); break;
        case Call::Close: ::close(fd); break;
        default: break;
        }
    }
    return scope.count();
}

}  // namespace orva::test::sysfs
