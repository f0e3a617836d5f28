// The infrared light with the white light and the accessory IR output it switches. Its own verbs
// reach the channels directly (write), pick the channel (path), and switch the white light and the
// accessory output; the revision and SStar keys come from --key (e.g. --key hwrev=2 --key isSStar=1).
#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "LedFaces.h"
#include "orva_gpio_utils/LedIr.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/Programs.h"
#endif

namespace orva::tool {
namespace {

// The early revisions of one board switch the light through the factory tool.
constexpr char kFactoryTool[] = "/bin/orva_isp_fac_cmd";

LedIr& ir(BaseLed& led) { return static_cast<LedIr&>(led); }

std::unique_ptr<BaseLed> makeIr(Context& context) {
#if ORVA_TOOL_SIMULATOR
    // On a simulated board the factory tool is a stand-in that succeeds; its runs are journaled.
    if (context.board != nullptr && !orva::sim::isProgramRegistered(kFactoryTool)) {
        orva::sim::registerProgram(kFactoryTool, [](const std::vector<std::string>&) {
            return orva::sim::ProgramOutcome::exited(0);
        });
    }
#endif
    (void)context;
    return std::make_unique<LedIr>();
}

std::vector<int> checkWrite(const std::vector<std::string>& values) {
    std::vector<int> numbers{parseInRange(values[0], "the device value", 0, 99)};
    if (values.size() == 2) numbers.push_back(parseInRange(values[1], "the second channel", 0, 99));
    return numbers;
}

bool runWrite(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).writeValue(values[0], values.size() == 2 ? values[1] : -1);
}

std::vector<int> checkNone(const std::vector<std::string>&) { return {}; }

bool runStatus(BaseLed& led, const std::vector<int>&, Context&, StepOutcome& outcome) {
    const bool exists = led.exists();
    const bool status = exists && ir(led).isStatusLight();
    outcome.detail = !exists ? "no IR light" : status ? "IR light present, serves as status light"
                                                       : "IR light present, not the status light";
    outcome.numbers = {{"present", exists ? 1 : 0}, {"status_light", status ? 1 : 0}};
    return true;
}

std::vector<int> checkPath(const std::vector<std::string>& values) { return {parseInRange(values[0], "the path", 1, 2)}; }

bool runPath(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).setPathIndex(values[0]) == 0;
}

std::vector<int> checkIrBrightness(const std::vector<std::string>& values) {
    return {parseInRange(values[0], "the IR brightness", 0, 255)};
}

bool runIrBrightness(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).irSetBrightness(values[0]);
}

std::vector<int> checkWhite(const std::vector<std::string>& values) { return {parseSwitch(values[0], "led ir white")}; }

bool runWhite(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).setWhiteLedOn(values[0] != 0);
}

std::vector<int> checkLevel(const std::vector<std::string>& values) {
    return {parseInRange(values[0], "the white level", 0, INT_MAX)};
}

bool runWhiteMax(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).setMaxWhiteLedLevel(values[0]);
}

std::vector<int> checkAccessory(const std::vector<std::string>& values) {
    return {parseSwitch(values[0], "led ir accessory")};
}

bool runAccessory(BaseLed& led, const std::vector<int>& values, Context&, StepOutcome&) {
    return ir(led).accessoryIrOn(values[0] != 0);
}

const FaceRegistration kIr{{
    "ir",
    "infrared light (one or two channels 0..99, fades), white light and accessory IR output",
    makeIr,
    nullptr,
    {
        {"write", 1, 2, "write DEVICE [SECOND]   device value 0..99 straight to the channel; SECOND for the wide one",
         checkWrite, runWrite, nullptr},
        {"status", 0, 0, "status                  whether the board has the light and it serves as status light",
         checkNone, runStatus, nullptr},
        {"path", 1, 1, "path 1 | 2              the channel that set, write and get use", checkPath, runPath, nullptr},
        {"ir-brightness", 1, 1, "ir-brightness LEVEL     IR brightness 0..255 (scales direct PWM writes)",
         checkIrBrightness, runIrBrightness, nullptr},
        {"white", 1, 1, "white on | off          white light at its level, or off", checkWhite, runWhite, nullptr},
        {"white-max", 1, 1, "white-max LEVEL         white level, clamped to the board's maximum", checkLevel,
         runWhiteMax, nullptr},
        {"accessory", 1, 1, "accessory on | off      accessory IR output", checkAccessory, runAccessory, nullptr},
    },
    "feature_led_ir feature_led_status hwrev@0xA532",
}};

}  // namespace
}  // namespace orva::tool
