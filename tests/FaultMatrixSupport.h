// The fault matrix: every system call site of every LED face and button, crossed with every fault
// the simulator can inject at that kind of call. A subject (face or button) declares its sites; each
// (subject, site, fault) cell is one row holding the set-up, the failing operation and its checks.
// The runner wraps every row in a fresh simulated board and checks that destruction gives back every
// descriptor the subject opened (but those it keeps for the process); rows of subjects with
// process-wide state run in a child process.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "FreshProcess.h"
#include "LogCapture.h"
#include "orva/sim/SimBoard.h"

namespace orva::test::matrix {

// The kind of call a site makes: the part of the site name before '_' ("write_red" is a write).
inline std::string kindOf(const std::string& site) { return site.substr(0, site.find('_')); }

// Every fault the simulator injects, by kind of call.
//   file calls: an errno (EIO), EINTR (the library retries), descriptor 0 from open, a missing
//   attribute file, a short write, an empty read;
//   System V shared memory: the call fails with an errno;
//   program runs: non-zero exit, spawn failure, killed by a signal;
//   MDIO: the MII request fails with an errno.
inline const std::map<std::string, std::vector<std::string>>& faultClasses() {
    static const std::map<std::string, std::vector<std::string>> classes = {
        {"open", {"EIO", "EINTRRetried", "DescriptorZero", "MissingFile"}},
        {"read", {"EIO", "EINTRRetried", "EmptyRead"}},
        {"write", {"EIO", "EINTRRetried", "ShortWrite"}},
        {"close", {"EIO"}},
        {"shmget", {"Fails"}},
        {"shmat", {"Fails"}},
        {"shmctl", {"Fails"}},
        {"shmdt", {"Fails"}},
        {"exec", {"NonZeroExit", "SpawnFailure", "KilledBySignal"}},
        {"mdioinit", {"Fails"}},
        {"mdioread", {"Fails"}},
        {"mdiowrite", {"Fails"}},
    };
    return classes;
}

// What a row's body works with: the simulated board of the case and the captured log.
struct Context {
    orva::sim::SimBoard& board;
    LogCapture& log;
    orva::sim::Sandbox& sandbox() { return board.sandbox(); }
};

struct Row {
    std::string subject;
    std::string site;
    std::string fault;
    uint32_t sysid = 0;
    bool freshProcess = false;
    // Sets up the fault, builds the subject, runs the failing operation and checks its result,
    // log records and state; the subject must be destroyed before it returns.
    std::function<void(Context&)> body;
    // Descriptors the subject keeps open for the life of the process, beyond its own destruction.
    int keptOpen = 0;
};

inline std::string rowName(const Row& row) { return row.subject + "_" + row.site + "_" + row.fault; }

inline void PrintTo(const Row& row, std::ostream* os) { *os << rowName(row); }

// One subject: its name and its call sites.
struct Subject {
    std::string name;
    std::vector<std::string> sites;
};

// Every cell the subjects declare: (subject, site, fault).
using Cell = std::tuple<std::string, std::string, std::string>;

inline std::set<Cell> declaredCells(const std::vector<Subject>& subjects) {
    std::set<Cell> cells;
    for (const Subject& subject : subjects) {
        for (const std::string& site : subject.sites) {
            const auto classes = faultClasses().find(kindOf(site));
            if (classes == faultClasses().end()) {
                ADD_FAILURE() << subject.name << ": site " << site << " is of no known kind";
                continue;
            }
            for (const std::string& fault : classes->second) cells.emplace(subject.name, site, fault);
        }
    }
    return cells;
}

// Runs a row: a fresh board of the row's sysid, log capture, the body, and the descriptor balance.
inline void runRow(const Row& row) {
    const auto run = [&row] {
        orva::sim::SimBoard board(row.sysid);
        LogCapture log;
        const int before = board.sandbox().openDescriptors();
        Context context{board, log};
        row.body(context);
        EXPECT_EQ(board.sandbox().openDescriptors(), before + row.keptOpen)
            << rowName(row) << ": descriptors left open";
    };
    if (row.freshProcess) {
        inFreshProcess(run);
    } else {
        run();
    }
}

}  // namespace orva::test::matrix
