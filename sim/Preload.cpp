// Preload mode of the simulator: a program started with
//   LD_PRELOAD="<libdir>/liborva_sim.so <libdir>/liborva_sim_preload.so"
//   ORVA_SIM_SANDBOX=DIR ORVA_SIM_BOARD=SYSID [ORVA_SIM_VARIANT=V] [ORVA_SIM_KEYS="KEY=VALUE<newline>..."]
// runs against the simulated board in DIR before its main starts: its "/sys" and "/proc/gpio" files
// and shared memory come from DIR (built there first when DIR holds no board yet), the
// device-information map holds the board profile's keys with ORVA_SIM_KEYS over them, the external
// programs the library runs are their stand-ins (anything else runs for real), time is real, and
// every call is appended to DIR/journal (format: orva/sim/Sandbox.h, journalToFile).
// orva-gpio run sets all of this up. Without ORVA_SIM_SANDBOX the library does nothing.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>
#include <sys/stat.h>
#include <unistd.h>

#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"

namespace orva::sim {

namespace {

// The image processor's factory tool, which early revisions of one board switch the IR light with.
constexpr char kFactoryTool[] = "/bin/orva_isp_fac_cmd";

std::string environment(const char* name) {
    const char* value = getenv(name);
    return value == nullptr ? std::string() : value;
}

uint32_t boardFromText(const std::string& text) {
    char* end = nullptr;
    const unsigned long value = strtoul(text.c_str(), &end, 16);
    if (text.empty() || *end != '\0' || value == 0 || value > 0xFFFF) {
        throw std::runtime_error("ORVA_SIM_BOARD is not a board id: '" + text + "'");
    }
    return static_cast<uint32_t>(value);
}

std::vector<std::pair<std::string, std::string>> parseKeyLines(const std::string& text) {
    std::vector<std::pair<std::string, std::string>> keys;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.empty()) continue;
        const size_t equals = line.find('=');
        if (equals == std::string::npos) throw std::runtime_error("ORVA_SIM_KEYS: not KEY=VALUE: '" + line + "'");
        keys.emplace_back(line.substr(0, equals), line.substr(equals + 1));
    }
    return keys;
}

void attachFromEnvironment() {
    const std::string directory = environment("ORVA_SIM_SANDBOX");
    if (directory.empty()) return;
    BoardProfile profile = BoardProfile::load(boardFromText(environment("ORVA_SIM_BOARD")), environment("ORVA_SIM_VARIANT"));
    profile.applyKeys(parseKeyLines(environment("ORVA_SIM_KEYS")));
    // A directory that already holds a board (orva-gpio run built it) is attached as it is.
    struct stat info {};
    const bool built = stat((directory + "/sys").c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    SimBoard* board = new SimBoard(profile, directory, built);
    Sandbox& sandbox = board->sandbox();
    sandbox.useRealTime();
    sandbox.journalToFile(sandbox.root() + "/journal", false);
    sandbox.runProgramsWithoutStandIn();
    registerUartcli(0);
    registerProgram(kFactoryTool, 0);
}

}  // namespace
}  // namespace orva::sim

namespace {

// Runs before the program's own constructors and main. The board is kept to the end of the
// process: the hooks serve it until the last call.
__attribute__((constructor)) void attachPreloadedBoard() {
    try {
        orva::sim::attachFromEnvironment();
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-sim: cannot attach to the simulated board in '%s': %s\n",
                getenv("ORVA_SIM_SANDBOX"), error.what());
        _exit(127);
    }
}

}  // namespace
