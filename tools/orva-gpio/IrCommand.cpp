// "ir [--hwrev N] [--sstar] STEP [then STEP ...]": initialises the infrared light of the board and
// runs the steps on it in order, showing each step's writes as a timeline of virtual time.
#include <cstdint>
#include <limits>
#include <memory>

#include "Commands.h"
#include "Report.h"
#include "orva/platform.h"
#include "orva/sim/Programs.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/LedIr.h"

namespace orva::tool {

namespace {

constexpr char kFactoryTool[] = "/bin/orva_isp_fac_cmd";

struct Step {
    std::string verb;
    std::vector<std::string> values;
};

bool parseSwitch(const std::string& word, const std::string& verb) {
    if (word == "on") return true;
    if (word == "off") return false;
    throw UsageError{"ir " + verb + " takes on or off, not '" + word + "'"};
}

// Every value a step takes, checked before the light is touched. Device values are the IR light's
// range 0..99; the IR brightness 0..255.
void checkValues(const Step& step) {
    const std::string& verb = step.verb;
    if (verb == "white" || verb == "accessory") {
        parseSwitch(step.values[0], verb);
    } else if (verb == "set") {
        parseInRange(step.values[0], "the user value", 0, 100);
    } else if (verb == "write") {
        parseInRange(step.values[0], "the device value", 0, 99);
        if (step.values.size() == 2) parseInRange(step.values[1], "the second channel", 0, 99);
    } else if (verb == "brightness") {
        parseInRange(step.values[0], "the IR brightness", 0, 255);
    } else if (verb == "white-max") {
        parseInRange(step.values[0], "the white level", 0, std::numeric_limits<int>::max());
    } else if (verb == "path") {
        parseInRange(step.values[0], "the path", 1, 2);
    }
}

// Splits "set 30 then white on" into its steps and checks each verb and its values.
std::vector<Step> parseSteps(const std::vector<std::string>& words) {
    std::vector<Step> steps;
    for (const std::vector<std::string>& group : splitSteps(words, "ir")) {
        Step current{group[0], std::vector<std::string>(group.begin() + 1, group.end())};
        const size_t count = current.values.size();
        const std::string& verb = current.verb;
        bool fits;
        if (verb == "get" || verb == "status") {
            fits = count == 0;
        } else if (verb == "write") {
            fits = count == 1 || count == 2;
        } else if (verb == "set" || verb == "brightness" || verb == "white-max" || verb == "path" || verb == "white" ||
                   verb == "accessory") {
            fits = count == 1;
        } else {
            throw UsageError{"unknown ir step '" + verb + "'"};
        }
        if (!fits) throw UsageError{"wrong number of values for ir " + verb};
        checkValues(current);
        steps.push_back(current);
    }
    return steps;
}

// The writes (and program runs) a step made, as (virtual ms since the step began, file, bytes),
// then a summary.
void printTimeline(FILE* out, const orva::sim::Sandbox& sandbox, size_t firstEntry, uint64_t startUs) {
    const auto& journal = sandbox.journal();
    size_t writes = 0;
    bool header = false;
    for (size_t i = firstEntry; i < journal.size(); ++i) {
        const orva::sim::JournalEntry& entry = journal[i];
        if (entry.call != orva::sim::Call::Write && entry.call != orva::sim::Call::Exec) continue;
        if (!header) fprintf(out, "  timeline (virtual ms since the step began):\n");
        header = true;
        const uint64_t us = entry.timeUs - startUs;
        if (entry.call == orva::sim::Call::Exec) {
            fprintf(out, "    %4llu.%03llu  %s\n", static_cast<unsigned long long>(us / 1000),
                    static_cast<unsigned long long>(us % 1000), describe(entry).c_str());
            continue;
        }
        fprintf(out, "    %4llu.%03llu  %s  \"%s\"%s\n", static_cast<unsigned long long>(us / 1000),
                static_cast<unsigned long long>(us % 1000), entry.path.c_str(), escapeBytes(entry.bytes).c_str(),
                entry.result < 0 ? "  (failed)" : "");
        ++writes;
    }
    const uint64_t took = sandbox.nowUs() - startUs;
    fprintf(out, "  %zu write%s in %llu.%03llu ms of virtual time\n", writes, writes == 1 ? "" : "s",
            static_cast<unsigned long long>(took / 1000), static_cast<unsigned long long>(took % 1000));
}

bool runStep(LedIr& led, const Step& step, FILE* out) {
    const std::string& verb = step.verb;
    if (verb == "get") {
        int device = -1;
        const bool ok = led.readValue(device);
        if (ok && device == -1) {
            fprintf(out, "ir get: this IR light cannot be read back\n");
        } else if (ok) {
            fprintf(out, "ir get: device value %d\n", device);
        } else {
            fprintf(out, "ir get -> FAILED\n");
        }
        return ok;
    }
    if (verb == "status") {
        const bool exists = led.exists();
        fprintf(out, "ir status: %s%s\n", exists ? "IR light present" : "no IR light",
                exists ? (led.isStatusLight() ? ", serves as status light" : ", not the status light") : "");
        return true;
    }
    if (verb == "white" || verb == "accessory") {
        const bool on = parseSwitch(step.values[0], verb);
        const bool ok = verb == "white" ? led.setWhiteLedOn(on) : led.accessoryIrOn(on);
        fprintf(out, "ir %s %s -> %s\n", verb.c_str(), on ? "on" : "off", okText(ok));
        return ok;
    }
    const int value = parseInt(step.values[0], "the value");
    bool ok;
    if (verb == "set") {
        ok = led.setValue(value, false);
        fprintf(out, "ir set %d -> %s\n", value, okText(ok));
        return ok;
    }
    if (verb == "write") {
        const int second = step.values.size() == 2 ? parseInt(step.values[1], "the second channel") : -1;
        ok = led.writeValue(value, second);
        if (step.values.size() == 2) {
            fprintf(out, "ir write %d %d -> %s\n", value, second, okText(ok));
        } else {
            fprintf(out, "ir write %d -> %s\n", value, okText(ok));
        }
        return ok;
    }
    if (verb == "brightness") {
        ok = led.irSetBrightness(value);
    } else if (verb == "white-max") {
        ok = led.setMaxWhiteLedLevel(value);
    } else {
        ok = led.setPathIndex(value) == 0;
    }
    fprintf(out, "ir %s %d -> %s\n", verb.c_str(), value, okText(ok));
    return ok;
}

}  // namespace

int runIrCommand(const std::vector<std::string>& words, Context& context) {
    std::vector<std::string> rest = words;
    long long hwrev = -1;
    bool sstar = false;
    while (!rest.empty() && rest[0].size() > 2 && rest[0].compare(0, 2, "--") == 0) {
        if (rest[0] == "--sstar") {
            sstar = true;
            rest.erase(rest.begin());
        } else if (rest[0] == "--hwrev") {
            if (rest.size() < 2) throw UsageError{"--hwrev needs a value"};
            hwrev = parseInt(rest[1], "--hwrev");
            if (hwrev < 0) throw UsageError{"--hwrev takes a revision of 0 or more"};
            rest.erase(rest.begin(), rest.begin() + 2);
        } else {
            throw UsageError{"unknown ir option '" + rest[0] + "'"};
        }
    }
    const std::vector<Step> steps = parseSteps(rest);

    if (context.board != nullptr) {
        orva::variant::Variant& info = orva::variant::CameraInfo::instance();
        if (hwrev >= 0) info["hwrev"] = static_cast<unsigned long long>(hwrev);
        if (sstar) info["isSStar"] = true;
        // The early revisions of one board switch the light through the factory tool: stand in for it.
        orva::sim::registerProgram(kFactoryTool, [out = context.out](const std::vector<std::string>& arguments) {
            std::string line;
            for (const std::string& argument : arguments) line += " " + argument;
            fprintf(out, "  (factory tool stand-in ran with%s)\n", line.c_str());
            return orva::sim::ProgramOutcome::exited(0);
        });
    }

    LedIr led;
    const bool initialised = led.init("ir");
    fprintf(context.out, "ir: init -> %s%s\n", okText(initialised),
            initialised && !led.exists() ? " (this board has no IR light: every operation is a no-op)" : "");
    if (!initialised) return 1;

    bool ok = true;
    for (const Step& step : steps) {
        if (context.board == nullptr) {
            ok = runStep(led, step, context.out) && ok;
            continue;
        }
        orva::sim::Sandbox& sandbox = context.board->sandbox();
        const size_t firstEntry = sandbox.journal().size();
        const uint64_t startUs = sandbox.nowUs();
        ok = runStep(led, step, context.out) && ok;
        if (step.verb != "get" && step.verb != "status") printTimeline(context.out, sandbox, firstEntry, startUs);
    }
    return ok ? 0 : 1;
}

}  // namespace orva::tool
