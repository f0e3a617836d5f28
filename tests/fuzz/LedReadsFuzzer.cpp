// Every LED face reading what its kernel files hold. Input: one byte choosing the face and board,
// one byte choosing which of the board's attribute files gets the fuzzed text (or all of them),
// then the text; each '\n' starts the next value the files take. The first value is in place
// before init (init reads, such as the infrared light's), every value is then read back through
// save, readValue, readAutoMode, the colour and animation reads and service, and used by restore
// and a write that starts from what was read (LP5012 read-back, the infrared light's white level
// and path switch, and the like).
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "orva/sim/Mdio.h"
#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/GreenLedFace.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"
#include "orva_gpio_utils/LedFace.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"
#include "orva_gpio_utils/LedPhy.h"
#include "orva_gpio_utils/LedPower.h"
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/MulticolorLedFace.h"
#include "orva_gpio_utils/RgbLedFace.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace {

enum class Face { Front, Power, Sysfs, Mcu, Uartcli, Phy, Green, Ir, Glow, Compound, Rgb, Multicolor, Ktd };

struct Case {
    Face face;
    uint32_t sysid;
    const char* variant;
    const char* name;
};

// Each face on the boards that have it (and one without, where the face must stay a no-op).
constexpr Case kCases[] = {
    {Face::Front, 0xA533, "", "front"},
    {Face::Power, 0xA533, "", "power"},
    {Face::Sysfs, 0xA5A0, "", "sysfs"},
    {Face::Sysfs, 0xA5A3, "", "sysfs"},
    {Face::Sysfs, 0xA5A3, "usb-only", "sysfs"},
    {Face::Sysfs, 0xA5A3, "i2c-only", "sysfs"},
    {Face::Sysfs, 0xA597, "", "sysfs"},
    {Face::Mcu, 0xA571, "", "mcu"},
    {Face::Uartcli, 0xA574, "", "uartcli"},
    {Face::Phy, 0xA564, "", "phy"},
    {Face::Green, 0xA533, "", "green"},
    {Face::Green, 0xA574, "", "green"},
    {Face::Ir, 0xA533, "", "ir"},
    {Face::Ir, 0xA598, "", "ir"},
    {Face::Ir, 0xA5A4, "", "ir"},
    {Face::Glow, 0xA571, "", "glow"},
    {Face::Glow, 0xA598, "", "glow"},
    {Face::Compound, 0xA573, "", "av"},
    {Face::Compound, 0xA590, "", "av"},
    {Face::Compound, 0xA5A5, "", "av"},
    {Face::Rgb, 0xA563, "", "rgb"},
    {Face::Rgb, 0xEC70, "", "rgb"},
    {Face::Multicolor, 0xA5B0, "", "multicolor"},
    {Face::Multicolor, 0xA5A2, "", "multicolor"},
    {Face::Multicolor, 0xEC70, "", "multicolor"},
    {Face::Ktd, 0xA575, "", "ktd"},
    {Face::Ktd, 0xA5A4, "", "ktd"},
    {Face::Ktd, 0xEC70, "", "ktd"},
    {Face::Glow, 0xA574, "", "glow"},  // a torch LED
    {Face::Ir, 0xA5A6, "", "ir"},      // the white light on a backlight
};
constexpr size_t kCaseCount = sizeof(kCases) / sizeof(kCases[0]);

std::unique_ptr<BaseLed> make(Face face) {
    switch (face) {
        case Face::Front: return std::make_unique<LedFace>();
        case Face::Power: return std::make_unique<LedPower>();
        case Face::Sysfs: return std::make_unique<LedSysfs>();
        case Face::Mcu: return std::make_unique<McuLedFace>();
        case Face::Uartcli: return std::make_unique<UartcliLedFace>();
        case Face::Phy: return std::make_unique<LedPhy>();
        case Face::Green: return std::make_unique<GreenLedFace>();
        case Face::Ir: return std::make_unique<LedIr>();
        case Face::Glow: return std::make_unique<LedGlow>();
        case Face::Compound: return std::make_unique<CompoundLedFace>();
        case Face::Rgb: return std::make_unique<RgbLedFace>();
        case Face::Multicolor: return std::make_unique<MulticolorLedFace>();
        case Face::Ktd: return std::make_unique<Ktd2061LedFace>();
    }
    return nullptr;
}

// Profiles are read once; each run builds a fresh sandbox from them.
const orva::sim::BoardProfile& profileOf(const Case& c) {
    static std::vector<std::unique_ptr<orva::sim::BoardProfile>> profiles(kCaseCount);
    const size_t index = static_cast<size_t>(&c - kCases);
    if (!profiles[index]) profiles[index] = std::make_unique<orva::sim::BoardProfile>(orva::sim::BoardProfile::load(c.sysid, c.variant));
    return *profiles[index];
}

// The value as the PHY register of the PHY LED: its first two bytes, big-endian.
uint16_t registerValue(const std::string& value) {
    uint16_t result = 0;
    for (size_t i = 0; i < value.size() && i < 2; ++i) result = static_cast<uint16_t>((result << 8) | static_cast<uint8_t>(value[i]));
    return result;
}

void put(orva::sim::SimBoard& board, const Case& c, uint8_t selector, const std::string& value) {
    orva::fuzz::fill(board, selector, value);
    if (c.face == Face::Phy) orva::sim::Mdio::setRegister("eth0", 0x11, registerValue(value));
}

void readEverything(BaseLed& led, orva::sim::SimBoard& board) {
    int value = 0;
    bool enabled = false;
    (void)led.save();
    (void)led.readValue(value);
    (void)led.convertGPIOToUser(value);
    (void)led.readAutoMode(enabled);
    (void)led.readFgColor();
    (void)led.readBgColor();
    (void)led.readFgAnimColor();
    (void)led.readBgAnimColor();
    (void)led.readAnimDensity();
    (void)led.readAnimEnable();
    (void)led.readAnimStep();
    (void)led.service();
    board.advanceMs(1000);
    (void)led.service();
    (void)led.restore();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    orva::fuzz::quietLogging();
    const Case& c = kCases[data[0] % kCaseCount];
    const uint8_t selector = data[1];
    const std::vector<std::string> values = orva::fuzz::pieces(data + 2, size - 2);

    orva::sim::SimBoard& board = orva::fuzz::boardFor(profileOf(c));
    if (c.face == Face::Uartcli && !orva::sim::isProgramRegistered(orva::sim::kUartcliPath)) orva::sim::registerUartcli();
    orva::fuzz::Restore restore(board, selector);
    put(board, c, selector, values[0]);

    std::unique_ptr<BaseLed> led = make(c.face);
    if (!led->init(c.name)) return 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i > 0) put(board, c, selector, values[i]);
        readEverything(*led, board);
        // Writes that start from what the files held (colour read-back, animations, brightness).
        (void)led->setBrightness(static_cast<int>(i * 37 % 101));
        (void)led->setValue(static_cast<int>(i * 53 % 101), false);
        (void)led->setColor(static_cast<BaseLed::Color>(1 + i % 15), BaseLed::COLOR_BLACK);
        (void)led->setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE);
        (void)led->setAnimEnable(true);
        (void)led->setAnimStep(static_cast<int>(i + 1));
        if (c.face == Face::Ir) {
            // A new white level starts from what the white light's file holds, a switch of the
            // light's path from what the light holds.
            auto& ir = static_cast<LedIr&>(*led);
            (void)ir.setMaxWhiteLedLevel(static_cast<int>(i * 71 % 300));
            (void)ir.setWhiteLedOn(i % 2 == 0);
            (void)ir.setPathIndex(2 - static_cast<int>(i % 2));
        }
    }
    return 0;
}
