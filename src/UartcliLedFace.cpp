#include "orva_gpio_utils/UartcliLedFace.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/AttributeFile.h"
#include "platform/ScopeGuard.h"

namespace {
constexpr char kLogSource[] = "src/UartcliLedFace";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;
using orva::gpioutils::LogSite;
namespace attribute = orva::gpioutils::attribute;

// The microcontroller's command-line tool turns "\xHH" text into bytes and sends them. Frames are
// VISCA-style: 81 (to device 1) 01 04 (category), FE, the command, FF (end).
constexpr char kUartcli[] = "/usr/bin/uartcli";
// F9 00 / F9 01: this processor takes / gives back control of the LEDs.
constexpr char kTakeControlFrame[] = "\\x81\\x01\\x04\\xFE\\xF9\\x00\\xFF";
constexpr char kReleaseControlFrame[] = "\\x81\\x01\\x04\\xFE\\xF9\\x01\\xFF";
// 06 01 CC 02 00 00 00: light colour code CC (the backslash before the code is in the template).
constexpr char kSetColorFrame[] = "\\x81\\x01\\x04\\xFE\\x06\\x01\\%s\\x02\\x00\\x00\\x00\\xFF";

// Colour codes of the microcontroller's LEDs (a bit mask); every other colour turns them off.
struct McuColorCode {
    BaseLed::Color color;
    const char* code;
};
constexpr McuColorCode kMcuColorCodes[] = {
    {BaseLed::COLOR_RED, "x01"},
    {BaseLed::COLOR_GREEN, "x02"},
    {BaseLed::COLOR_BLUE, "x04"},
};
constexpr char kAllOffCode[] = "x00";

// The white LED is wired to this processor, not to the microcontroller.
constexpr char kWhiteLed[] = "/proc/gpio/white_led";

constexpr int kRangeMax = 512;

const char* codeOf(BaseLed::Color color) {
    for (const McuColorCode& entry : kMcuColorCodes) {
        if (entry.color == color) return entry.code;
    }
    return kAllOffCode;
}

// Runs the tool with one frame; 0 on success.
int runFrame(std::string frame) {
    std::vector<std::string> arguments;
    arguments.reserve(9);
    arguments.emplace_back("-s");
    arguments.emplace_back("5");
    arguments.emplace_back("-r");
    arguments.emplace_back("100");
    arguments.emplace_back("-H");
    arguments.emplace_back("-i");
    arguments.push_back(std::move(frame));
    arguments.emplace_back("-o");
    arguments.emplace_back("3");
    return orva::utils::sysExecSimple(kUartcli, arguments);
}

int runSetColorFrame(const char* code) { return runFrame(orva::utils::format(kSetColorFrame, code)); }

// "1" or "0" with its NUL to the white LED, opening and closing the file around it.
bool writeWhiteLed(const LogSite& site, bool on) {
    int fd = attribute::open(site, kWhiteLed);
    const orva::gpioutils::ScopeGuard closeOnExit([&fd] { attribute::close(fd); });
    if (!attribute::isOpen(fd)) return false;
    return attribute::writeText(site, fd, on ? "1" : "0");
}

}  // namespace

UartcliLedFace::UartcliLedFace() {
    if (runFrame(kTakeControlFrame) != 0) ORVA_LOG(kLogError, 0, "Failed to get LEDs contorl");
}

UartcliLedFace::~UartcliLedFace() {
    if (runFrame(kReleaseControlFrame) != 0) ORVA_LOG(kLogError, 0, "Failed to free LEDs control");
}

bool UartcliLedFace::setColor(Color fg, Color bg) {
    const Color oldFg = readFgColor();
    const Color oldBg = readBgColor();
    if (!BaseLed::setColor(fg, bg)) return false;
    if (fg != oldFg) {
        // Lit at once, whatever the last value was.
        if (runSetColorFrame(codeOf(fg)) != 0) ORVA_LOG(kLogError, 0, "Failed to set for LED color to MCU");
        if (!writeWhiteLed(ORVA_HERE, fg == COLOR_WHITE)) return false;
        ORVA_LOG(kLogInfo, 0, "Set Foreground Color to: %d", static_cast<int>(fg));
    }
    if (bg != oldBg) ORVA_LOG(kLogInfo, 0, "Set Background Color to: %d", static_cast<int>(bg));
    return true;
}

bool UartcliLedFace::exists() const { return true; }
bool UartcliLedFace::isBinary() const { return false; }
bool UartcliLedFace::hasAutoMode() const { return false; }
bool UartcliLedFace::isManagedByMcu() const { return false; }
bool UartcliLedFace::initGPIO() { return true; }
int UartcliLedFace::rangeMin() const { return 0; }
int UartcliLedFace::rangeMax() const { return kRangeMax; }

bool UartcliLedFace::writeValue(int value) {
    if (readFgColor() == COLOR_WHITE) return writeWhiteLed(ORVA_HERE, value != 0);
    if (runSetColorFrame(value != 0 ? codeOf(readFgColor()) : kAllOffCode) != 0) {
        ORVA_LOG(kLogError, 0, "Failed to set for LED color to MCU");
    }
    return true;
}

bool UartcliLedFace::readValue(int&) const { return true; }

bool UartcliLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool UartcliLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
