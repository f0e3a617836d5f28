// The command line of orva-gpio, parsed and checked without touching a board. Input: the words of
// the command line separated by NUL bytes. The options go through parseOptions; a led command has
// its face and steps checked; every word also goes through the number, range, board and colour
// readers and the step splitter. Bad input must come out as UsageError and nothing else.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Commands.h"
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

    refusedOnlyAsUsage([&] {
        const Options options = parseOptions(static_cast<int>(argv.size() - 1), argv.data());
        if (!options.command.empty() && options.command[0] == "led") {
            checkLedCommand(std::vector<std::string>(options.command.begin() + 1, options.command.end()));
        }
    });
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
