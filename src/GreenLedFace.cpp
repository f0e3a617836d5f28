#include "orva_gpio_utils/GreenLedFace.h"

#include <cstdint>
#include <string>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/GreenLedFace";
using orva::gpioutils::kLogError;
using orva::gpioutils::LogSite;
namespace attribute = orva::gpioutils::attribute;

constexpr char kBrightnessPath[] = "/sys/class/leds/G/brightness";
constexpr int kFullLevel = 255;

// On this board amber takes a dimmer green share, chosen for its LED.
constexpr uint32_t kDimAmberBoard = 0xA574;
constexpr uint8_t kDimAmberGreen = 0x48;

// Puts the brightness the current colours and value call for into the file.
bool writeBrightness(const LogSite& site, GreenLedFace& led, int fd) {
    return attribute::writeText(site, fd, led.getLedBrightness());
}

}  // namespace

GreenLedFace::GreenLedFace() : fd(-1), value(0) {}

GreenLedFace::~GreenLedFace() { attribute::close(fd); }

bool GreenLedFace::exists() const { return true; }
bool GreenLedFace::isBinary() const { return false; }
bool GreenLedFace::hasAutoMode() const { return false; }
bool GreenLedFace::isManagedByMcu() const { return false; }
int GreenLedFace::rangeMin() const { return 0; }
int GreenLedFace::rangeMax() const { return kFullLevel; }

bool GreenLedFace::initGPIO() {
    // A second initialisation after a failed one (a descriptor of 0) does not leave the first
    // descriptor open behind it.
    attribute::close(fd);
    fd = attribute::open(ORVA_HERE, kBrightnessPath);
    if (!attribute::isOpen(fd)) return false;
    if (orva::gpioutils::boardId() != kDimAmberBoard) return true;
    colorCodes[COLOR_AMBER].green = kDimAmberGreen;
    return true;
}

int GreenLedFace::getColorCodeBrightness(int level) {
    const Color fg = readFgColor();
    const Color bg = readBgColor();
    for (const auto& entry : colorCodes) {
        if (entry.first != fg && entry.first != bg) continue;
        // The product is taken in 64 bits, where it cannot overflow, and divided rounding down;
        // the quotient lies between level and 0, so it fits an int for every level.
        const int64_t product = static_cast<int64_t>(level) * entry.second.green;
        int64_t quotient = product / kFullLevel;
        if (product % kFullLevel < 0) --quotient;
        return static_cast<int>(quotient);
    }
    return level;
}

std::string GreenLedFace::getLedBrightness() {
    const bool fgGreen = (colorToMask(readFgColor()) & COLOR_MASK_GREEN) != 0;
    const bool bgGreen = (colorToMask(readBgColor()) & COLOR_MASK_GREEN) != 0;
    int level;
    if (fgGreen && bgGreen) {
        level = kFullLevel;
    } else if (fgGreen) {
        level = value;
    } else if (bgGreen) {
        // 255 - value, wrapping in 32 bits instead of overflowing for values within 255 of INT_MIN.
        level = static_cast<int32_t>(static_cast<uint32_t>(kFullLevel) - static_cast<uint32_t>(value));
    } else {
        return "0";
    }
    return orva::utils::toString(getColorCodeBrightness(level));
}

bool GreenLedFace::writeValue(int newValue) {
    value = newValue;
    return writeBrightness(ORVA_HERE, *this, fd);
}

bool GreenLedFace::readValue(int& current) const {
    current = value;
    return true;
}

bool GreenLedFace::setColor(Color fg, Color bg) {
    if (fg == readFgColor() && bg == readBgColor()) return BaseLed::setColor(fg, bg);
    if (!BaseLed::setColor(fg, bg)) return false;
    return writeBrightness(ORVA_HERE, *this, fd);
}

bool GreenLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool GreenLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
