#include "Options.h"

#include "Commands.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace orva::tool {

std::string usageText() {
    return "usage: orva-gpio [--board SYSID [--variant NAME] [--sandbox DIR [--reuse]]] COMMAND\n"
           "\n"
           "  --board SYSID   run against a simulated board (profiles in boards/), e.g. 0xA533\n"
           "  --variant NAME  a hardware variant of the board (see --list-boards)\n"
           "  --sandbox DIR   keep the simulated board's files in DIR (default: a temporary folder)\n"
           "  --reuse         attach to the files an earlier invocation left in DIR\n"
           "  --list-boards   list the simulated boards\n"
           "  -h, --help      this text\n"
           "\n"
           "commands:\n"
           "  led FACE STEP [then STEP ...]\n"
           "                            initialise one LED face and apply the steps in order:\n" +
           ledVerbList() +
           "  ir [--hwrev N] [--sstar] STEP [then STEP ...]\n"
           "                            the infrared light; each step's writes are shown as a\n"
           "                            timeline of virtual time. --hwrev and --sstar override\n"
           "                            those device-information keys. Steps:\n"
           "    set VALUE               user value 0..100 (fades where the board fades)\n"
           "    write DEVICE [SECOND]   device value 0..99; SECOND for the wide channel\n"
           "                            (default: the complement of DEVICE)\n"
           "    get | status            read the IR value back | does the board have the light\n"
           "    brightness LEVEL        IR brightness 0..255\n"
           "    path 1 | 2              select the IR channel that set, write and get use\n"
           "    white on | off          white light at its level\n"
           "    white-max LEVEL         white level, clamped to the board's maximum\n"
           "    accessory on | off      accessory IR output\n"
           "  white STEP [then STEP ...]\n"
           "                            the white LED through the infrared face and the glow light\n"
           "                            together, showing the file after each step. Steps:\n"
           "    ir on | off             white light on at its level, or off (infrared face)\n"
           "    level LEVEL             white level of the infrared face (clamped to the board's)\n"
           "    glow VALUE              glow light user value 0..100\n"
           "    glow-brightness PCT     glow light brightness 0..100\n"
           "    get                     read the file back through the glow light\n"
           "  button NAME watch [--for MS] [--poll MS] [--hold MS] [--until-released]\n"
           "                            poll a button and print pressed, held and released events\n"
           "                            as they come (real time; --poll default 10, --hold 100)\n"
           "  button NAME watch --press-at MS --release-at MS [--for MS]\n"
           "                            the same on virtual time, pressing the simulated input\n"
           "  button NAME press | release\n"
           "                            change the simulated input; with --sandbox DIR --reuse it\n"
           "                            reaches a watch running on DIR in another terminal\n"
           "\n"
           "LED faces:\n" +
           ledFaceList() +
           "buttons: reset (reset button), ring (ring button), enclosure (enclosure detector),\n"
           "         dc (DC-cable detector)\n";
}

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

Options parseOptions(int argc, char** argv) {
    Options options;
    int index = 1;
    for (; index < argc; ++index) {
        const std::string argument = argv[index];
        if (argument == "-h" || argument == "--help") {
            options.help = true;
        } else if (argument == "--list-boards") {
            options.listBoards = true;
        } else if (argument == "--reuse") {
            options.reuseSandbox = true;
        } else if (argument == "--board" || argument == "--sandbox" || argument == "--variant") {
            if (index + 1 >= argc) throw UsageError{argument + " needs a value"};
            const std::string value = argv[++index];
            if (argument == "--board") {
                options.board = parseBoard(value);
            } else if (argument == "--variant") {
                if (value.empty() || value.find('/') != std::string::npos) throw UsageError{"not a variant name: '" + value + "'"};
                options.variant = value;
            } else {
                options.sandbox = value;
            }
        } else if (argument.size() > 1 && argument[0] == '-') {
            throw UsageError{"unknown option '" + argument + "'"};
        } else {
            break;
        }
    }
    for (; index < argc; ++index) options.command.push_back(argv[index]);
    if (options.reuseSandbox && options.sandbox.empty()) throw UsageError{"--reuse needs --sandbox DIR"};
    if (!options.variant.empty() && options.board == 0) throw UsageError{"--variant needs --board SYSID"};
    return options;
}

}  // namespace orva::tool
