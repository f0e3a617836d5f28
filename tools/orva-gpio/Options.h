// Command line of orva-gpio.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orva::tool {

// Thrown for bad input; main prints the message and a pointer to --help and exits with status 2.
struct UsageError {
    std::string message;
};

// "0xA533", "a533", "A533" -> 0xA533; throws UsageError.
uint32_t parseBoard(const std::string& text);
// A whole decimal int; throws UsageError naming what.
int parseInt(const std::string& text, const char* what);
// A whole decimal int within low..high; throws UsageError naming what and the range.
int parseInRange(const std::string& text, const char* what, int low, int high);
// The steps of a command, split at "then": {"set", "30", "then", "white", "on"} gives {"set", "30"}
// and {"white", "on"}. An empty step throws UsageError "COMMAND needs a step (see usage)".
std::vector<std::vector<std::string>> splitSteps(const std::vector<std::string>& words, const std::string& command);
// "ok" or "FAILED", for the result of a step.
const char* okText(bool ok);

}  // namespace orva::tool
