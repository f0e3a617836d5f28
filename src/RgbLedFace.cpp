#include "orva_gpio_utils/RgbLedFace.h"

#include <cstdint>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/RgbLedFace";
using orva::gpioutils::kLogError;
namespace attribute = orva::gpioutils::attribute;

constexpr char kBrightness[] = "/sys/class/leds/orva::av/brightness";
constexpr char kColorFg[] = "/sys/class/leds/orva::av/color_fg";
constexpr char kColorBg[] = "/sys/class/leds/orva::av/color_bg";
constexpr char kTrigger[] = "/sys/class/leds/orva::av/trigger";
constexpr char kAnimDensity[] = "/sys/class/leds/orva::av/anim_density";
constexpr char kAnimColorFg[] = "/sys/class/leds/orva::av/anim_color_fg";
constexpr char kAnimColorBg[] = "/sys/class/leds/orva::av/anim_color_bg";
constexpr char kAnimTrigger[] = "/sys/class/leds/orva::av/anim_trigger";

// Words of the animation trigger: stop the animation, advance it one step clockwise.
constexpr char kTriggerNone[] = "none";
constexpr char kTriggerStep[] = "step_cw";

// Device value range: the driver takes brightness as on/off.
constexpr int kRangeMax = 14;

// Boards whose LED driver runs animations and knows the white mixtures.
constexpr uint32_t kAnimationBoards[] = {0xA563, 0xEC70};

// Colour names by colour value; entry 16 is the fallback, and so is an empty entry.
constexpr const char* kAnimationBoardColors[17] = {
    "black", "black", "red", "green", "blue", "yellow", "amber", "cyan", "magenta", "white",
    "white_red", "white_green", "white_blue", "white_yellow", "white_cyan", "white_magenta", "black",
};
constexpr const char* kOtherBoardColors[17] = {
    "black", "black", "red", "green", "blue", "yellow", "amber", "cyan", "magenta", "white",
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "black",
};

bool isAnimationBoard() {
    const uint32_t sysid = orva::gpioutils::boardId();
    for (const uint32_t board : kAnimationBoards) {
        if (board == sysid) return true;
    }
    return false;
}

}  // namespace

RgbLedFace::RgbLedFace()
    : brightnessFd(-1),
      colorFgFd(-1),
      colorBgFd(-1),
      animDensityFd(-1),
      animColorFgFd(-1),
      animColorBgFd(-1),
      animTriggerFd(-1) {}

RgbLedFace::~RgbLedFace() {
    attribute::close(brightnessFd);
    attribute::close(colorFgFd);
    attribute::close(colorBgFd);
    // The board is only asked when there is an animation file to close, so that a face that never
    // opened one is destroyed without a device-information lookup.
    const bool animationFileOpen = animDensityFd >= 0 || animColorFgFd >= 0 || animColorBgFd >= 0 || animTriggerFd >= 0;
    if (animationFileOpen && isAnimSupported()) {
        attribute::close(animDensityFd);
        attribute::close(animColorFgFd);
        attribute::close(animColorBgFd);
        attribute::close(animTriggerFd);
    }
}

bool RgbLedFace::isAnimSupported() { return isAnimationBoard(); }
bool RgbLedFace::exists() const { return true; }
bool RgbLedFace::isBinary() const { return false; }
bool RgbLedFace::hasAutoMode() const { return false; }
bool RgbLedFace::isManagedByMcu() const { return false; }
int RgbLedFace::rangeMin() const { return 0; }
int RgbLedFace::rangeMax() const { return kRangeMax; }

bool RgbLedFace::initGPIO() {
    // A second initGPIO (init again after a failed one) starts over rather than leaking what the
    // first one opened.
    attribute::close(brightnessFd);
    brightnessFd = attribute::open(ORVA_HERE, kBrightness);
    if (!attribute::isOpen(brightnessFd)) return false;
    attribute::close(colorFgFd);
    colorFgFd = attribute::open(ORVA_HERE, kColorFg);
    if (!attribute::isOpen(colorFgFd)) return false;
    attribute::close(colorBgFd);
    colorBgFd = attribute::open(ORVA_HERE, kColorBg);
    if (!attribute::isOpen(colorBgFd)) return false;
    // The trigger is set once so that no kernel trigger drives the LED; the file is not kept.
    int triggerFd = attribute::open(ORVA_HERE, kTrigger);
    if (!attribute::isOpen(triggerFd)) {
        attribute::close(triggerFd);  // descriptor 0 is a real file all the same
        return false;
    }
    bool done = attribute::writeText(ORVA_HERE, triggerFd, kTriggerNone);
    if (done && isAnimSupported()) {
        const std::pair<int*, const char*> animationFiles[] = {{&animDensityFd, kAnimDensity},
                                                               {&animColorFgFd, kAnimColorFg},
                                                               {&animColorBgFd, kAnimColorBg},
                                                               {&animTriggerFd, kAnimTrigger}};
        for (const auto& [fd, path] : animationFiles) {
            attribute::close(*fd);
            *fd = attribute::open(ORVA_HERE, path);
            if (!attribute::isOpen(*fd)) {
                done = false;
                break;
            }
        }
    }
    attribute::close(triggerFd);
    return done;
}

bool RgbLedFace::writeValue(int value) { return attribute::writeText(ORVA_HERE, brightnessFd, value != 0 ? "1" : "0"); }

bool RgbLedFace::readValue(int& value) const { return attribute::readNumber(ORVA_HERE, brightnessFd, value); }

bool RgbLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool RgbLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

const char* RgbLedFace::ColorToDeviceColor(Color color) {
    const char* const* names = isAnimationBoard() ? kAnimationBoardColors : kOtherBoardColors;
    const auto index = static_cast<uint32_t>(color);
    if (index < 17u && names[index] != nullptr) return names[index];
    return names[16];
}

bool RgbLedFace::setColor(Color fg, Color bg) {
    const Color oldFg = readFgColor();
    const Color oldBg = readBgColor();
    if (!BaseLed::setColor(fg, bg)) return false;
    if (fg != oldFg && !attribute::writeText(ORVA_HERE, colorFgFd, ColorToDeviceColor(readFgColor()))) return false;
    if (bg != oldBg && !attribute::writeText(ORVA_HERE, colorBgFd, ColorToDeviceColor(readBgColor()))) return false;
    return true;
}

bool RgbLedFace::setAnimColor(Color fg, Color bg) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const Color oldFg = readFgAnimColor();
    const Color oldBg = readBgAnimColor();
    if (!BaseLed::setAnimColor(fg, bg)) return false;
    if (fg != oldFg && !attribute::writeText(ORVA_HERE, animColorFgFd, ColorToDeviceColor(readFgAnimColor()))) {
        return false;
    }
    if (bg != oldBg && !attribute::writeText(ORVA_HERE, animColorBgFd, ColorToDeviceColor(readBgAnimColor()))) {
        return false;
    }
    return true;
}

bool RgbLedFace::setAnimDensity(int density) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const int old = readAnimDensity();
    const bool stored = BaseLed::setAnimDensity(density);
    if (!stored || density == old) return stored;
    return attribute::writeNumber(ORVA_HERE, animDensityFd, readAnimDensity());
}

bool RgbLedFace::setAnimEnable(bool enable) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const bool old = readAnimEnable();
    const bool stored = BaseLed::setAnimEnable(enable);
    if (!stored || enable == old) return stored;
    // The driver starts an animation on its own; only stopping it takes a word.
    if (readAnimEnable()) return true;
    return attribute::writeText(ORVA_HERE, animTriggerFd, kTriggerNone);
}

bool RgbLedFace::setAnimStep(int step) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const int old = readAnimStep();
    const bool stored = BaseLed::setAnimStep(step);
    if (!stored || step == old) return stored;
    return attribute::writeText(ORVA_HERE, animTriggerFd, kTriggerStep);
}
