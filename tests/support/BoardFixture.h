// Common set-up of the tests: a simulated board and log capture.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "orva/sim/SimBoard.h"

namespace orva::test {

using orva::sim::Call;
using orva::sim::JournalEntry;

// Journal entries of one kind of call, in order.
inline std::vector<JournalEntry> calls(const std::vector<JournalEntry>& journal, Call call) {
    std::vector<JournalEntry> selected;
    for (const JournalEntry& entry : journal) {
        if (entry.call == call) selected.push_back(entry);
    }
    return selected;
}

// The bytes a string literal holds, NUL terminator included: bytesOf("99") == "99\0".
inline std::string withNul(const std::string& text) { return text + std::string(1, '\0'); }

}  // namespace orva::test
