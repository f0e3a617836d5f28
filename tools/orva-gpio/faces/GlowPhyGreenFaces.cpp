// The glow light, the Ethernet PHY LED and the green status LED.
#include <cstdio>
#include <cstring>
#include <string>

#include "LedFaces.h"
#include "orva/sim/Mdio.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedPhy.h"

namespace orva::tool {
namespace {

// The first file the face opened (the runner makes one face, which opens its file in init).
std::string firstOpened(Context& context) {
    for (const orva::sim::JournalEntry& entry : context.board->journal()) {
        if (entry.call == orva::sim::Call::Open && entry.result > 0) return entry.path;
    }
    return std::string();
}

void showGlow(BaseLed& led, Context& context) {
    if (context.board == nullptr || !led.exists()) return;
    const std::string path = firstOpened(context);
    if (path.empty()) return;
    fprintf(context.out, "  glow light %s holds %s (range 0..%d)\n", path.c_str(), context.board->value(path).c_str(),
            led.rangeMax());
}

void showGreen(BaseLed& led, Context& context) {
    if (context.board == nullptr) return;
    const std::string path = firstOpened(context);
    if (path.empty()) return;
    int value = 0;
    led.readValue(value);
    fprintf(context.out, "  green LED %s holds %s (foreground %s, background %s, value %d)\n", path.c_str(),
            context.board->value(path).c_str(), colorName(led.readFgColor()), colorName(led.readBgColor()), value);
}

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

const FaceRegistration kGlow{{"glow", "glow light (PWM, backlight or torch LED brightness; shares the white LED)",
                              [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedGlow>(); },
                              showGlow}};
const FaceRegistration kPhy{{"phy", "Ethernet PHY LED (register 0x11 of eth0 over MDIO, on/off)",
                             [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedPhy>(); },
                             showPhy}};
const FaceRegistration kGreen{{"green", "green status LED (LED class 0..255, green share of fg/bg colours)",
                               [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<GreenLedFace>(); },
                               showGreen}};

}  // namespace
}  // namespace orva::tool
