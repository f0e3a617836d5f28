// "run [--hwrev N] -- PROGRAM [ARGS...]": runs a firmware process of one's own on a simulated board.
// The board's sandbox is built here (or attached with --reuse) and kept alive while the program
// runs, so that the shared-memory segments it holds stay; the program gets the simulator preloaded
// (liborva_sim.so and liborva_sim_preload.so, found beside the simulator this tool runs on), which
// serves it the sandbox's files, fills its device-information map before its main and appends
// every call to the sandbox's journal. The tool waits and exits with the program's status
// (128 + the signal when it was killed).
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include "CommandRegistry.h"
#include "Options.h"

#if ORVA_TOOL_SIMULATOR
#include <dlfcn.h>
#include <fcntl.h>

#include "orva/sim/SimBoard.h"
#endif

namespace orva::tool {

namespace {

struct RunOptions {
    std::string hwrev;
    std::vector<std::string> program;  // the program and its arguments
};

#if ORVA_TOOL_SIMULATOR

// The directory of the simulator library this tool runs with; the preload library is beside it.
std::string simulatorDirectory() {
    Dl_info info {};
    if (dladdr(reinterpret_cast<void*>(&orva::sim::isSimulatedPath), &info) == 0 || info.dli_fname == nullptr) {
        throw std::runtime_error("cannot find the simulator library of this tool");
    }
    const std::string library = info.dli_fname;
    const size_t slash = library.rfind('/');
    return slash == std::string::npos ? std::string(".") : library.substr(0, slash);
}

bool isFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string sysidText(uint32_t sysid) {
    char text[16];
    snprintf(text, sizeof(text), "0x%04X", sysid);
    return text;
}

// Escapes text for a JSON string value.
std::string jsonText(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += c;
        } else if (byte < 0x20) {
            char escaped[8];
            snprintf(escaped, sizeof(escaped), "\\u%04x", byte);
            quoted += escaped;
        } else {
            quoted += c;
        }
    }
    return quoted + "\"";
}

pid_t gChild = -1;

// SIGTERM and SIGHUP of the tool go on to the program, which decides how to end.
void forwardSignal(int signal) {
    if (gChild > 0) kill(gChild, signal);
}

int runProgram(const GlobalOptions& global, const RunOptions& options) {
    if (global.board == 0) throw UsageError{"run needs --board SYSID (see --list-boards)"};
    if (options.program.empty()) throw UsageError{"run needs a program: orva-gpio run --board SYSID -- PROGRAM [ARGS...]"};
    const std::string sysid = sysidText(global.board);
    bool known = false;
    for (const uint32_t board : orva::sim::BoardProfile::available()) known = known || board == global.board;
    if (!known) throw UsageError{"unknown board " + sysid + " (see --list-boards)"};
    if (!global.variant.empty()) {
        bool knownVariant = false;
        for (const std::string& variant : orva::sim::BoardProfile::variants(global.board)) {
            knownVariant = knownVariant || variant == global.variant;
        }
        if (!knownVariant) throw UsageError{"board " + sysid + " has no variant '" + global.variant + "' (see --list-boards)"};
    }
    std::vector<std::pair<std::string, std::string>> keys = global.keys;
    if (!options.hwrev.empty()) {
        if (parseInt(options.hwrev, "--hwrev") < 0) throw UsageError{"--hwrev takes a revision of 0 or more"};
        keys.emplace_back("hwrev", options.hwrev);
    }
    orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(global.board, global.variant);
    try {
        profile.applyKeys(keys);
    } catch (const std::runtime_error& error) {
        throw UsageError{error.what()};
    }
    const std::string libraries = simulatorDirectory();
    const std::string hooks = libraries + "/liborva_sim.so";
    const std::string preload = libraries + "/liborva_sim_preload.so";
    if (!isFile(preload)) throw std::runtime_error("no " + preload + " beside the simulator: is the tool installed whole?");
    if (global.checkOnly) return 0;

    orva::sim::SimBoard board(profile, global.sandbox, global.reuseSandbox);
    const std::string root = board.sandbox().root();
    const std::string journal = root + "/journal";
    // A fresh board starts a fresh journal; an attached one goes on with the earlier one.
    const int journalFd = open(journal.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | (global.reuseSandbox ? 0 : O_TRUNC), 0644);
    if (journalFd < 0) throw std::runtime_error("cannot create " + journal + ": " + strerror(errno));
    close(journalFd);

    std::string keyLines;
    for (const auto& [key, value] : keys) keyLines += key + "=" + value + "\n";
    const char* earlierPreload = getenv("LD_PRELOAD");
    std::string preloads = hooks + " " + preload;
    if (earlierPreload != nullptr && *earlierPreload) preloads += std::string(" ") + earlierPreload;
    const std::string boardsDirectory = orva::sim::BoardProfile::directory();

    if (global.json) {
        fprintf(stderr, "{\"type\":\"run\",\"board\":%s,\"variant\":%s,\"sandbox\":%s,\"journal\":%s,\"program\":%s}\n",
                jsonText(sysid).c_str(), jsonText(global.variant).c_str(), jsonText(root).c_str(),
                jsonText(journal).c_str(), jsonText(options.program[0]).c_str());
    } else if (!global.quiet) {
        fprintf(stderr, "orva-gpio run: board %s%s%s: %s\norva-gpio run: sandbox %s\norva-gpio run: journal %s\n",
                sysid.c_str(), global.variant.empty() ? "" : " variant ", global.variant.c_str(), profile.name.c_str(),
                root.c_str(), journal.c_str());
    }
    fflush(stdout);
    fflush(stderr);

    std::vector<char*> argv;
    for (const std::string& argument : options.program) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error(std::string("cannot start a process: ") + strerror(errno));
    if (child == 0) {
        setenv("LD_PRELOAD", preloads.c_str(), 1);
        setenv("ORVA_SIM_SANDBOX", root.c_str(), 1);
        setenv("ORVA_SIM_BOARD", sysid.c_str(), 1);
        setenv("ORVA_SIM_VARIANT", global.variant.c_str(), 1);
        setenv("ORVA_SIM_KEYS", keyLines.c_str(), 1);
        setenv("ORVA_BOARDS_DIR", boardsDirectory.c_str(), 1);
        execvp(argv[0], argv.data());
        const int error = errno;
        fprintf(stderr, "orva-gpio run: cannot run %s: %s\n", argv[0], strerror(error));
        _exit(error == ENOENT ? 127 : 126);
    }

    // Ctrl-C reaches the program from the terminal; the tool waits for it to end.
    gChild = child;
    struct sigaction forward {};
    forward.sa_handler = forwardSignal;
    sigemptyset(&forward.sa_mask);
    sigaction(SIGTERM, &forward, nullptr);
    sigaction(SIGHUP, &forward, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    sigaction(SIGINT, &ignore, nullptr);
    sigaction(SIGQUIT, &ignore, nullptr);
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    gChild = -1;
    if (waited < 0) throw std::runtime_error(std::string("cannot wait for the program: ") + strerror(errno));

    const int exitStatus = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    std::string ending = WIFSIGNALED(status) ? "killed by signal " + std::to_string(WTERMSIG(status)) + " (" +
                                                   strsignal(WTERMSIG(status)) + ")"
                                             : "exited with status " + std::to_string(exitStatus);
    const bool kept = !global.sandbox.empty();
    if (global.json) {
        fprintf(stderr, "{\"type\":\"end\",\"status\":%d,\"signal\":%d,\"sandbox\":%s,\"journal\":%s,\"kept\":%s}\n",
                exitStatus, WIFSIGNALED(status) ? WTERMSIG(status) : 0, jsonText(root).c_str(),
                jsonText(journal).c_str(), kept ? "true" : "false");
    } else if (!global.quiet) {
        fprintf(stderr, "orva-gpio run: %s %s\n", options.program[0].c_str(), ending.c_str());
        if (kept) {
            fprintf(stderr, "orva-gpio run: sandbox %s kept, journal %s\n", root.c_str(), journal.c_str());
        } else {
            fprintf(stderr, "orva-gpio run: temporary sandbox %s removed (give --sandbox DIR to keep it)\n", root.c_str());
        }
    }
    return exitStatus;
}

#endif  // ORVA_TOOL_SIMULATOR

void setup(CLI::App& command, GlobalOptions& global, std::function<int()>& action) {
    auto options = std::make_shared<RunOptions>();
    // --board, --sandbox, --key and the other global options may follow "run" too.
    command.fallthrough();
    command.add_option("--hwrev", options->hwrev, "the board's hardware revision (the same as --key hwrev=N)")
        ->type_name("N");
    command.add_option("program", options->program, "the program and its arguments, after --")
        ->type_name("PROGRAM [ARGS...]");
    command.footer(
        "Starts PROGRAM, a firmware process that links the library and the host platform, on the\n"
        "simulated board of --board: its \"/sys\" and \"/proc/gpio\" files and shared memory come from\n"
        "the sandbox (--sandbox DIR keeps it; a temporary one is removed at the end), its\n"
        "device-information map holds the board profile's keys with --key and --hwrev over them, the\n"
        "programs the library starts run as stand-ins, and time is real. Every call on the board's\n"
        "files is appended to DIR/journal, one JSON object per line, as it happens.\n"
        "A second orva-gpio on the same board (--board SYSID --sandbox DIR --reuse button ring press)\n"
        "reaches the running program. The exit status is PROGRAM's (128 + the signal that killed it).\n");
#if ORVA_TOOL_SIMULATOR
    action = [&global, options] { return runProgram(global, *options); };
#else
    action = [&global] {
        (void)global;
        throw UsageError{"this orva-gpio has no simulator: run needs a development host build"};
        return 2;
    };
#endif
}

const CommandRegistration kRun({"run", "run a firmware process of one's own on a simulated board", setup});

}  // namespace

}  // namespace orva::tool
