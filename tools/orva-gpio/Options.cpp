#include "Options.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace orva::tool {

uint32_t parseBoard(const std::string& text) {
    std::string digits = text;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) digits = digits.substr(2);
    if (digits.empty() || digits.size() > 8 || digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        throw UsageError{"not a board identifier: '" + text + "' (expected hexadecimal, e.g. 0xA533)"};
    }
    return static_cast<uint32_t>(strtoul(digits.c_str(), nullptr, 16));
}

int parseInt(const std::string& text, const char* what) {
    char* end = nullptr;
    errno = 0;
    const long value = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < INT_MIN || value > INT_MAX) {
        throw UsageError{std::string("not a number for ") + what + ": '" + text + "'"};
    }
    return static_cast<int>(value);
}

int parseInRange(const std::string& text, const char* what, int low, int high) {
    const int value = parseInt(text, what);
    if (value < low || value > high) {
        throw UsageError{std::string(what) + " must be " + std::to_string(low) + ".." + std::to_string(high) + ": '" +
                         text + "'"};
    }
    return value;
}

std::vector<std::vector<std::string>> splitSteps(const std::vector<std::string>& words, const std::string& command) {
    std::vector<std::vector<std::string>> steps(1);
    for (const std::string& word : words) {
        if (word != "then") {
            steps.back().push_back(word);
            continue;
        }
        if (steps.back().empty()) break;
        steps.emplace_back();
    }
    for (const auto& step : steps) {
        if (step.empty()) throw UsageError{command + " needs a step (see usage)"};
    }
    return steps;
}

const char* okText(bool ok) { return ok ? "ok" : "FAILED"; }

}  // namespace orva::tool
