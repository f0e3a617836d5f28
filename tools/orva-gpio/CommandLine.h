// orva-gpio's command line: the options every command shares, then the command from the table of
// CommandRegistry.h, run once the whole line is read and checked.
#pragma once

namespace orva::tool {

// Runs the tool and gives its exit status (0, 1 = an operation failed or an error was logged,
// 2 = usage). With checkOnly it reads and checks the line and prints nothing: a led or button
// command is checked step by step, and no command touches a board.
int runCommandLine(int argc, char** argv, bool checkOnly = false);

}  // namespace orva::tool
