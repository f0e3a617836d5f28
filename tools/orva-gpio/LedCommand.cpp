// "led FACE VERB [VALUES] [then VERB [VALUES] ...]": initialises one LED face and applies the steps in
// order. The verbs every face has are in the table below; a face's own verbs come from its row in
// faces/. Every step is read and checked before the face is made, so a bad word changes nothing.
#include <poll.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "CommandRegistry.h"
#include "Commands.h"
#include "LedFaces.h"
#include "LedCommand.h"
#include "Session.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif

namespace orva::tool {

namespace {

enum class Verb { Set, On, Off, Brightness, Get, Auto, Save, Restore, Color, AnimColor, Density, Anim, Step, Service, Wait, Own };

struct VerbRow {
    const char* word;
    Verb verb;
    int values;  // number of words after the verb
    const char* help;
};

// Longest wait: one day.
constexpr int kMaxWaitMs = 24 * 60 * 60 * 1000;

constexpr VerbRow kVerbs[] = {
    {"set", Verb::Set, 1, "set VALUE              user value 0..100 (0/1 on a binary LED)"},
    {"on", Verb::On, 0, "on | off               switch fully on or off"},
    {"off", Verb::Off, 0, nullptr},
    {"brightness", Verb::Brightness, 1, "brightness PCT         brightness 0..100 applied to the value"},
    {"get", Verb::Get, 0, "get                    read the device value back"},
    {"auto", Verb::Auto, 0, "auto                   automatic mode"},
    {"save", Verb::Save, 0, "save | restore         remember the state | bring it back"},
    {"restore", Verb::Restore, 0, nullptr},
    {"color", Verb::Color, 2, "color FG BG            foreground and background colour (red, white_red, ... or 1..15)"},
    {"anim-color", Verb::AnimColor, 2, "anim-color FG BG       animation colours"},
    {"density", Verb::Density, 1, "density N              animation density 0..100"},
    {"anim", Verb::Anim, 1, "anim on | off          animation on or off"},
    {"step", Verb::Step, 1, "step N                 animation step (a new number moves the animation on)"},
    {"service", Verb::Service, 0, "service                the face's periodic work"},
    {"wait", Verb::Wait, 1, "wait MS                let time pass (virtual time on a simulated board)"},
};

struct Step {
    const VerbRow* row = nullptr;   // a verb every face has, or
    const FaceVerb* own = nullptr;  // one of the face's own
    std::vector<std::string> words;  // the verb and its values, as typed
    std::vector<int> values;
};

const FaceRow& findFace(const std::string& name) {
    for (const FaceRow& row : faceRows()) {
        if (name == row.name) return row;
    }
    throw UsageError{"unknown LED face '" + name + "' (see 'orva-gpio led --help')"};
}

std::string countText(int count) {
    return count == 0 ? "no value" : count == 1 ? "one value" : count == 2 ? "two values" : std::to_string(count) + " values";
}

Step parseStep(const FaceRow& face, const std::vector<std::string>& words) {
    const std::string prefix = std::string("led ") + face.name + " " + words[0];
    const std::vector<std::string> values(words.begin() + 1, words.end());
    const int count = static_cast<int>(values.size());
    Step step;
    step.words = words;
    for (const FaceVerb& own : face.verbs) {
        if (words[0] != own.word) continue;
        if (count < own.minValues || count > own.maxValues) {
            throw UsageError{prefix + (own.minValues == own.maxValues ? " takes " + countText(own.minValues)
                                                                     : " takes " + std::to_string(own.minValues) + " to " +
                                                                           countText(own.maxValues))};
        }
        step.own = &own;
        if (own.check != nullptr) step.values = own.check(values);
        return step;
    }
    for (const VerbRow& row : kVerbs) {
        if (words[0] == row.word) step.row = &row;
    }
    if (step.row == nullptr) throw UsageError{"unknown verb '" + words[0] + "' for led " + face.name};
    if (count != step.row->values) throw UsageError{prefix + " takes " + countText(step.row->values)};
    switch (step.row->verb) {
    case Verb::Color:
    case Verb::AnimColor:
        for (const std::string& value : values) {
            const int color = parseColor(value);
            if (color < BaseLed::COLOR_BLACK || color > BaseLed::COLOR_WHITE_MAGENTA) {
                throw UsageError{std::string(step.row->word) + " takes colours black..white_magenta (1..15): '" + value + "'"};
            }
            step.values.push_back(color);
        }
        break;
    case Verb::Anim: step.values.push_back(parseSwitch(values[0], "anim")); break;
    case Verb::Wait: step.values.push_back(parseInRange(values[0], "wait", 0, kMaxWaitMs)); break;
    case Verb::Set:
    case Verb::Brightness:
    case Verb::Density: step.values.push_back(parseInRange(values[0], step.row->word, 0, 100)); break;
    case Verb::Step: step.values.push_back(parseInt(values[0], "step")); break;
    default: break;
    }
    return step;
}

std::vector<Step> parseSteps(const FaceRow& face, const std::vector<std::string>& words) {
    std::vector<Step> steps;
    for (const std::vector<std::string>& group : splitSteps(words, "led " + std::string(face.name))) {
        steps.push_back(parseStep(face, group));
    }
    return steps;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

bool runCommonStep(BaseLed& led, const Step& step, Context& context, StepOutcome& outcome) {
    const std::vector<int>& v = step.values;
    switch (step.row->verb) {
    case Verb::Set: return led.setValue(v[0], false);
    case Verb::On: return led.setBoolean(true);
    case Verb::Off: return led.setBoolean(false);
    case Verb::Brightness: return led.setBrightness(v[0]);
    case Verb::Auto: return led.setAutoMode();
    case Verb::Save: return led.save();
    case Verb::Restore: return led.restore();
    case Verb::Color: return led.setColor(static_cast<BaseLed::Color>(v[0]), static_cast<BaseLed::Color>(v[1]));
    case Verb::AnimColor: return led.setAnimColor(static_cast<BaseLed::Color>(v[0]), static_cast<BaseLed::Color>(v[1]));
    case Verb::Density: return led.setAnimDensity(v[0]);
    case Verb::Anim: return led.setAnimEnable(v[0] != 0);
    case Verb::Step: return led.setAnimStep(v[0]);
    case Verb::Service: return led.service();
    case Verb::Wait:
#if ORVA_TOOL_SIMULATOR
        if (context.board != nullptr) {
            context.board->advanceMs(static_cast<uint64_t>(v[0]));
            return true;
        }
#endif
        (void)context;
        poll(nullptr, 0, v[0]);
        return true;
    case Verb::Get: {
        if (!led.exists()) {
            outcome.detail = "ok (no such LED on this board)";
            return true;
        }
        int device = -1;
        if (!led.readValue(device)) return false;
        if (device == -1) {
            outcome.detail = "this LED cannot be read back";
            return true;
        }
        const int user = led.convertGPIOToUser(device);
        outcome.detail = "device value " + std::to_string(device) + " (user value " + std::to_string(user) + ")";
        outcome.numbers = {{"device_value", device}, {"user_value", user}};
        return true;
    }
    case Verb::Own: break;
    }
    return false;
}

void report(Session& session, const FaceRow& face, const std::string& step, bool ok, const StepOutcome& outcome) {
    nlohmann::json object{{"command", "led"}, {"target", face.name}, {"step", step}, {"ok", ok}};
    for (const auto& [name, number] : outcome.numbers) object[name] = number;
    if (!outcome.detail.empty()) object["detail"] = outcome.detail;
    const std::string detail = outcome.detail.empty() || !ok ? okText(ok) : outcome.detail;
    session.result(std::string("led ") + face.name + ": " + step + " -> " + detail, object);
}

int runLed(const std::vector<std::string>& words, GlobalOptions& global) {
    if (words.empty()) throw UsageError{"led needs a face and a verb (see 'orva-gpio led --help')"};
    const FaceRow& face = findFace(words[0]);
    if (words.size() < 2) throw UsageError{std::string("led ") + face.name + " needs a verb (see 'orva-gpio led --help')"};
    const std::vector<Step> steps = parseSteps(face, std::vector<std::string>(words.begin() + 1, words.end()));
    if (global.checkOnly) return 0;

    Session session(global);
    session.requireKeys(face.keys, std::string("led ") + face.name);
    for (const Step& step : steps) {
        if (step.own != nullptr) session.requireKeys(step.own->keys, std::string("led ") + face.name + " " + step.own->word);
    }
    Context& context = session.context();
    std::unique_ptr<BaseLed> led = face.make(context);
    const bool initialised = led->init(face.name);
    StepOutcome initOutcome;
    if (initialised && !led->exists()) initOutcome.detail = "ok (this board has no such LED: every operation is a no-op)";
    report(session, face, "init", initialised, initOutcome);
    if (face.show != nullptr) session.state(face.name, [&] { face.show(*led, context); });
    if (!initialised) {
        led.reset();
        return session.finish(1);
    }

    bool ok = true;
    for (const Step& step : steps) {
        StepOutcome outcome;
        const bool done = step.own != nullptr ? step.own->run(*led, step.values, context, outcome)
                                              : runCommonStep(*led, step, context, outcome);
        report(session, face, joined(step.words), done, outcome);
        ok = done && ok;
        if (face.show != nullptr) session.state(face.name, [&] { face.show(*led, context); });
    }
    led.reset();  // its descriptors close: those calls are shown too
    context.companion.reset();
    return session.finish(ok ? 0 : 1);
}

std::string helpText() {
    std::string text = "FACE is one of:\n" + ledFaceList() + "\nVerbs of every face:\n" + ledVerbList() + "\nVerbs of one face:\n";
    for (const FaceRow& face : faceRows()) {
        for (const FaceVerb& verb : face.verbs) text += std::string("  ") + face.name + " " + verb.help + "\n";
    }
    text +=
        "\nSteps are joined with 'then': led ir set 30 then white on then get\n"
        "Every value is checked before the first write: a bad one is a usage error and nothing is written.\n";
    return text;
}

void setupLed(CLI::App& command, GlobalOptions& global, std::function<int()>& action) {
    command.prefix_command();
    command.footer(helpText());
    action = [&command, &global] {
        const std::vector<std::string> words = command.remaining();
        for (const std::string& word : words) {
            if (word == "-h" || word == "--help") {
                if (!global.checkOnly) printf("%s", command.help().c_str());
                return 0;
            }
        }
        return runLed(words, global);
    };
}

const CommandRegistration kLed{{"led", "drive one LED face: led FACE VERB [VALUES] [then VERB ...]", setupLed}};

}  // namespace

std::string ledFaceList() {
    std::string text;
    for (const FaceRow& row : faceRows()) {
        char line[200];
        snprintf(line, sizeof(line), "  %-12s %s\n", row.name, row.what);
        text += line;
    }
    return text;
}

std::string ledVerbList() {
    std::string text;
    for (const VerbRow& row : kVerbs) {
        if (row.help != nullptr) text += std::string("  ") + row.help + "\n";
    }
    return text;
}

std::vector<std::string> ledVerbs(const std::string& face) {
    std::vector<std::string> verbs;
    for (const FaceRow& row : faceRows()) {
        if (face != row.name) continue;
        for (const FaceVerb& verb : row.verbs) verbs.push_back(verb.word);
    }
    for (const VerbRow& row : kVerbs) verbs.push_back(row.word);
    return verbs;
}

std::vector<std::string> completeLed(const std::vector<std::string>& words) {
    std::vector<std::string> candidates;
    if (words.size() <= 1) {
        for (const FaceRow& row : faceRows()) candidates.push_back(row.name);
        return candidates;
    }
    const FaceRow* face = nullptr;
    for (const FaceRow& row : faceRows()) {
        if (words[0] == row.name) face = &row;
    }
    if (face == nullptr) return candidates;
    // The words of the step being typed, up to the one being completed.
    size_t start = 1;
    for (size_t i = 1; i + 1 < words.size(); ++i) {
        if (words[i] == "then") start = i + 1;
    }
    const size_t position = words.size() - 1 - start;  // 0: the verb
    if (position == 0) return ledVerbs(face->name);
    const std::string& verb = words[start];
    int minValues = -1;
    int maxValues = -1;
    for (const FaceVerb& own : face->verbs) {
        if (verb == own.word) {
            minValues = own.minValues;
            maxValues = own.maxValues;
        }
    }
    if (minValues < 0) {
        for (const VerbRow& row : kVerbs) {
            if (verb == row.word) minValues = maxValues = row.values;
        }
    }
    if (minValues < 0) return candidates;
    if (static_cast<int>(position) <= maxValues) {
        if (verb == "color" || verb == "anim-color") {
            candidates = colorNames();
        } else if (verb == "anim" || verb == "white" || verb == "accessory" || verb == "ir-white") {
            candidates = {"on", "off"};
        } else if (verb == "path") {
            candidates = {"1", "2"};
        }
    }
    if (static_cast<int>(position) > minValues) candidates.push_back("then");
    return candidates;
}

void checkLedWords(const std::vector<std::string>& words) {
    GlobalOptions global;
    global.checkOnly = true;
    (void)runLed(words, global);
}

}  // namespace orva::tool
