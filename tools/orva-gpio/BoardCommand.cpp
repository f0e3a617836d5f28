// "board [SYSID]": the LED faces and buttons a board has and what each of them uses, found by
// initialising every one of them on the board (BoardSurvey.h). With SYSID, or with --board, a
// simulated board from its profile; otherwise the board the tool runs on, whose device information
// comes from the platform (and --key KEY=VALUE).
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "BoardSurvey.h"
#include "CommandRegistry.h"
#include "Options.h"
#include "orva/platform.h"

#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif

namespace orva::tool {
namespace {

struct BoardWords {
    std::string sysid;  // "" = --board, or the board the tool runs on
};

// "0xA598", "a598", "A598" -> 0xA598.
uint32_t boardNumber(const std::string& text) {
    std::string digits = text;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) digits = digits.substr(2);
    bool hex = !digits.empty() && digits.size() <= 8;
    for (const char c : digits) hex = hex && isxdigit(static_cast<unsigned char>(c)) != 0;
    if (!hex) throw UsageError{"not a board: '" + text + "' (a sysid such as 0xA598; see --list-boards)"};
    return static_cast<uint32_t>(strtoul(digits.c_str(), nullptr, 16));
}

std::string sysidText(uint32_t sysid) {
    char text[16];
    snprintf(text, sizeof(text), "0x%04X", sysid);
    return text;
}

int printSurvey(const BoardSurveyResult& survey, const GlobalOptions& global) {
    const std::string text = global.json ? surveyJsonLines(survey) : surveyText(survey);
    fputs(text.c_str(), stdout);
    return 0;
}

// The device information of the board the tool runs on, with the --key values on top.
void applyKeys(const GlobalOptions& global) {
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    for (const auto& key : global.keys) {
        const std::string& value = key.second;
        if (key.first == "sysid" || key.first == "hwrev") {
            info[key.first] = static_cast<unsigned long long>(strtoull(value.c_str(), nullptr, 0));
        } else if (key.first.rfind("feature_", 0) == 0) {
            info[key.first] = static_cast<signed char>(atoi(value.c_str()));
        } else if (value == "true" || value == "false") {
            info[key.first] = value == "true";
        } else {
            info[key.first] = value;
        }
    }
}

int surveyRealBoard(const GlobalOptions& global) {
    applyKeys(global);
    // The keys the faces and buttons look up strictly (a missing one ends the process).
    orva::variant::Variant& info = orva::variant::CameraInfo::instance();
    if (!info.HasKey("sysid")) {
        throw UsageError{"board: the device information has no sysid (give --key sysid=0x...., or --board SYSID)"};
    }
    const uint32_t sysid = static_cast<uint32_t>(static_cast<unsigned long long>(info["sysid"]));
    std::vector<std::string> needed = {"feature_led_ir", "feature_battery"};
    if (sysid == 0xA532 || sysid == 0xA551 || sysid == 0xA554) needed.push_back("hwrev");
    for (const std::string& key : needed) {
        if (!info.HasKey(key)) {
            throw UsageError{"board: the device information has no " + key + " (give --key " + key + "=...)"};
        }
    }
    return printSurvey(surveyThisBoard(), global);
}

#if ORVA_TOOL_SIMULATOR
int surveyProfile(uint32_t sysid, const GlobalOptions& global) {
    bool known = false;
    for (const uint32_t board : orva::sim::BoardProfile::available()) known = known || board == sysid;
    if (!known) throw UsageError{"unknown board " + sysidText(sysid) + " (see --list-boards)"};
    if (!global.variant.empty()) {
        bool knownVariant = false;
        for (const std::string& variant : orva::sim::BoardProfile::variants(sysid)) {
            knownVariant = knownVariant || variant == global.variant;
        }
        if (!knownVariant) {
            throw UsageError{"board " + sysidText(sysid) + " has no variant '" + global.variant +
                             "' (see --list-boards)"};
        }
    }
    orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(sysid, global.variant);
    // --key KEY=VALUE changes the profile's device information (type kept, or guessed for a new key).
    for (const auto& key : global.keys) {
        bool replaced = false;
        for (orva::sim::BoardProfile::InfoKey& info : profile.info) {
            if (info.key != key.first) continue;
            info.value = key.second;
            replaced = true;
        }
        if (!replaced) {
            const bool flag = key.second == "true" || key.second == "false";
            profile.info.push_back({key.first,
                                    flag                                  ? "bool"
                                    : key.first.rfind("feature_", 0) == 0 ? "i8"
                                                                          : "str",
                                    key.second});
        }
    }
    return printSurvey(surveySimulatedBoard(profile), global);
}
#else
int surveyProfile(uint32_t sysid, const GlobalOptions&) {
    throw UsageError{"board " + sysidText(sysid) +
                     ": this build has no simulator; run 'orva-gpio board' without SYSID on the camera"};
}
#endif

int runBoard(const BoardWords& words, const GlobalOptions& global) {
    uint32_t sysid = global.board;
    if (!words.sysid.empty()) sysid = boardNumber(words.sysid);
    if (global.checkOnly) return 0;
    if (sysid != 0) return surveyProfile(sysid, global);
    return surveyRealBoard(global);
}

void setupBoard(CLI::App& command, GlobalOptions& global, std::function<int()>& action) {
    auto words = std::make_shared<BoardWords>();
    command.add_option("SYSID", words->sysid,
                       "the simulated board (default: --board, else the board the tool runs on)");
    command.footer(
        "Every LED face and button of the library is initialised on the board (on a simulated board also\n"
        "exercised once) and listed with what it used: attribute files, programs, PHY registers, the\n"
        "shared-memory segment, each marked exists or missing. On the board the tool runs on the faces\n"
        "and buttons are only initialised and their files are not traced. --json: one object per face\n"
        "or button.");
    action = [words, &global] { return runBoard(*words, global); };
}

const CommandRegistration kBoard{{"board", "the LED faces and buttons of a board and the files each uses", setupBoard}};

}  // namespace
}  // namespace orva::tool
