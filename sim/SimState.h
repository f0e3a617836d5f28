// State shared by the sandbox API and the libc hooks.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "orva/sim/Sandbox.h"

namespace orva::sim {

struct Sandbox::State {
    std::string root;
    bool ownsRoot = false;
    std::vector<JournalEntry> journal;
    std::unordered_map<int, std::string> descriptors;  // open descriptor -> kernel path
    std::vector<std::pair<std::string, Fault>> faults;
    uint64_t virtualUs = 0;
    std::vector<uint64_t> sleeps;
    std::vector<std::function<void()>> cleanups;
    bool realTime = false;
    int journalFd = -1;  // journal file, or -1
    bool keepJournal = true;
    bool runUnknownPrograms = false;
};

// Virtual CLOCK_MONOTONIC at the start of a sandbox.
constexpr uint64_t kClockBaseUs = 1000u * 1000u;

struct Hooks {
    static Sandbox::State* state(Sandbox& sandbox) { return sandbox.state_; }
};

}  // namespace orva::sim
