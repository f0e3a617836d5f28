// The LED-class colour LED and the microcontroller's LEDs. After each step: the colour files of the
// LED-class boards with what they hold (the LP5012 units also as their three 8-bit fields), the
// value the placeholder face keeps, and what the microcontroller was told since the last step, in
// words, with the white LED beside it.
#include <cinttypes>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "LedFaces.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"
#endif
#include "orva_gpio_utils/LedSysfs.h"
#include "orva_gpio_utils/McuLedFace.h"
#include "orva_gpio_utils/UartcliLedFace.h"

namespace orva::tool {
namespace {

#if ORVA_TOOL_SIMULATOR
// The colour files of each LED-class board as the board's hardware has them, in colour order.
struct ColorFile {
    const char* color;
    const char* path;
    bool packed;  // an LP5012 "color" attribute: three 8-bit fields in one number
};
#define ORVA_USB_LED "/sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_led"
const ColorFile kA5A0Files[] = {
    {"red", "/sys/bus/i2c/devices/3-0030/leds/R/brightness", false},
    {"green", "/sys/bus/i2c/devices/3-0030/leds/G/brightness", false},
    {"blue", "/sys/bus/i2c/devices/3-0030/leds/B/brightness", false},
    {"white", "/sys/bus/i2c/devices/3-0030/leds/W/brightness", false},
};
const ColorFile kA5A3Files[] = {
    {"red", "/sys/bus/i2c/devices/0-0030/leds/R/brightness", false}, {"red", ORVA_USB_LED "r", false},
    {"green", "/sys/bus/i2c/devices/0-0030/leds/G/brightness", false}, {"green", ORVA_USB_LED "g", false},
    {"blue", "/sys/bus/i2c/devices/0-0030/leds/B/brightness", false}, {"blue", ORVA_USB_LED "b", false},
    {"white", "/sys/bus/i2c/devices/0-0030/leds/W/brightness", false}, {"white", ORVA_USB_LED "w", false},
};
#undef ORVA_USB_LED
const ColorFile kA597Files[] = {
    {"red", "/sys/class/leds/lp5012:R1/color", true},   {"red", "/sys/class/leds/lp5012:R2/color", true},
    {"green", "/sys/class/leds/lp5012:G1/color", true}, {"green", "/sys/class/leds/lp5012:G2/color", true},
    {"blue", "/sys/class/leds/lp5012:B1/color", true},  {"blue", "/sys/class/leds/lp5012:B2/color", true},
    {"white", "/sys/class/leds/lp5012:W1/color", true}, {"white", "/sys/class/leds/lp5012:W2/color", true},
};

template <size_t N>
void printFiles(Context& context, orva::sim::SimBoard& board, const ColorFile (&files)[N]) {
    for (const ColorFile& file : files) {
        if (!board.sandbox().hasAttribute(file.path)) {
            fprintf(context.out, "  %-6s %s (not fitted)\n", file.color, file.path);
            continue;
        }
        const std::string value = board.value(file.path);
        if (file.packed) {
            // The face writes decimal text; the driver shows six hex digits (as the profile holds them).
            const bool hexText = value.size() == 6 && value[0] == '0';
            const uint32_t number = static_cast<uint32_t>(strtoul(value.c_str(), nullptr, hexText ? 16 : 10));
            fprintf(context.out, "  %-6s %s holds %s (fields %02x %02x %02x)\n", file.color, file.path, value.c_str(),
                    (number >> 16) & 0xFFu, (number >> 8) & 0xFFu, number & 0xFFu);
        } else {
            fprintf(context.out, "  %-6s %s holds %s\n", file.color, file.path, value.c_str());
        }
    }
}

#endif

void showSysfs(BaseLed& led, Context& context) {
    int value = -1;
    const bool known = led.exists() && led.readValue(value);
    fprintf(context.out, "  foreground %s, background %s, last value %s\n", colorName(led.readFgColor()),
            colorName(led.readBgColor()), known ? std::to_string(value).c_str() : "unknown");
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    switch (context.board->profile().sysid) {
    case 0xA5A0: printFiles(context, *context.board, kA5A0Files); break;
    case 0xA5A3: printFiles(context, *context.board, kA5A3Files); break;
    case 0xA597: printFiles(context, *context.board, kA597Files); break;
    default: break;
    }
#endif
}

void showMcu(BaseLed& led, Context& context) {
    int value = -1;
    led.readValue(value);
    fprintf(context.out, "  %s; value kept %d\n",
            led.isManagedByMcu() ? "the microcontroller runs this board's LED" : "this board's LED is not the microcontroller's",
            value);
}

#if ORVA_TOOL_SIMULATOR
// Frames of the journal already shown.
size_t gFramesShown = 0;

const char kWhiteLed[] = "/proc/gpio/white_led";
#endif

void showUartcli(BaseLed& led, Context& context) {
    fprintf(context.out, "  foreground %s, background %s\n", colorName(led.readFgColor()), colorName(led.readBgColor()));
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    const std::vector<orva::sim::UartcliFrame> frames = orva::sim::uartcliFrames();
    for (size_t i = gFramesShown; i < frames.size(); ++i) {
        const orva::sim::UartcliFrame& frame = frames[i];
        fprintf(context.out, "  microcontroller told: %s%s\n", frame.description.c_str(),
                frame.exitCode == 0 ? "" : (" (uartcli failed: " + std::to_string(frame.exitCode) + ")").c_str());
    }
    gFramesShown = frames.size();
    if (context.board->sandbox().hasAttribute(kWhiteLed)) {
        fprintf(context.out, "  white LED %s holds %s\n", kWhiteLed, context.board->value(kWhiteLed).c_str());
    } else {
        fprintf(context.out, "  white LED %s missing\n", kWhiteLed);
    }
#endif
}

std::unique_ptr<BaseLed> makeUartcli(Context& context) {
#if ORVA_TOOL_SIMULATOR
    // On a simulated board the microcontroller tool is the simulator's stand-in.
    if (context.board != nullptr && !orva::sim::isProgramRegistered(orva::sim::kUartcliPath)) orva::sim::registerUartcli();
    gFramesShown = 0;
#else
    (void)context;
#endif
    return std::make_unique<UartcliLedFace>();
}

const FaceRegistration kSysfs{{"sysfs", "LED-class colour LED (one colour at a time, 0..99 on its files)",
                               [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<LedSysfs>(); },
                               showSysfs, {}, nullptr}};

const FaceRegistration kMcu{{"mcu", "status LED kept by the microcontroller (placeholder, stores the value)",
                             [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<McuLedFace>(); },
                             showMcu, {}, nullptr}};

const FaceRegistration kUartcli{
    {"uartcli", "microcontroller LEDs through uartcli frames, white LED on /proc/gpio/white_led", makeUartcli,
     showUartcli, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
