// Program stand-ins: posix_spawn, posix_spawnp and waitpid. Built like Hooks.cpp, without
// _FILE_OFFSET_BITS, _TIME_BITS and _FORTIFY_SOURCE, so that every prototype is libc's own.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <sys/types.h>
#include <sys/wait.h>

#include "RealFunctions.h"
#include "orva/sim/Programs.h"
#include "orva/sim/Sandbox.h"

using orva::sim::Call;
using orva::sim::JournalEntry;
using orva::sim::ProgramOutcome;
using orva::sim::ProgramStandIn;
using orva::sim::Sandbox;

namespace {

// Stand-ins of the active sandbox and the runs nobody has waited for yet.
struct ProgramTable {
    Sandbox* owner = nullptr;
    std::map<std::string, ProgramStandIn> programs;
    std::map<pid_t, int> unreaped;  // pid handed out -> wait status
    pid_t nextPid = 0;
};

// Far above any pid the kernel hands out (at most 2^22), so a stand-in's pid never names a real child.
constexpr pid_t kFirstStandInPid = 0x40000000;

ProgramTable* gPrograms = nullptr;


ProgramTable& tableOf(Sandbox& sandbox) {
    if (gPrograms == nullptr || gPrograms->owner != &sandbox) {
        delete gPrograms;
        gPrograms = new ProgramTable;
        gPrograms->owner = &sandbox;
        gPrograms->nextPid = kFirstStandInPid;
        sandbox.addCleanup([] {
            delete gPrograms;
            gPrograms = nullptr;
        });
    }
    return *gPrograms;
}

Sandbox& activeSandbox() {
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr) throw std::logic_error("orva-sim: program stand-ins need an active sandbox");
    return *sandbox;
}

// The stand-in for program; posix_spawnp also finds a registered path by its last component.
const ProgramStandIn* findStandIn(const char* program, bool searchPath) {
    if (gPrograms == nullptr || gPrograms->owner != Sandbox::active()) return nullptr;
    auto found = gPrograms->programs.find(program);
    if (found != gPrograms->programs.end()) return &found->second;
    if (searchPath && strchr(program, '/') == nullptr) {
        for (const auto& [path, standIn] : gPrograms->programs) {
            const size_t slash = path.rfind('/');
            if (slash != std::string::npos && path.compare(slash + 1, std::string::npos, program) == 0) return &standIn;
        }
    }
    return nullptr;
}

int spawnHook(pid_t* pid, const char* program, char* const argv[], bool searchPath) {
    const ProgramStandIn* standIn = findStandIn(program, searchPath);
    if (standIn == nullptr) {
        fprintf(stderr,
                "orva-sim: %s was started while a sandbox is active, but no stand-in is registered for it "
                "(orva::sim::registerProgram)\n",
                program);
        abort();
    }
    JournalEntry entry;
    entry.call = Call::Exec;
    entry.path = program;
    if (argv != nullptr && argv[0] != nullptr) {
        for (char* const* argument = argv + 1; *argument != nullptr; ++argument) entry.arguments.emplace_back(*argument);
    }
    // Copied: the stand-in may replace its own registration.
    const ProgramStandIn run = *standIn;
    const ProgramOutcome outcome = run(entry.arguments);
    Sandbox* sandbox = Sandbox::active();
    if (outcome.spawnError != 0) {
        entry.result = -1;
        entry.error = outcome.spawnError;
        sandbox->record(entry);
        return outcome.spawnError;
    }
    int status;
    if (outcome.signal != 0) {
        status = outcome.signal & 0x7f;
        entry.result = 128 + outcome.signal;
    } else {
        status = (outcome.exitCode & 0xff) << 8;
        entry.result = outcome.exitCode & 0xff;
    }
    ProgramTable& table = tableOf(*sandbox);
    const pid_t child = table.nextPid++;
    table.unreaped[child] = status;
    entry.fd = -1;
    sandbox->record(entry);
    if (pid != nullptr) *pid = child;
    return 0;
}

}  // namespace

namespace orva::sim {

ProgramOutcome ProgramOutcome::exited(int code) {
    ProgramOutcome outcome;
    outcome.exitCode = code;
    return outcome;
}

ProgramOutcome ProgramOutcome::killed(int signal) {
    ProgramOutcome outcome;
    outcome.signal = signal;
    return outcome;
}

ProgramOutcome ProgramOutcome::notStarted(int error) {
    ProgramOutcome outcome;
    outcome.spawnError = error;
    return outcome;
}

void registerProgram(const std::string& path, ProgramStandIn standIn) {
    if (!standIn) throw std::invalid_argument("orva-sim: empty stand-in for " + path);
    tableOf(activeSandbox()).programs[path] = std::move(standIn);
}

void registerProgram(const std::string& path, int exitCode) {
    registerProgram(path, [exitCode](const std::vector<std::string>&) { return ProgramOutcome::exited(exitCode); });
}

void unregisterProgram(const std::string& path) { tableOf(activeSandbox()).programs.erase(path); }

bool isProgramRegistered(const std::string& path) { return findStandIn(path.c_str(), false) != nullptr; }

std::vector<std::vector<std::string>> programRuns(const std::string& path) {
    std::vector<std::vector<std::string>> runs;
    for (const JournalEntry& entry : activeSandbox().journal()) {
        if (entry.call == Call::Exec && entry.path == path) runs.push_back(entry.arguments);
    }
    return runs;
}

}  // namespace orva::sim

extern "C" {

int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* fileActions,
                const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]) {
    ORVA_REAL(posix_spawn);
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr || (sandbox->runsProgramsWithoutStandIn() && findStandIn(path, false) == nullptr)) {
        return real(pid, path, fileActions, attributes, argv, envp);
    }
    return spawnHook(pid, path, argv, false);
}

int posix_spawnp(pid_t* pid, const char* file, const posix_spawn_file_actions_t* fileActions,
                 const posix_spawnattr_t* attributes, char* const argv[], char* const envp[]) {
    ORVA_REAL(posix_spawnp);
    Sandbox* sandbox = Sandbox::active();
    if (sandbox == nullptr || (sandbox->runsProgramsWithoutStandIn() && findStandIn(file, true) == nullptr)) {
        return real(pid, file, fileActions, attributes, argv, envp);
    }
    return spawnHook(pid, file, argv, true);
}

pid_t waitpid(pid_t pid, int* status, int options) {
    ORVA_REAL(waitpid);
    if (gPrograms != nullptr && !gPrograms->unreaped.empty()) {
        auto found = pid > 0 ? gPrograms->unreaped.find(pid) : gPrograms->unreaped.begin();
        if (found != gPrograms->unreaped.end()) {
            const pid_t child = found->first;
            if (status != nullptr) *status = found->second;
            gPrograms->unreaped.erase(found);
            return child;
        }
    }
    return real(pid, status, options);
}

}  // extern "C"
