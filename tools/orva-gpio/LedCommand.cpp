// "led FACE VERB [VALUE]": initialises one LED face and applies one operation to it.
#include <functional>
#include <memory>

#include "Commands.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedPower.h"

namespace orva::tool {

namespace {

struct FaceEntry {
    const char* name;
    const char* description;
    std::function<std::unique_ptr<BaseLed>()> make;
};

const std::vector<FaceEntry>& faces() {
    static const std::vector<FaceEntry> table = {
        {"front", "front light", [] { return std::unique_ptr<BaseLed>(new LedFace); }},
        {"power", "power LED", [] { return std::unique_ptr<BaseLed>(new LedPower); }},
    };
    return table;
}

const FaceEntry& findFace(const std::string& name) {
    for (const FaceEntry& entry : faces()) {
        if (name == entry.name) return entry;
    }
    throw UsageError{"unknown LED face '" + name + "'"};
}

const char* okText(bool ok) { return ok ? "ok" : "FAILED"; }

}  // namespace

std::string ledFaceList() {
    std::string text;
    for (const FaceEntry& entry : faces()) text += std::string("  ") + entry.name + "\t" + entry.description + "\n";
    return text;
}

int runLedCommand(const std::vector<std::string>& words, Context& context) {
    if (words.size() < 2) throw UsageError{"led needs a face and a verb"};
    const FaceEntry& face = findFace(words[0]);
    const std::string& verb = words[1];
    const bool needsValue = verb == "set" || verb == "brightness";
    if (verb != "set" && verb != "brightness" && verb != "on" && verb != "off" && verb != "get") {
        throw UsageError{"unknown verb '" + verb + "' for led " + face.name};
    }
    if (needsValue != (words.size() == 3) || words.size() > 3) {
        throw UsageError{needsValue ? "led " + words[0] + " " + verb + " needs one value"
                                    : "led " + words[0] + " " + verb + " takes no value"};
    }
    const int value = needsValue ? parseInt(words[2], "the value") : 0;

    std::unique_ptr<BaseLed> led = face.make();
    const bool initialised = led->init(face.name);
    fprintf(context.out, "led %s: init -> %s%s\n", face.name, okText(initialised),
            initialised && !led->exists() ? " (this board has no such LED: every operation is a no-op)" : "");
    if (!initialised) return 1;

    bool ok = true;
    if (verb == "set") {
        ok = led->setValue(value, false);
        fprintf(context.out, "led %s: set %d -> %s\n", face.name, value, okText(ok));
    } else if (verb == "brightness") {
        ok = led->setBrightness(value);
        fprintf(context.out, "led %s: brightness %d -> %s\n", face.name, value, okText(ok));
    } else if (verb == "on" || verb == "off") {
        ok = led->setBoolean(verb == "on");
        fprintf(context.out, "led %s: %s -> %s\n", face.name, verb.c_str(), okText(ok));
    } else {
        int device = 0;
        ok = !led->exists() || led->readValue(device);
        if (led->exists() && ok) {
            fprintf(context.out, "led %s: device value %d (user value %d)\n", face.name, device,
                    led->convertGPIOToUser(device));
        } else {
            fprintf(context.out, "led %s: get -> %s\n", face.name, okText(ok));
        }
    }
    return ok ? 0 : 1;
}

}  // namespace orva::tool
