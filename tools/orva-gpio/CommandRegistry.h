// The top-level commands of orva-gpio (led, button, board, run, view, ...). Each command registers
// itself from its own file with a static CommandRegistration, so main, the help text and the
// shell completion all come from one table.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace orva::tool {

// Options that come before the command and apply to every command.
struct GlobalOptions {
    uint32_t board = 0;         // simulated board; 0 = none given (real hardware)
    std::string variant;        // hardware variant of the simulated board ("" = its main profile)
    std::string sandbox;        // sandbox directory to keep (empty: a temporary one)
    bool reuseSandbox = false;  // attach to the files an earlier invocation left in the sandbox
    std::vector<std::pair<std::string, std::string>> keys;  // --key KEY=VALUE, in order given
    bool json = false;          // one JSON object per line: per kernel call, per log record, per result
    bool quiet = false;         // results only
    bool checkOnly = false;     // parse and check the whole command, then return 0 touching nothing
};

struct CommandRow {
    const char* name;     // "led", "board", ...
    const char* summary;  // one line for the help text
    // Adds the command's own options and positionals to `command` (the CLI11 subcommand already
    // named and described) and sets `action`, which main runs once the whole line parsed and
    // returns the exit status (0, 1 = an operation failed or an error was logged, 2 = usage).
    // `global` is filled by then. A bad value found while acting throws UsageError (Options.h).
    void (*setup)(CLI::App& command, GlobalOptions& global, std::function<int()>& action);
};

// A static object of this type in a command's file adds its row to the table.
struct CommandRegistration {
    explicit CommandRegistration(const CommandRow& row);
};

// Every registered command, sorted by name.
const std::vector<CommandRow>& commandRows();

}  // namespace orva::tool
