// The command line of orva-gpio, read and checked without touching a board. Input: the words of
// the command line separated by NUL bytes. The whole line goes through the tool's own parser in
// check mode (every command's options; a led command's face and every step of any face, its own
// verbs included; a button command's name, verb and watch options) and must come out as a status
// (0 fine, 2 usage, nothing else); every word also goes through the number, range, board and colour
// readers and the step splitter, where bad input must come out as UsageError and nothing else.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "LedCommand.h"
#include "LedFaces.h"
#include "Options.h"

using namespace orva::tool;

namespace {

std::vector<std::string> words(const uint8_t* data, size_t size) {
    std::vector<std::string> result(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\0') {
            result.emplace_back();
        } else {
            result.back().push_back(static_cast<char>(data[i]));
        }
    }
    return result;
}

template <typename Call>
void refusedOnlyAsUsage(Call call) {
    try {
        call();
    } catch (const UsageError& error) {
        if (error.message.empty()) __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string> arguments = words(data, size);
    std::vector<char*> argv;
    static char program[] = "orva-gpio";
    argv.push_back(program);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    // Check mode never acts: a status of 1 would mean something was attempted.
    const int status = runCommandLine(static_cast<int>(argv.size() - 1), argv.data(), true);
    if (status != 0 && status != 2) __builtin_trap();

    // The led command's words straight, so that faces and steps are reached without the options.
    refusedOnlyAsUsage([&] { checkLedWords(arguments); });
    for (const std::string& word : arguments) {
        refusedOnlyAsUsage([&] {
            const int value = parseInRange(word, "the value", -100, 100);
            if (value < -100 || value > 100) __builtin_trap();
        });
        refusedOnlyAsUsage([&] { (void)parseInt(word, "the value"); });
        refusedOnlyAsUsage([&] { (void)parseBoard(word); });
        refusedOnlyAsUsage([&] {
            const BaseLed::Color color = parseColor(word);
            (void)colorName(color);
        });
    }
    refusedOnlyAsUsage([&] {
        for (const auto& step : splitSteps(arguments, "fuzz")) {
            if (step.empty()) __builtin_trap();
            for (const std::string& word : step) {
                if (word == "then") __builtin_trap();
            }
        }
    });
    return 0;
}
