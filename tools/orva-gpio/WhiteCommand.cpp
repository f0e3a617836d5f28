// "white STEP [then STEP ...]": the white LED that the infrared face switches on and off and the
// glow light dims, driven through both faces on one board. After each step the file's content is
// shown, so a user sees which face wrote last.
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "Commands.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"

namespace orva::tool {

namespace {

struct Step {
    std::string verb;
    std::vector<std::string> values;
    int value = 0;
};

void checkStep(Step& step) {
    const std::string& verb = step.verb;
    const size_t count = step.values.size();
    if (verb == "get") {
        if (count != 0) throw UsageError{"white get takes no value"};
        return;
    }
    if (verb != "ir" && verb != "glow" && verb != "glow-brightness" && verb != "level") {
        throw UsageError{"unknown white step '" + verb + "'"};
    }
    if (count != 1) throw UsageError{"white " + verb + " needs one value"};
    const std::string& word = step.values[0];
    if (verb == "ir") {
        if (word != "on" && word != "off") throw UsageError{"white ir takes on or off, not '" + word + "'"};
        step.value = word == "on";
    } else if (verb == "glow") {
        step.value = parseInRange(word, "the glow value", 0, 100);
    } else if (verb == "glow-brightness") {
        step.value = parseInRange(word, "the glow brightness", 0, 100);
    } else {
        step.value = parseInRange(word, "the white level", 0, std::numeric_limits<int>::max());
    }
}

std::vector<Step> parseSteps(const std::vector<std::string>& words) {
    std::vector<Step> steps;
    for (const std::vector<std::string>& group : splitSteps(words, "white")) {
        Step current{group[0], std::vector<std::string>(group.begin() + 1, group.end())};
        checkStep(current);
        steps.push_back(current);
    }
    return steps;
}

// The file the glow light opened during its init: the last open journaled from firstEntry on.
std::string openedSince(const orva::sim::SimBoard& board, size_t firstEntry) {
    std::string path;
    const auto& journal = board.journal();
    for (size_t i = firstEntry; i < journal.size(); ++i) {
        if (journal[i].call == orva::sim::Call::Open && journal[i].result > 0) path = journal[i].path;
    }
    return path;
}

void showFile(Context& context, const std::string& path) {
    if (context.board == nullptr || path.empty()) return;
    fprintf(context.out, "  white LED %s holds %s\n", path.c_str(), context.board->value(path).c_str());
}

bool runStep(LedIr& ir, LedGlow& glow, const Step& step, Context& context) {
    bool ok;
    if (step.verb == "get") {
        int device = 0;
        ok = glow.readValue(device);
        if (ok) {
            fprintf(context.out, "white get: device value %d of %d (glow user value %d)\n", device, glow.rangeMax(),
                    glow.convertGPIOToUser(device));
            return true;
        }
    } else if (step.verb == "ir") {
        ok = ir.setWhiteLedOn(step.value != 0);
    } else if (step.verb == "glow") {
        ok = glow.setValue(step.value, false);
    } else if (step.verb == "glow-brightness") {
        ok = glow.setBrightness(step.value);
    } else {
        ok = ir.setMaxWhiteLedLevel(step.value);
    }
    std::string words = step.verb;
    for (const std::string& value : step.values) words += " " + value;
    fprintf(context.out, "white %s -> %s\n", words.c_str(), okText(ok));
    return ok;
}

}  // namespace

int runWhiteCommand(const std::vector<std::string>& words, Context& context) {
    const std::vector<Step> steps = parseSteps(words);
    LedIr ir;
    LedGlow glow;
    const bool irReady = ir.init("ir");
    fprintf(context.out, "white: infrared face init -> %s\n", okText(irReady));
    const size_t glowStart = context.board != nullptr ? context.board->journal().size() : 0;
    const bool glowReady = glow.init("glow");
    fprintf(context.out, "white: glow light init -> %s%s\n", okText(glowReady),
            glowReady && !glow.exists() ? " (this board has no glow light: its steps are no-ops)" : "");
    if (!irReady || !glowReady) return 1;
    const std::string path = context.board != nullptr ? openedSince(*context.board, glowStart) : std::string();
    if (glow.exists()) fprintf(context.out, "white: glow light range 0..%d\n", glow.rangeMax());
    showFile(context, path);
    bool ok = true;
    for (const Step& step : steps) {
        ok = runStep(ir, glow, step, context) && ok;
        showFile(context, path);
    }
    return ok ? 0 : 1;
}

}  // namespace orva::tool
