// The glow light, the Ethernet PHY LED and the green status LED. The glow light shares the white
// LED with the infrared face, which switches it on and off: its own verbs reach that face too.
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "LedFaces.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/Mdio.h"
#include "orva/sim/SimBoard.h"
#endif
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPhy.h"

namespace orva::tool {
namespace {

#if ORVA_TOOL_SIMULATOR
// The first file the face opened (the runner makes one face, which opens its file in init).
std::string firstOpened(Context& context) {
    for (const orva::sim::JournalEntry& entry : context.board->journal()) {
        if (entry.call == orva::sim::Call::Open && entry.result > 0) return entry.path;
    }
    return std::string();
}

#endif

void showGlow(BaseLed& led, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr || !led.exists()) return;
    const std::string path = firstOpened(context);
    if (path.empty()) return;
    fprintf(context.out, "  glow light %s holds %s (range 0..%d)\n", path.c_str(), context.board->value(path).c_str(),
            led.rangeMax());
#else
    (void)led;
    (void)context;
#endif
}

void showGreen(BaseLed& led, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    const std::string path = firstOpened(context);
    if (path.empty()) return;
    int value = 0;
    led.readValue(value);
    fprintf(context.out, "  green LED %s holds %s (foreground %s, background %s, value %d)\n", path.c_str(),
            context.board->value(path).c_str(), colorName(led.readFgColor()), colorName(led.readBgColor()), value);
#else
    (void)led;
    (void)context;
#endif
}

#if ORVA_TOOL_SIMULATOR
// The PHY LED of board 0xA564: bits 3..5 of register 0x11 of eth0.
constexpr char kPhyInterface[] = "eth0";
constexpr unsigned kPhyRegister = 0x11;
constexpr unsigned kPhyLedField = 0x0038;

std::string fieldText(unsigned content) {
    char text[48];
    const unsigned field = content & kPhyLedField;
    snprintf(text, sizeof(text), "LED field 0x%02x: %s", field,
             field == 0x0038 ? "on" : field == 0x0008 ? "off" : "reads as off");
    return text;
}

// Prints the register as init found it, then for every MDIO write since the last call the content
// before (as the face read it) and after.
void showPhy(BaseLed& led, Context& context) {
    static size_t seen = 0;
    static bool started = false;
    if (context.board == nullptr || !led.exists()) return;
    const auto& journal = context.board->journal();
    if (!started) {
        started = true;
        if (orva::sim::Mdio::hasInterface(kPhyInterface)) {
            const unsigned content = orva::sim::Mdio::getRegister(kPhyInterface, kPhyRegister);
            fprintf(context.out, "  PHY %s register 0x%02x holds 0x%04x (%s)\n", kPhyInterface, kPhyRegister, content,
                    fieldText(content).c_str());
        } else {
            fprintf(context.out, "  PHY %s: no such interface on this board\n", kPhyInterface);
        }
    }
    if (seen > journal.size()) seen = 0;
    const std::vector<orva::sim::JournalEntry> fresh(journal.begin() + static_cast<std::ptrdiff_t>(seen), journal.end());
    seen = journal.size();
    long before = -1;
    for (const orva::sim::MdioAccess& access : orva::sim::Mdio::accesses(fresh)) {
        if (access.kind == orva::sim::MdioAccess::Kind::Read) {
            before = access.result == 0 ? static_cast<long>(access.value) : -1;
            if (access.result != 0) {
                fprintf(context.out, "  PHY %s register 0x%02x: read failed (%s)\n", access.interface.c_str(),
                        access.reg, strerror(access.error));
            }
        } else if (access.kind == orva::sim::MdioAccess::Kind::Write) {
            if (access.result != 0) {
                fprintf(context.out, "  PHY %s register 0x%02x: write of 0x%04x failed (%s)\n",
                        access.interface.c_str(), access.reg, access.value, strerror(access.error));
                continue;
            }
            char previous[24] = "?";
            if (before >= 0) snprintf(previous, sizeof(previous), "0x%04lx", before);
            fprintf(context.out, "  PHY %s register 0x%02x: before %s, after 0x%04x (%s)\n", access.interface.c_str(),
                    access.reg, previous, access.value, fieldText(access.value).c_str());
        }
    }
}
#else
void showPhy(BaseLed&, Context&) {}
#endif

// What the infrared face reads of the device information.
constexpr char kInfraredKeys[] = "feature_led_ir feature_led_status hwrev@0xA532";

std::vector<int> checkNone(const std::vector<std::string>&) { return {}; }

bool runRange(BaseLed& led, const std::vector<int>&, Context&, StepOutcome& outcome) {
    outcome.detail = "device range " + std::to_string(led.rangeMin()) + ".." + std::to_string(led.rangeMax());
    outcome.numbers = {{"range_min", led.rangeMin()}, {"range_max", led.rangeMax()}};
    return true;
}

// The infrared face that switches the white LED the glow light dims; made on first use.
struct Infrared {
    LedIr face;
    bool ready = false;
};

LedIr* infraredFace(Context& context, StepOutcome& outcome) {
    if (!context.companion) {
        auto infrared = std::make_shared<Infrared>();
        infrared->ready = infrared->face.init("ir");
        context.companion = infrared;
    }
    Infrared& infrared = *static_cast<Infrared*>(context.companion.get());
    if (!infrared.ready) outcome.detail = "the infrared face did not initialise";
    return infrared.ready ? &infrared.face : nullptr;
}

std::vector<int> checkIrWhite(const std::vector<std::string>& values) {
    return {parseSwitch(values[0], "led glow ir-white")};
}

bool runIrWhite(BaseLed&, const std::vector<int>& values, Context& context, StepOutcome& outcome) {
    LedIr* ir = infraredFace(context, outcome);
    return ir != nullptr && ir->setWhiteLedOn(values[0] != 0);
}

std::vector<int> checkIrWhiteLevel(const std::vector<std::string>& values) {
    return {parseInRange(values[0], "the white level", 0, INT_MAX)};
}

bool runIrWhiteLevel(BaseLed&, const std::vector<int>& values, Context& context, StepOutcome& outcome) {
    LedIr* ir = infraredFace(context, outcome);
    return ir != nullptr && ir->setMaxWhiteLedLevel(values[0]);
}

const FaceRegistration kGlow{{
    "glow",
    "glow light (PWM, backlight or torch LED brightness; shares the white LED)",
    [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedGlow>(); },
    showGlow,
    {
        {"range", 0, 0, "range                 the device range of the board's glow light", checkNone, runRange, nullptr},
        {"ir-white", 1, 1, "ir-white on | off     the white LED on at its level, or off, through the infrared face",
         checkIrWhite, runIrWhite, kInfraredKeys},
        {"ir-white-level", 1, 1, "ir-white-level LEVEL  the infrared face's white level (clamped to the board's)",
         checkIrWhiteLevel, runIrWhiteLevel, kInfraredKeys},
    },
    nullptr,
}};
const FaceRegistration kPhy{{"phy", "Ethernet PHY LED (register 0x11 of eth0 over MDIO, on/off)",
                             [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedPhy>(); },
                             showPhy, {}, nullptr}};
const FaceRegistration kGreen{{"green", "green status LED (LED class 0..255, green share of fg/bg colours)",
                               [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<GreenLedFace>(); },
                               showGreen, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
