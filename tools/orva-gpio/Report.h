// Readable output of what the library did: kernel calls from the simulator's journal and log records.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "orva/host_platform.h"
#include "orva/sim/Sandbox.h"

namespace orva::tool {

// Collects log records while alive instead of printing them as they come.
class LogCollector {
public:
    LogCollector();
    ~LogCollector();
    const std::vector<orva::host::LogRecord>& records() const { return records_; }

private:
    std::vector<orva::host::LogRecord> records_;
};

// "39\0" for the bytes '3' '9' NUL: printable bytes as they are, others escaped.
std::string escapeBytes(const std::string& bytes);
std::string describe(const orva::sim::JournalEntry& entry);
void printJournal(FILE* out, const std::vector<orva::sim::JournalEntry>& journal);
void printLog(FILE* out, const std::vector<orva::host::LogRecord>& records);

}  // namespace orva::tool
