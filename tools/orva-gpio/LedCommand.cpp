// "led FACE STEP [then STEP ...]": initialises one LED face and applies its steps in order. Every
// step is read and checked before the face is made, so a bad word changes nothing.
#include <cstdio>
#include <memory>

#include "Commands.h"
#include "LedFaces.h"
#include "orva/sim/SimBoard.h"

namespace orva::tool {

namespace {

enum class Verb { Set, On, Off, Brightness, Get, Auto, Save, Restore, Color, AnimColor, Density, Anim, Step, Service, Wait };

struct VerbRow {
    const char* word;
    Verb verb;
    int values;  // number of words after the verb
    const char* help;
};

constexpr VerbRow kVerbs[] = {
    {"set", Verb::Set, 1, "set VALUE            user value 0..100 (0/1 on a binary LED)"},
    {"on", Verb::On, 0, "on | off             switch fully on or off"},
    {"off", Verb::Off, 0, nullptr},
    {"brightness", Verb::Brightness, 1, "brightness PCT       brightness 0..100 applied to the value"},
    {"get", Verb::Get, 0, "get                  read the device value back"},
    {"auto", Verb::Auto, 0, "auto                 automatic mode"},
    {"save", Verb::Save, 0, "save | restore       remember the state | bring it back"},
    {"restore", Verb::Restore, 0, nullptr},
    {"color", Verb::Color, 2, "color FG BG          foreground and background colour (red, white_red, ... or 0..15)"},
    {"anim-color", Verb::AnimColor, 2, "anim-color FG BG     animation colours"},
    {"density", Verb::Density, 1, "density N            animation density (percent)"},
    {"anim", Verb::Anim, 1, "anim on | off        animation on or off"},
    {"step", Verb::Step, 1, "step N               animation step (a new number moves the animation on)"},
    {"service", Verb::Service, 0, "service              the face's periodic work"},
    {"wait", Verb::Wait, 1, "wait MS              advance the virtual clock"},
};

struct Step {
    const VerbRow* row;
    std::vector<std::string> words;  // the verb and its values, as typed
    int first = 0;                   // numeric or colour value
    int second = 0;
};

const FaceRow& findFace(const std::string& name) {
    for (const FaceRow& row : faceRows()) {
        if (name == row.name) return row;
    }
    throw UsageError{"unknown LED face '" + name + "'"};
}

Step parseStep(const FaceRow& face, const std::vector<std::string>& words) {
    const VerbRow* found = nullptr;
    for (const VerbRow& row : kVerbs) {
        if (words[0] == row.word) found = &row;
    }
    if (found == nullptr) throw UsageError{"unknown verb '" + words[0] + "' for led " + face.name};
    if (static_cast<int>(words.size()) != found->values + 1) {
        throw UsageError{std::string("led ") + face.name + " " + found->word +
                         (found->values == 0 ? " takes no value" : found->values == 1 ? " needs one value" : " needs two values")};
    }
    Step step{found, words};
    switch (found->verb) {
        case Verb::Color:
        case Verb::AnimColor:
            step.first = parseColor(words[1]);
            step.second = parseColor(words[2]);
            if (step.first < BaseLed::COLOR_BLACK || step.first > BaseLed::COLOR_WHITE_MAGENTA ||
                step.second < BaseLed::COLOR_BLACK || step.second > BaseLed::COLOR_WHITE_MAGENTA) {
                throw UsageError{std::string(found->word) + " takes colours black..white_magenta (1..15)"};
            }
            break;
        case Verb::Anim:
            if (words[1] != "on" && words[1] != "off") throw UsageError{"anim takes on or off"};
            step.first = words[1] == "on";
            break;
        case Verb::Wait:
            step.first = parseInt(words[1], "the time");
            if (step.first < 0) throw UsageError{"wait needs a time of 0 ms or more"};
            break;
        case Verb::Set:
        case Verb::Brightness:
        case Verb::Density:
            step.first = parseInt(words[1], "the value");
            if (step.first < 0 || step.first > 100) {
                throw UsageError{std::string(found->word) + " takes 0..100: '" + words[1] + "'"};
            }
            break;
        default:
            if (found->values == 1) step.first = parseInt(words[1], "the value");
            break;
    }
    return step;
}

std::vector<Step> parseSteps(const FaceRow& face, const std::vector<std::string>& words) {
    std::vector<Step> steps;
    const std::vector<std::string> stepWords(words.begin() + 1, words.end());
    for (const std::vector<std::string>& group : splitSteps(stepWords, "led " + std::string(face.name))) {
        steps.push_back(parseStep(face, group));
    }
    return steps;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

bool runStep(BaseLed& led, const Step& step, const FaceRow& face, Context& context) {
    bool ok = true;
    switch (step.row->verb) {
        case Verb::Set: ok = led.setValue(step.first, false); break;
        case Verb::On: ok = led.setBoolean(true); break;
        case Verb::Off: ok = led.setBoolean(false); break;
        case Verb::Brightness: ok = led.setBrightness(step.first); break;
        case Verb::Auto: ok = led.setAutoMode(); break;
        case Verb::Save: ok = led.save(); break;
        case Verb::Restore: ok = led.restore(); break;
        case Verb::Color:
            ok = led.setColor(static_cast<BaseLed::Color>(step.first), static_cast<BaseLed::Color>(step.second));
            break;
        case Verb::AnimColor:
            ok = led.setAnimColor(static_cast<BaseLed::Color>(step.first), static_cast<BaseLed::Color>(step.second));
            break;
        case Verb::Density: ok = led.setAnimDensity(step.first); break;
        case Verb::Anim: ok = led.setAnimEnable(step.first != 0); break;
        case Verb::Step: ok = led.setAnimStep(step.first); break;
        case Verb::Service: ok = led.service(); break;
        case Verb::Wait:
            if (context.board != nullptr) context.board->advanceMs(static_cast<uint64_t>(step.first));
            break;
        case Verb::Get: {
            int device = 0;
            ok = !led.exists() || led.readValue(device);
            if (led.exists() && ok) {
                fprintf(context.out, "led %s: device value %d (user value %d)\n", face.name, device,
                        led.convertGPIOToUser(device));
                return true;
            }
            break;
        }
    }
    fprintf(context.out, "led %s: %s -> %s\n", face.name, joined(step.words).c_str(), okText(ok));
    return ok;
}

}  // namespace

std::string ledFaceList() {
    std::string text;
    for (const FaceRow& row : faceRows()) {
        char line[160];
        snprintf(line, sizeof(line), "  %-12s %s\n", row.name, row.what);
        text += line;
    }
    return text;
}

std::string ledVerbList() {
    std::string text;
    for (const VerbRow& row : kVerbs) {
        if (row.help != nullptr) text += std::string("    ") + row.help + "\n";
    }
    return text;
}

void checkLedCommand(const std::vector<std::string>& words) {
    if (words.size() < 2) throw UsageError{"led needs a face and a verb"};
    (void)parseSteps(findFace(words[0]), words);
}

int runLedCommand(const std::vector<std::string>& words, Context& context) {
    if (words.size() < 2) throw UsageError{"led needs a face and a verb"};
    const FaceRow& face = findFace(words[0]);
    const std::vector<Step> steps = parseSteps(face, words);

    std::unique_ptr<BaseLed> led = face.make(context);
    const bool initialised = led->init(face.name);
    fprintf(context.out, "led %s: init -> %s%s\n", face.name, okText(initialised),
            initialised && !led->exists() ? " (this board has no such LED: every operation is a no-op)" : "");
    if (face.show != nullptr) face.show(*led, context);
    if (!initialised) return 1;

    bool ok = true;
    for (const Step& step : steps) {
        ok = runStep(*led, step, face, context) && ok;
        if (face.show != nullptr) face.show(*led, context);
    }
    return ok ? 0 : 1;
}

}  // namespace orva::tool
