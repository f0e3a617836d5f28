#include "orva_gpio_utils/LedIr.h"

#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/LedIr";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;
using orva::gpioutils::kLogWarning;
namespace attribute = orva::gpioutils::attribute;

constexpr char kBacklight0[] = "/sys/class/backlight/0.pwm_bl/brightness";
constexpr char kBusBacklight0[] = "/sys/class/backlight/bogus_bus:pwm_bl@0/brightness";
constexpr char kBusBacklight1[] = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
constexpr char kPwm0[] = "/sys/class/pwm/pwmchip0/pwm0/duty_cycle";
constexpr char kPwm1[] = "/sys/class/pwm/pwmchip0/pwm1/duty_cycle";
constexpr char kPwm2[] = "/sys/class/pwm/pwmchip0/pwm2/duty_cycle";
constexpr char kPwm9[] = "/sys/class/pwm/pwmchip0/pwm9/duty_cycle";

// The fade step follows the range: one unit per pass up to 50 units, coarser above.
constexpr int kStepFromRange = -1;

// Where the IR channels and the white LED are, by board. nullptr: the board has no such output.
struct IrBoard {
    uint32_t sysid;
    const char* primary;
    const char* secondary;
    const char* whiteLed;
    bool fade;     // tele and wide channels are faded together
    int fadeStep;  // value units per pass; 0 keeps the constructed step; or kStepFromRange
};
constexpr IrBoard kIrBoards[] = {
    {0xA5A4, kBacklight0, kBusBacklight1, nullptr, true, 1},
    {0xA59B, kPwm2, nullptr, kPwm1, false, 0},
};
constexpr IrBoard kDefaultIrBoard = {0, kBacklight0, nullptr, nullptr, false, kStepFromRange};

// Boards whose outputs differ from the above: each non-null path adds or replaces one.
struct IrBoardOverride {
    uint32_t sysid;
    const char* primary;
    const char* secondary;
    const char* accessoryIr;
    const char* whiteLed;
};
constexpr IrBoardOverride kIrBoardOverrides[] = {
    {0xA598, nullptr, kPwm9, kPwm1, kPwm0},
    {0xA59A, nullptr, nullptr, nullptr, kPwm1},
    {0xA5A5, kBusBacklight0, kBusBacklight1, nullptr, nullptr},
    {0xA5A6, kBusBacklight1, nullptr, nullptr, kBusBacklight0},
};

// White LED level by board: the default when switched on, and the most setMaxWhiteLedLevel allows.
// The PWM boards take duty cycles in ns, the backlight board 0..255.
struct WhiteLedBoard {
    uint32_t sysid;
    int level;
};
constexpr WhiteLedBoard kWhiteLedBoards[] = {
    {0xA598, 14900},
    {0xA59A, 100},
    {0xA59B, 75},
    {0xA5A6, 218},
};

// Boards that drive a tele and a wide channel as a pair.
constexpr uint32_t kDualChannelBoards[] = {0xA598, 0xA5A4};

// Only the accessory IR output of this board is driven, with this duty cycle when on.
constexpr uint32_t kAccessoryIrBoard = 0xA598;
constexpr int kAccessoryIrLevel = 16200;

// The old revisions of this board switch the IR light through the image processor's factory tool.
constexpr uint32_t kFactoryToolBoard = 0xA532;
constexpr unsigned long long kFirstFileHwrev = 9;
constexpr char kFactoryTool[] = "/bin/orva_isp_fac_cmd";

constexpr uint32_t kStatusLightBoard = 0xA533;

constexpr int kMaxValue = 99;
constexpr int kFullIrBrightness = 255;
constexpr useconds_t kFadePassUs = 5000;

template <typename Row, size_t N>
const Row* findBoard(const Row (&table)[N], uint32_t sysid) {
    for (const Row& row : table) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

bool usesFactoryTool() {
    return orva::gpioutils::boardId() == kFactoryToolBoard &&
           orva::gpioutils::getCameraInfoValue<unsigned long long>("hwrev") < kFirstFileHwrev;
}

// Whether cur has passed target, travelling down when down is set and up otherwise.
bool beyond(int64_t cur, int target, bool down) { return down ? cur < target : cur > target; }

// One fade pass of a channel: moves cur one step toward target. A value already past the target
// is clamped to it; a step that overshoots writes nothing, so the next pass writes the target
// itself. Returns whether cur is to be written this pass.
// cur is kept in 64 bits: a step past a target near the ends of int cannot wrap around it.
bool advance(int64_t& cur, int target, int step, bool down) {
    if (beyond(cur, target, down)) {
        cur = target;
        return true;
    }
    cur += step;
    return !beyond(cur, target, down);
}

}  // namespace

LedIr::LedIr()
    : maxValue(kMaxValue),
      minValue(0),
      pathFd(-1),
      primaryFd(-1),
      secondaryFd(-1),
      accessoryIrFd(-1),
      whiteLedFd(-1),
      lastPrimaryValue(-1),
      lastSecondaryValue(-1),
      fadeStep(0),
      irBrightness(kFullIrBrightness),
      directPwm(false),
      fadeEnabled(false),
      whiteLedLevel(0) {}

LedIr::~LedIr() {
    attribute::close(primaryFd);
    attribute::close(secondaryFd);
    attribute::close(accessoryIrFd);
    attribute::close(whiteLedFd);
}

bool LedIr::exists() const { return orva::gpioutils::getCameraInfoValue<signed char>("feature_led_ir") == 1; }
bool LedIr::isBinary() const { return false; }
bool LedIr::hasAutoMode() const { return false; }
bool LedIr::isManagedByMcu() const { return false; }
int LedIr::rangeMin() const { return minValue; }
int LedIr::rangeMax() const { return maxValue; }

bool LedIr::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedIr::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedIr::isStatusLight() const {
    if (!exists()) return false;
    if (orva::gpioutils::boardId() == kStatusLightBoard) return true;
    // The IR light doubles as status light where the board has no status LED of its own.
    return orva::gpioutils::getCameraInfoValue<signed char>("feature_led_status") != 1;
}

bool LedIr::initGPIO() {
    const int range = rangeMax() - rangeMin();
    const int stepFromRange = range > 50 ? range / 50 : 1;

    const IrBoard* board = findBoard(kIrBoards, orva::gpioutils::boardId());
    if (board == nullptr) board = &kDefaultIrBoard;
    const char* primaryPath = board->primary;
    const char* secondaryPath = board->secondary;
    const char* accessoryIrPath = nullptr;
    const char* whiteLedPath = board->whiteLed;
    if (board->fade) fadeEnabled = true;
    if (board->fadeStep != 0) fadeStep = board->fadeStep == kStepFromRange ? stepFromRange : board->fadeStep;

    if (const IrBoardOverride* extra = findBoard(kIrBoardOverrides, orva::gpioutils::boardId())) {
        if (extra->primary != nullptr) primaryPath = extra->primary;
        if (extra->secondary != nullptr) secondaryPath = extra->secondary;
        accessoryIrPath = extra->accessoryIr;
        if (extra->whiteLed != nullptr) whiteLedPath = extra->whiteLed;
    }

    // init may be tried again after a failed attempt: release what that attempt opened first.
    attribute::close(primaryFd);
    attribute::close(secondaryFd);
    attribute::close(accessoryIrFd);
    attribute::close(whiteLedFd);
    pathFd = -1;

    primaryFd = attribute::open(ORVA_HERE, primaryPath);
    if (!attribute::isOpen(primaryFd)) return false;
    pathFd = primaryFd;
    if (secondaryPath != nullptr) {
        secondaryFd = attribute::open(ORVA_HERE, secondaryPath);
        if (!attribute::isOpen(secondaryFd)) return false;
    }
    if (accessoryIrPath != nullptr) {
        accessoryIrFd = attribute::open(ORVA_HERE, accessoryIrPath);
        if (!attribute::isOpen(accessoryIrFd)) return false;
    }
    if (whiteLedPath != nullptr) {
        whiteLedFd = attribute::open(ORVA_HERE, whiteLedPath);
        if (!attribute::isOpen(whiteLedFd)) return false;
    }

    if (orva::gpioutils::getCameraInfoValue("isSStar", false)) {
        fadeEnabled = true;
        fadeStep = stepFromRange;
    }

    accessoryIrHandler = std::bind(&LedIr::accessoryIrOnFd, this, std::placeholders::_1);
    whiteLedHandler = std::bind(&LedIr::setWhiteLedOnFd, this, std::placeholders::_1);

    if (const WhiteLedBoard* white = findBoard(kWhiteLedBoards, orva::gpioutils::boardId())) {
        whiteLedLevel = white->level;
    }

    ORVA_LOG(kLogInfo, 0, "IR led range is [%d %d], step %d", rangeMin(), rangeMax(), fadeStep);
    return readValue(lastPrimaryValue);
}

bool LedIr::readValue(int& value) const {
    if (usesFactoryTool()) return true;  // that IR light cannot be read back
    if (pathFd < 0) return false;
    return attribute::readNumber(ORVA_HERE, pathFd, value);
}

bool LedIr::writeValue(int value) { return writeValue(value, -1); }

bool LedIr::writeValue(int value, int second) {
    if (usesFactoryTool()) {
        // The tool switches the light whatever the value; nothing is stored.
        const int result =
            orva::utils::sysExecSimple(kFactoryTool, {"06", "81", "01", "04", "b3", "02", "ff"});
        if (result != 0) {
            ORVA_LOG(kLogError, 0, "Failed to run fac_cmd, ret=%d", result);
            return false;
        }
        return true;
    }
    if (pathFd < 0) return false;
    if (!fadeEnabled) {
        if (!attribute::writeNumber(ORVA_HERE, pathFd, value)) return false;
        lastPrimaryValue = value;
        return true;
    }

    const uint32_t sysid = orva::gpioutils::boardId();
    const bool dual = std::find(std::begin(kDualChannelBoards), std::end(kDualChannelBoards), sysid) !=
                      std::end(kDualChannelBoards);
    // The wide channel takes the complement of the tele channel.
    if (second < 0) second = value > 0 ? rangeMax() - value : 0;
    if (directPwm) {
        value = irBrightness * value / kFullIrBrightness;
        second = irBrightness * second / kFullIrBrightness;
    }
    if (!dual) {
        if (value == lastPrimaryValue) return true;
        second = -1;
    } else if (value == lastPrimaryValue && second == lastSecondaryValue) {
        return true;
    }
    if (!fadeInOut(lastPrimaryValue, value, dual, lastSecondaryValue, second)) {
        ORVA_LOG(kLogError, 0, "fadeInOut fail");
        return false;
    }
    lastPrimaryValue = value;
    lastSecondaryValue = second;
    return true;
}

bool LedIr::fadeInOut(int from1, int to1, bool dual, int from2, int to2) {
    if (dual) {
        ORVA_LOG(kLogInfo, 0, "Set Tele IR PWM Duty Cycle=%d", to1);
        ORVA_LOG(kLogInfo, 0, "Set Wide IR PWM Duty Cycle=%d", to2);
    } else {
        ORVA_LOG(kLogInfo, 0, "Set IR PWM Duty Cycle=%d", to1);
    }
    auto stepWrite = [](int fd, int value) { return attribute::writeNumber(ORVA_HERE, fd, value); };

    const bool down1 = from1 > to1;
    const bool down2 = from2 > to2;
    const int step1 = down1 ? -fadeStep : fadeStep;
    const int step2 = down2 ? -fadeStep : fadeStep;
    int64_t cur1 = from1;
    int64_t cur2 = from2;
    bool done1 = false;
    bool done2 = !dual;
    for (;;) {
        if (to1 == -1) {
            if (to2 == -1) return true;
            done1 = true;
        } else if (advance(cur1, to1, step1, down1)) {
            if (!stepWrite(primaryFd, static_cast<int>(cur1))) {
                ORVA_LOG(kLogError, 0, "fadeInOut stepWrite IR1 fail");
                return false;
            }
            done1 = cur1 == to1;
        }

        if (to2 == -1) {
            if (done1) return true;
            done2 = true;
            usleep(kFadePassUs);
            continue;
        }
        if (advance(cur2, to2, step2, down2)) {
            if (!stepWrite(secondaryFd, static_cast<int>(cur2))) {
                ORVA_LOG(kLogError, 0, "fadeInOut stepWrite IR2 fail");
                return false;
            }
            done2 = cur2 == to2;
        }

        if (done1 && done2) return true;
        usleep(kFadePassUs);
    }
}

int LedIr::setPathIndex(int index) {
    int current = 0;  // stays 0 where the light cannot be read back: nothing to move
    if (!readValue(current)) {
        ORVA_LOG(kLogError, 0, "Failed to read current value");
        return -1;
    }
    if (current > 0) writeValue(0, -1);  // the old path goes dark first
    if (index == 1) {
        pathFd = primaryFd;
    } else if (index == 2) {
        pathFd = secondaryFd;
    } else {
        ORVA_LOG(kLogWarning, 0, "Invalid index %d", index);
        return -1;
    }
    if (current > 0) writeValue(current, -1);
    return 0;
}

bool LedIr::directPwmWrite(int value, int second) {
    if (!directPwm) {
        ORVA_LOG(kLogError, 0, "Not Support directPwmWrite()");
        return false;
    }
    if (!exists() || pathFd == -1) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (value < rangeMin() || value > rangeMax()) {
        ORVA_LOG(kLogError, 0, "Validation failed, value=%d", value);
        return false;
    }
    return writeValue(value, second);
}

bool LedIr::irSetBrightness(int brightness) {
    if (!exists() || pathFd == -1) {
        ORVA_LOG(kLogError, 0, "Internal error");
        return false;
    }
    if (static_cast<unsigned>(brightness) > static_cast<unsigned>(kFullIrBrightness)) {
        ORVA_LOG(kLogError, 0, "Validation failed, brightness=%d", brightness);
        return false;
    }
    if (brightness == irBrightness) return true;
    irBrightness = brightness;
    if (directPwm) return true;  // the next write applies the scale
    return BaseLed::setBrightness(100 * brightness / kFullIrBrightness);
}

bool LedIr::setWhiteLedOn(bool on) { return whiteLedHandler(on); }

bool LedIr::setWhiteLedOnFd(bool on) {
    if (whiteLedFd == -1) return true;  // no white LED
    return attribute::writeNumber(ORVA_HERE, whiteLedFd, on ? whiteLedLevel : 0);
}

bool LedIr::accessoryIrOn(bool on) { return accessoryIrHandler(on); }

bool LedIr::accessoryIrOnFd(bool on) {
    if (accessoryIrFd == -1) return true;
    static const uint32_t sysid = orva::gpioutils::boardId();
    if (sysid != kAccessoryIrBoard) return true;
    return attribute::writeNumber(ORVA_HERE, accessoryIrFd, on ? kAccessoryIrLevel : 0);
}

bool LedIr::setMaxWhiteLedLevel(int level) {
    if (whiteLedFd == -1) return true;
    static const uint32_t sysid = orva::gpioutils::boardId();
    if (const WhiteLedBoard* white = findBoard(kWhiteLedBoards, sysid)) {
        whiteLedLevel = std::min(level, white->level);
    }
    int current = 0;
    if (!attribute::readNumber(ORVA_HERE, whiteLedFd, current)) return false;
    if (current < 1) return true;  // off: the level applies at the next switch-on
    return attribute::writeNumber(ORVA_HERE, whiteLedFd, whiteLedLevel);
}
