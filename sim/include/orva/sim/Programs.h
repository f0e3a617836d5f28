// Stand-ins for the external programs the library runs (the image processor's factory tool, the
// microcontroller tool). While a sandbox is active, posix_spawn/posix_spawnp of a registered program
// start no process: the stand-in sees the argument vector, the run is journaled as Call::Exec (path =
// the program, arguments = argv[1..], result = the exit status), and waitpid on the returned pid
// reports the outcome the stand-in chose. Running a program that has no stand-in while a sandbox is
// active is a test set-up error: the simulator says so on stderr and aborts.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orva::sim {

// What one run of a stand-in program does.
struct ProgramOutcome {
    int exitCode = 0;    // exit status 0..255 reported by waitpid
    int signal = 0;      // non-zero: the program is reported as killed by this signal instead
    int spawnError = 0;  // non-zero: posix_spawn fails with this error and hands out no pid (journaled
                         // with result -1 and this error)

    static ProgramOutcome exited(int code);
    static ProgramOutcome killed(int signal);
    static ProgramOutcome notStarted(int error);
};

// Called once per run with the arguments after the program name.
using ProgramStandIn = std::function<ProgramOutcome(const std::vector<std::string>& arguments)>;

// Registers a stand-in in the active sandbox (throws std::logic_error when none is active). The
// registrations end with the sandbox. A second registration of the same path replaces the first.
void registerProgram(const std::string& path, ProgramStandIn standIn);
// Shorthand: every run exits with exitCode.
void registerProgram(const std::string& path, int exitCode);
void unregisterProgram(const std::string& path);
bool isProgramRegistered(const std::string& path);

// The argument vectors of every run of path in the active sandbox's journal, oldest first.
std::vector<std::vector<std::string>> programRuns(const std::string& path);

}  // namespace orva::sim
