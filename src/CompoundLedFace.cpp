#include "orva_gpio_utils/CompoundLedFace.h"

#include <cstdint>
#include <string>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/CompoundLedFace";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;
namespace attribute = orva::gpioutils::attribute;

constexpr char kAvBrightness[] = "/sys/class/leds/orva::av/brightness";
constexpr char kAvColorFg[] = "/sys/class/leds/orva::av/color_fg";
constexpr char kAvColorBg[] = "/sys/class/leds/orva::av/color_bg";
constexpr char kAvTrigger[] = "/sys/class/leds/orva::av/trigger";
constexpr char kBlack[] = "black";

// Device value range: the channels take 0..99.
constexpr int kRangeMax = 99;

// Names the AV LED driver takes, by colour value; the white mixtures have none. Entry 16 is the
// fallback for anything without a name.
constexpr const char* kDeviceColors[17] = {
    kBlack, kBlack, "red", "green", "blue", "yellow", "amber", "cyan", "magenta", "white",
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, kBlack,
};

// 0xA595 comes with two Wi-Fi modules, wired to different PWM outputs.
enum class WifiModule { Any, AP6203, AP6256 };
constexpr uint32_t kTwoModuleBoard = 0xA595;

// Single-colour channel files and the AV LED, by board. nullptr: no channel for that colour.
struct CompoundBoard {
    uint32_t sysid;
    WifiModule module;
    bool avLed;
    const char* white;
    const char* red;
    const char* green;
    const char* blue;
};
constexpr CompoundBoard kCompoundBoards[] = {
    {0xA573, WifiModule::Any, true, "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness", nullptr, nullptr,
     "/sys/class/backlight/bogus_bus:pwm_bl@2/brightness"},
    {0xA590, WifiModule::Any, true, "/sys/class/pwm/pwmchip0/pwm3/duty_cycle", nullptr, nullptr,
     "/sys/class/pwm/pwmchip0/pwm2/duty_cycle"},
    {0xA592, WifiModule::Any, false, "/sys/class/pwm/pwmchip0/pwm7/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm4/duty_cycle", "/sys/class/pwm/pwmchip0/pwm5/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm6/duty_cycle"},
    {0xA59A, WifiModule::Any, false, "/sys/class/pwm/pwmchip0/pwm7/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm4/duty_cycle", "/sys/class/pwm/pwmchip0/pwm5/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm6/duty_cycle"},
    {0xA59C, WifiModule::Any, false, "/sys/class/pwm/pwmchip0/pwm7/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm4/duty_cycle", "/sys/class/pwm/pwmchip0/pwm5/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm6/duty_cycle"},
    {0xA593, WifiModule::Any, false, "/sys/class/pwm/pwmchip0/pwm3/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm1/duty_cycle", "/sys/class/pwm/pwmchip0/pwm5/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm2/duty_cycle"},
    {0xA595, WifiModule::AP6203, true, "/sys/class/pwm/pwmchip0/pwm3/duty_cycle", nullptr, nullptr,
     "/sys/class/pwm/pwmchip0/pwm2/duty_cycle"},
    {0xA595, WifiModule::AP6256, true, "/sys/class/pwm/pwmchip0/pwm7/duty_cycle", nullptr, nullptr,
     "/sys/class/pwm/pwmchip0/pwm6/duty_cycle"},
    {0xA59B, WifiModule::Any, false, "/sys/class/pwm/pwmchip0/pwm4/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm6/duty_cycle", "/sys/class/pwm/pwmchip0/pwm7/duty_cycle",
     "/sys/class/pwm/pwmchip0/pwm5/duty_cycle"},
    {0xA5A5, WifiModule::Any, false, "/sys/class/leds/ktd-ch4/brightness", "/sys/class/leds/ktd-ch2/brightness",
     "/sys/class/leds/ktd-ch3/brightness", "/sys/class/leds/ktd-ch1/brightness"},
};

const CompoundBoard* findBoard(uint32_t sysid, WifiModule module) {
    for (const CompoundBoard& board : kCompoundBoards) {
        if (board.sysid == sysid && (board.module == WifiModule::Any || board.module == module)) return &board;
    }
    return nullptr;
}

}  // namespace

CompoundLedFace::CompoundLedFace() : brightnessFd(-1), colorFgFd(-1), colorBgFd(-1), hasAvLed(false) {}

CompoundLedFace::~CompoundLedFace() {
    attribute::close(brightnessFd);
    attribute::close(colorFgFd);
    attribute::close(colorBgFd);
    for (auto& channel : channelFds) attribute::close(channel.second);
}

bool CompoundLedFace::setAnimColor(Color, Color) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool CompoundLedFace::setAnimDensity(int) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool CompoundLedFace::setAnimEnable(bool) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool CompoundLedFace::setAnimStep(int) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool CompoundLedFace::isAnimSupported() { return false; }
bool CompoundLedFace::exists() const { return true; }
bool CompoundLedFace::isBinary() const { return false; }
bool CompoundLedFace::hasAutoMode() const { return false; }
bool CompoundLedFace::isManagedByMcu() const { return false; }
int CompoundLedFace::rangeMin() const { return 0; }
int CompoundLedFace::rangeMax() const { return kRangeMax; }

bool CompoundLedFace::initGPIO() {
    const uint32_t sysid = orva::gpioutils::boardId();
    WifiModule module = WifiModule::Any;
    if (sysid == kTwoModuleBoard) {
        if (orva::gpioutils::getCameraInfoValue<bool>("isMark7sWithAP6203")) {
            module = WifiModule::AP6203;
            ORVA_LOG(kLogInfo, 0, "It's Q7-Mini with WiFi AP6203 board");
        } else {
            module = WifiModule::AP6256;
            ORVA_LOG(kLogInfo, 0, "It's Q7-Mini with WiFi AP6256 board");
        }
    }
    const CompoundBoard* board = findBoard(sysid, module);
    hasAvLed = board != nullptr && board->avLed;

    // A second initGPIO starts over rather than leaking what the first one opened.
    for (auto& channel : channelFds) attribute::close(channel.second);
    channelFds.clear();
    if (board != nullptr) {
        const std::pair<Color, const char*> channels[] = {
            {COLOR_WHITE, board->white}, {COLOR_RED, board->red}, {COLOR_GREEN, board->green}, {COLOR_BLUE, board->blue}};
        for (const auto& [color, path] : channels) {
            if (path == nullptr) continue;
            // Every channel starts dark.
            const int fd = attribute::openReportingErrno(ORVA_HERE, path);
            channelFds[color] = fd;
            if (!attribute::isOpen(fd)) return false;
            if (!attribute::writeText(ORVA_HERE, fd, "0")) return false;
        }
    }
    if (!hasAvLed) return true;

    attribute::close(brightnessFd);
    brightnessFd = attribute::openReportingErrno(ORVA_HERE, kAvBrightness);
    if (!attribute::isOpen(brightnessFd)) return false;
    attribute::close(colorFgFd);
    colorFgFd = attribute::openReportingErrno(ORVA_HERE, kAvColorFg);
    if (!attribute::isOpen(colorFgFd)) return false;
    attribute::close(colorBgFd);
    colorBgFd = attribute::openReportingErrno(ORVA_HERE, kAvColorBg);
    if (!attribute::isOpen(colorBgFd)) return false;
    // No kernel trigger may drive the LED behind the library's back. The trigger file is not kept.
    int triggerFd = attribute::openReportingErrno(ORVA_HERE, kAvTrigger);
    const bool done = attribute::isOpen(triggerFd) && attribute::writeText(ORVA_HERE, triggerFd, "none");
    attribute::close(triggerFd);
    return done;
}

bool CompoundLedFace::writeValue(int value) {
    const bool fgPwm = isPwmLed(readFgColor());
    const bool bgPwm = isPwmLed(readBgColor());
    if (hasAvLed && !attribute::writeText(ORVA_HERE, brightnessFd, value != 0 ? "1" : "0")) return false;
    if (fgPwm && !attribute::writeNumber(ORVA_HERE, channelFds.find(readFgColor())->second, value)) return false;
    if (bgPwm) {
        // The background colour is what shows while the light is off.
        const int background = value == 0 ? convertUserToGPIO(100) : 0;
        if (!attribute::writeNumber(ORVA_HERE, channelFds.find(readBgColor())->second, background)) return false;
    }
    return true;
}

bool CompoundLedFace::readValue(int& value) const {
    const auto channel = channelFds.find(readFgColor());
    if (channel != channelFds.end()) return attribute::readNumber(ORVA_HERE, channel->second, value);
    if (hasAvLed) return attribute::readNumber(ORVA_HERE, brightnessFd, value);
    return true;
}

bool CompoundLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool CompoundLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

const char* CompoundLedFace::ColorToDeviceColor(Color color) {
    const auto index = static_cast<uint32_t>(color);
    if (index < 17u && kDeviceColors[index] != nullptr) return kDeviceColors[index];
    return kDeviceColors[16];
}

bool CompoundLedFace::isPwmLed(Color color) const { return channelFds.find(color) != channelFds.end(); }

bool CompoundLedFace::setAvledColor(int fd, const std::string& name) const {
    if (!hasAvLed) return true;
    return attribute::writeText(ORVA_HERE, fd, name);
}

bool CompoundLedFace::setColor(Color fg, Color bg) {
    const Color oldFg = readFgColor();
    const Color oldBg = readBgColor();
    const bool oldFgPwm = isPwmLed(oldFg);
    const bool oldBgPwm = isPwmLed(oldBg);
    const bool fgPwm = isPwmLed(fg);
    const bool bgPwm = isPwmLed(bg);
    const int device = convertUserToGPIO(currentValue_);

    // A colour that leaves a channel leaves it dark: the lit foreground's, or the background's while off.
    if (device != 0 && oldFgPwm && fg != oldFg &&
        !attribute::writeText(ORVA_HERE, channelFds.find(oldFg)->second, "0")) {
        return false;
    }
    if (device == 0 && oldBgPwm && bg != oldBg &&
        !attribute::writeText(ORVA_HERE, channelFds.find(oldBg)->second, "0")) {
        return false;
    }
    if (!BaseLed::setColor(fg, bg)) return false;

    if (fg != oldFg) {
        if (!fgPwm) {
            if (!setAvledColor(colorFgFd, ColorToDeviceColor(fg))) return false;
        } else {
            if (!setAvledColor(colorFgFd, kBlack)) return false;
            if (!attribute::writeNumber(ORVA_HERE, channelFds.find(fg)->second, device)) return false;
        }
    }
    if (bg == oldBg) return true;
    if (!bgPwm) return setAvledColor(colorBgFd, ColorToDeviceColor(bg));
    if (!setAvledColor(colorBgFd, kBlack)) return false;
    const int background = device != 0 ? 0 : convertUserToGPIO(100);
    return attribute::writeNumber(ORVA_HERE, channelFds.find(bg)->second, background);
}
