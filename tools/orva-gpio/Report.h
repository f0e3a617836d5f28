// Readable output of what the library did: kernel calls from the simulator's journal.
#pragma once

#include <string>

#if ORVA_TOOL_SIMULATOR
#include "orva/sim/Sandbox.h"
#endif

namespace orva::tool {

// "39\0" for the bytes '3' '9' NUL: printable bytes as they are, others escaped.
std::string escapeBytes(const std::string& bytes);
#if ORVA_TOOL_SIMULATOR
// One line for a journaled call: "write /sys/... fd 3 @0 \"39\\0\" (3 bytes) -> 3".
std::string describe(const orva::sim::JournalEntry& entry);
#endif

}  // namespace orva::tool
