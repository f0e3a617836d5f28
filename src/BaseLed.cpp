#include "orva_gpio_utils/BaseLed.h"

#include "platform/Arithmetic32.h"
#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/BaseLed";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogWarning;

// Channel bits of colours 0..15; amber shares yellow's channels and differs only in its code.
constexpr int kColorMasks[] = {0, 0, 1, 2, 4, 3, 3, 6, 5, 8, 9, 10, 12, 11, 14, 13};
static_assert(sizeof(kColorMasks) / sizeof(kColorMasks[0]) == BaseLed::COLOR_WHITE_MAGENTA + 1,
              "one mask per colour");

bool isValidColor(BaseLed::Color color) {
    return color >= BaseLed::COLOR_BLACK && color <= BaseLed::COLOR_WHITE_MAGENTA;
}
}  // namespace

BaseLed::BaseLed()
    : initialized_(false),
      exists_(false),
      binary_(false),
      rangeMin_(0),
      rangeMax_(0),
      autoMode_(false),
      currentValue_(-1),
      autoModeState_(-1),
      saved_(false),
      savedAutoMode_(false),
      savedValue_(0),
      brightness_(100),
      fgColor_(COLOR_NONE),
      bgColor_(COLOR_NONE),
      fgAnimColor_(COLOR_NONE),
      bgAnimColor_(COLOR_NONE),
      animDensity_(0),
      animEnable_(false),
      animStep_(-1) {}

BaseLed::~BaseLed() = default;

bool BaseLed::setColor(Color fg, Color bg) {
    if (!isValidColor(fg) || !isValidColor(bg)) return false;
    fgColor_ = fg;
    bgColor_ = bg;
    return true;
}

bool BaseLed::setAnimColor(Color fg, Color bg) {
    if (!isValidColor(fg) || !isValidColor(bg)) return false;
    fgAnimColor_ = fg;
    bgAnimColor_ = bg;
    return true;
}

bool BaseLed::setAnimDensity(int density) {
    animDensity_ = density;
    return true;
}

bool BaseLed::setAnimEnable(bool enable) {
    animEnable_ = enable;
    return true;
}

bool BaseLed::setAnimStep(int step) {
    animStep_ = step;
    return true;
}

bool BaseLed::isAnimSupported() { return false; }

bool BaseLed::service() { return true; }

BaseLed::Color BaseLed::readFgColor() const { return fgColor_; }
BaseLed::Color BaseLed::readBgColor() const { return bgColor_; }
BaseLed::Color BaseLed::readFgAnimColor() const { return fgAnimColor_; }
BaseLed::Color BaseLed::readBgAnimColor() const { return bgAnimColor_; }
int BaseLed::readAnimDensity() const { return animDensity_; }
bool BaseLed::readAnimEnable() const { return animEnable_; }
int BaseLed::readAnimStep() const { return animStep_; }

bool BaseLed::init(const std::string& name) {
    if (initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    name_ = name;
    exists_ = exists();
    if (!exists_) {
        initialized_ = true;
        return true;
    }
    binary_ = isBinary();
    if (!binary_) {
        rangeMin_ = rangeMin();
        rangeMax_ = rangeMax();
        if (rangeMin_ < 0) {
            ORVA_LOG(kLogError, 0, "Internal error");
            return false;
        }
        colorCodes[COLOR_AMBER] = ColorCode{255, 191, 0};
    }
    autoMode_ = hasAutoMode();
    if (!initGPIO()) {
        ORVA_LOG(kLogError, 0, "Failed to init GPIO");
        return false;
    }
    initialized_ = true;
    return true;
}

bool BaseLed::setValue(int value, bool force) {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (value == -1) return true;
    if (!force) {
        if (!exists_) return true;
        if (currentValue_ != -1 && currentValue_ == value) return true;
    }
    if (!writeValue(convertUserToGPIO(value))) {
        ORVA_LOG(kLogError, 0, "Failed to write value");
        return false;
    }
    currentValue_ = value;
    autoModeState_ = -1;
    return true;
}

bool BaseLed::setBoolean(bool on) {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (!exists_) return true;
    return setValue(isBinary() ? (on ? 1 : 0) : (on ? 100 : 0), false);
}

bool BaseLed::setBrightness(int brightness) {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (static_cast<unsigned>(brightness) > 100u) {
        ORVA_LOG(kLogError, 0, "Validation failed, brightness=%d", brightness);
        return false;
    }
    if (!exists_) return true;
    if (brightness == brightness_) return true;
    brightness_ = brightness;
    return setValue(currentValue_, true);
}

bool BaseLed::setAutoMode() {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (!autoMode_) {
        ORVA_LOG(kLogError, 0, "No auto mode");
        return false;
    }
    if (!exists_) return true;
    if (autoModeState_ == 1) return true;
    if (!writeAutoMode()) {
        ORVA_LOG(kLogError, 0, "Failed to write auto mode");
        return false;
    }
    currentValue_ = -1;
    autoModeState_ = 1;
    return true;
}

int BaseLed::convertUserToGPIO(int value) {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return 0;
    }
    if (binary_) {
        if (static_cast<unsigned>(value) > 1u) {
            ORVA_LOG(kLogError, 0, "Validation failed, value=%d", value);
            return 0;
        }
        return value;
    }
    if (static_cast<unsigned>(value) > 100u) {
        ORVA_LOG(kLogError, 0, "Validation failed, value=%d", value);
        return 0;
    }
    namespace arith = orva::gpioutils::arith;
    const int32_t percent = arith::mul(brightness_, value) / 100;
    return arith::add(rangeMin_, arith::mul(arith::sub(rangeMax_, rangeMin_), percent) / 100);
}

int BaseLed::convertGPIOToUser(int value) {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return 0;
    }
    if (binary_) return value != 0 ? 1 : 0;
    if (brightness_ == 0) return 0;
    // Files can hold any number (a PWM duty cycle is in nanoseconds): the products wrap as on the
    // camera instead of overflowing.
    namespace arith = orva::gpioutils::arith;
    const int32_t percent = arith::div(arith::mul(100, arith::sub(value, rangeMin_)), arith::sub(rangeMax_, rangeMin_));
    const int32_t user = arith::div(arith::mul(100, percent), brightness_);
    if (user < 0) return 0;
    if (user > 100) return 100;
    return user;
}

int BaseLed::colorToMask(Color color) {
    if (color < COLOR_NONE || color > COLOR_WHITE_MAGENTA) {
        ORVA_LOG(kLogWarning, 0, "could not map user color %d", static_cast<int>(color));
        return 0;
    }
    return kColorMasks[color];
}

bool BaseLed::save() {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (!exists_) return true;
    if (currentValue_ != -1) {
        savedValue_ = currentValue_;
        savedAutoMode_ = false;
    } else if (autoModeState_ != -1) {
        savedValue_ = -1;
        savedAutoMode_ = true;
    } else {
        if (autoMode_) {
            bool enabled = false;
            if (!readAutoMode(enabled)) {
                ORVA_LOG(kLogError, 0, "Failed to read auto mode");
                return false;
            }
            if (enabled) {
                savedValue_ = -1;
                savedAutoMode_ = true;
                saved_ = true;
                return true;
            }
        }
        savedAutoMode_ = false;
        if (!readValue(savedValue_)) {
            ORVA_LOG(kLogError, 0, "Failed to read value");
            return false;
        }
        savedValue_ = convertGPIOToUser(savedValue_);
    }
    saved_ = true;
    return true;
}

bool BaseLed::restore() {
    if (!initialized_) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (!exists_) return true;
    if (!saved_) return true;
    if (savedAutoMode_) {
        if (!setAutoMode()) {
            ORVA_LOG(kLogError, 0, "Failed to set auto mode");
            return false;
        }
    } else if (savedValue_ == -1) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    } else if (!setValue(savedValue_, false)) {
        ORVA_LOG(kLogError, 0, "Failed to set value");
        return false;
    }
    savedAutoMode_ = false;
    saved_ = false;
    savedValue_ = -1;
    return true;
}
