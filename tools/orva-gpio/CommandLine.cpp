#include "CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "CommandRegistry.h"
#include "LedCommand.h"
#include "Options.h"
#include "Session.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif

using namespace orva::tool;

namespace {

int usage(const std::string& message, bool quietly) {
    if (quietly) return 2;
    fprintf(stderr, "orva-gpio: %s\ntry 'orva-gpio --help'\n", message.c_str());
    return 2;
}

int listBoards() {
#if ORVA_TOOL_SIMULATOR
    for (const uint32_t sysid : orva::sim::BoardProfile::available()) {
        const orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(sysid);
        printf("0x%04X  %s\n", sysid, profile.name.c_str());
        for (const std::string& variant : orva::sim::BoardProfile::variants(sysid)) {
            printf("        --variant %s: %s\n", variant.c_str(), orva::sim::BoardProfile::load(sysid, variant).name.c_str());
        }
    }
    return 0;
#else
    throw UsageError{"this orva-gpio has no simulator and so no simulated boards to list"};
#endif
}

std::vector<std::string> boardNames() {
    std::vector<std::string> names;
#if ORVA_TOOL_SIMULATOR
    for (const uint32_t sysid : orva::sim::BoardProfile::available()) {
        char name[16];
        snprintf(name, sizeof(name), "0x%04X", sysid);
        names.push_back(name);
    }
#endif
    return names;
}

// "orva-gpio __complete WORD... CURRENT": the candidates for CURRENT, one a line, for the shell
// completion (orva-gpio.bash-completion). Nothing is checked or run.
int complete(const std::vector<std::string>& words, CLI::App& app) {
    static const std::vector<std::string> kValued = {"--board", "--variant", "--sandbox", "--key"};
    std::vector<std::string> candidates;
    std::string board;
    size_t index = 0;
    for (; index + 1 < words.size(); ++index) {
        const std::string& word = words[index];
        if (std::find(kValued.begin(), kValued.end(), word) != kValued.end()) {
            if (index + 2 == words.size()) break;  // completing this option's value
            if (word == "--board") board = words[index + 1];
            ++index;
            continue;
        }
        if (word.empty() || word[0] != '-') break;
    }
    const std::string current = words.empty() ? std::string() : words.back();
    if (index + 1 < words.size() && words[index][0] == '-') {
        const std::string& option = words[index];
        if (option == "--board") candidates = boardNames();
#if ORVA_TOOL_SIMULATOR
        if (option == "--variant" && !board.empty()) {
            try {
                candidates = orva::sim::BoardProfile::variants(parseBoard(board));
            } catch (...) {
            }
        }
#endif
        if (option == "--key") {
            candidates = {"sysid=", "hwrev=", "feature_led_ir=", "feature_led_status=", "feature_battery=", "isSStar=",
                          "isDoorbellSeries=", "isMark7sWithAP6203="};
        }
    } else if (index + 1 >= words.size()) {
        // The command or a global option.
        if (!current.empty() && current[0] == '-') {
            for (const CLI::Option* option : app.get_options()) {
                for (const std::string& name : option->get_lnames()) candidates.push_back("--" + name);
            }
        } else {
            for (const CommandRow& row : commandRows()) {
                if (row.name[0] != '_') candidates.push_back(row.name);
            }
        }
    } else {
        const std::string command = words[index];
        const std::vector<std::string> rest(words.begin() + static_cast<std::ptrdiff_t>(index) + 1, words.end());
        if (command == "led") {
            candidates = completeLed(rest);
        } else if (command == "button") {
            candidates = completeButton(rest);
        } else {
            for (CLI::App* sub : app.get_subcommands([&](CLI::App* one) { return one->get_name() == command; })) {
                for (const CLI::Option* option : sub->get_options()) {
                    for (const std::string& name : option->get_lnames()) candidates.push_back("--" + name);
                }
            }
            if (command == "board" && (current.empty() || current[0] != '-')) {
                for (const std::string& name : boardNames()) candidates.push_back(name);
            }
        }
    }
    for (const std::string& candidate : candidates) {
        if (candidate.compare(0, current.size(), current) == 0) printf("%s\n", candidate.c_str());
    }
    return 0;
}

const char kFooter[] =
    "Without --board the command drives the files of the board the tool runs on; the device\n"
    "information comes from the platform, and --key adds to it (on a development host give at\n"
    "least --key sysid=VALUE).\n"
    "\n"
    "Output: one line per kernel call (simulated boards), per log record and per result;\n"
    "--quiet shows the results only, --json one JSON object per line for each of them.\n"
    "\n"
    "Exit status: 0 when every operation succeeded, 1 when an operation failed or the library\n"
    "logged an error, 2 for a usage error (nothing was written).\n"
    "\n"
    "'orva-gpio COMMAND --help' describes a command.\n";

}  // namespace

namespace orva::tool {

int runCommandLine(int argc, char** argv, bool checkOnly) {
    GlobalOptions global;
    global.checkOnly = checkOnly;
    CLI::App app{"orva-gpio drives the LEDs, buttons and detectors of a camera through the library,\n"
                 "on the board it runs on or on a simulated board.",
                 "orva-gpio"};
    app.set_help_flag("-h,--help", "this text");
    std::string boardText;
    std::vector<std::string> keyTexts;
    bool version = false;
    bool boards = false;
    app.add_option("--board", boardText, "run against a simulated board (profiles in boards/), e.g. 0xA533")
        ->type_name("SYSID");
    app.add_option("--variant", global.variant, "a hardware variant of the simulated board (see --list-boards)")
        ->type_name("NAME");
    app.add_option("--sandbox", global.sandbox, "keep the simulated board's files in DIR (default: a temporary folder)")
        ->type_name("DIR");
    app.add_flag("--reuse", global.reuseSandbox, "attach to the files an earlier invocation left in DIR");
    app.add_option("--key", keyTexts, "a device-information value (repeatable), e.g. --key sysid=0xA533 --key hwrev=3")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    app.add_flag("--json", global.json, "one JSON object per line: per kernel call, per log record, per result");
    app.add_flag("--quiet", global.quiet, "results only");
    app.add_flag("--version", version, "the version, and whether the simulator is built in");
    app.add_flag("--list-boards", boards, "list the simulated boards");
    app.require_subcommand(0, 1);
    app.footer(kFooter);

    std::map<std::string, std::function<int()>> actions;
    for (const CommandRow& row : commandRows()) {
        CLI::App* command = app.add_subcommand(row.name, row.summary);
        row.setup(*command, global, actions[row.name]);
    }

    if (argc >= 2 && std::string(argv[1]) == "__complete") {
        if (checkOnly) return 0;
        return complete(std::vector<std::string>(argv + 2, argv + argc), app);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& help) {
        return checkOnly ? 0 : app.exit(help);
    } catch (const CLI::ParseError& error) {
        return usage(error.what(), checkOnly);
    }

    try {
        if (checkOnly && (version || boards)) return 0;
        if (version) {
            printf("orva-gpio %s (%s)\n", ORVA_VERSION,
                   simulatorBuiltIn() ? "simulator built in: --board drives simulated boards"
                                      : "no simulator: drives the board it runs on");
            return 0;
        }
        if (boards) return listBoards();
        if (!boardText.empty()) global.board = parseBoard(boardText);
        if (global.board == 0 && !boardText.empty()) throw UsageError{"not a board identifier: '" + boardText + "'"};
        if (!global.variant.empty() && global.variant.find('/') != std::string::npos) {
            throw UsageError{"not a variant name: '" + global.variant + "'"};
        }
        if (global.reuseSandbox && global.sandbox.empty()) throw UsageError{"--reuse needs --sandbox DIR"};
        if (!global.variant.empty() && global.board == 0) throw UsageError{"--variant needs --board SYSID"};
        if (global.json && global.quiet) throw UsageError{"--json and --quiet do not go together"};
        for (const std::string& text : keyTexts) {
            const size_t equals = text.find('=');
            if (equals == std::string::npos) throw UsageError{"--key takes KEY=VALUE: '" + text + "'"};
            const std::string key = text.substr(0, equals);
            const std::string value = text.substr(equals + 1);
            checkKey(key, value);
            global.keys.emplace_back(key, value);
        }
        for (CLI::App* command : app.get_subcommands()) {
            const std::function<int()>& action = actions[command->get_name()];
            // Only the commands that know checkOnly may act while checking.
            if (checkOnly && command->get_name() != "led" && command->get_name() != "button") return 0;
            if (!action) throw UsageError{command->get_name() + " needs more (see 'orva-gpio " + command->get_name() + " --help')"};
            return action();
        }
        throw UsageError{"no command given"};
    } catch (const UsageError& error) {
        return usage(error.message, checkOnly);
    } catch (const std::exception& error) {
        if (!checkOnly) fprintf(stderr, "orva-gpio: %s\n", error.what());
        return 1;
    }
}

}  // namespace orva::tool
