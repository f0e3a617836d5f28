// orva-gpio: drives the library's LED faces (and later buttons) on a simulated board or a camera,
// and shows what reached the kernel.
#include <cstdio>
#include <exception>
#include <memory>

#include "Commands.h"
#include "Options.h"
#include "Report.h"
#include "orva/sim/SimBoard.h"

using namespace orva::tool;

namespace {

int usage(const std::string& message) {
    fprintf(stderr, "orva-gpio: %s\n\n%s", message.c_str(), usageText().c_str());
    return 2;
}

int listBoards() {
    for (const uint32_t sysid : orva::sim::BoardProfile::available()) {
        const orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(sysid);
        printf("0x%04X  %s\n", sysid, profile.name.c_str());
        for (const std::string& variant : orva::sim::BoardProfile::variants(sysid)) {
            printf("        --variant %s: %s\n", variant.c_str(), orva::sim::BoardProfile::load(sysid, variant).name.c_str());
        }
    }
    return 0;
}

int run(const Options& options) {
    if (options.help) {
        printf("%s", usageText().c_str());
        return 0;
    }
    if (options.listBoards) return listBoards();
    if (options.command.empty()) throw UsageError{"no command given"};
    if (options.board == 0) {
        throw UsageError{"this build drives simulated boards only: give --board SYSID (see --list-boards)"};
    }
    const std::string profileFile = orva::sim::BoardProfile::fileFor(options.board);
    char sysid[16];
    snprintf(sysid, sizeof(sysid), "0x%04X", options.board);
    bool known = false;
    for (const uint32_t board : orva::sim::BoardProfile::available()) known = known || board == options.board;
    if (!known) throw UsageError{std::string("unknown board ") + sysid + " (see --list-boards)"};
    if (!options.variant.empty()) {
        bool knownVariant = false;
        for (const std::string& variant : orva::sim::BoardProfile::variants(options.board)) {
            knownVariant = knownVariant || variant == options.variant;
        }
        if (!knownVariant) throw UsageError{"board " + std::string(sysid) + " has no variant '" + options.variant + "' (see --list-boards)"};
    }

    orva::sim::SimBoard board(orva::sim::BoardProfile::load(options.board, options.variant), options.sandbox,
                              options.reuseSandbox);
    printf("board %s%s%s: %s\nsandbox %s\n", sysid, options.variant.empty() ? "" : " variant ", options.variant.c_str(),
           board.profile().name.c_str(), board.sandbox().root().c_str());
    Context context;
    context.board = &board;
    const std::string group = options.command[0];
    const std::vector<std::string> words(options.command.begin() + 1, options.command.end());
    int status;
    LogCollector log;
    if (group == "led") {
        status = runLedCommand(words, context);
    } else if (group == "ir") {
        status = runIrCommand(words, context);
    } else if (group == "white") {
        status = runWhiteCommand(words, context);
    } else if (group == "button") {
        status = runButtonCommand(words, context);
    } else {
        throw UsageError{"unknown command '" + group + "'"};
    }
    printJournal(stdout, board.journal());
    printLog(stdout, log.records());
    // An operation that reported success but logged an error still failed the user.
    for (const orva::host::LogRecord& record : log.records()) {
        if (status == 0 && record.level <= 3) status = 1;
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(parseOptions(argc, argv));
    } catch (const UsageError& error) {
        return usage(error.message);
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-gpio: %s\n", error.what());
        return 1;
    }
}
