#include "orva_gpio_utils/LedGlow.h"

#include <cstddef>
#include <cstdint>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/LedGlow";
using orva::gpioutils::kLogError;
namespace attribute = orva::gpioutils::attribute;

// Brightness file and full-scale level of the glow light, by board. The torch boards take 0..15
// and need their first "0" written twice; the PWM boards take duty cycles in ns; the rest 0..255
// backlight levels. The PWM and backlight-0 boards share the file with the infrared face's white
// LED, and the level here is that white LED's on level.
struct GlowBoard {
    uint32_t sysid;
    const char* path;
    int rangeMax;
    bool torch;
};
constexpr GlowBoard kGlowBoards[] = {
    {0xA571, "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness", 49, false},
    {0xA574, "/sys/class/leds/torch1/brightness", 15, true},
    {0xA575, "/sys/class/leds/torch1/brightness", 15, true},
    {0xA598, "/sys/class/pwm/pwmchip0/pwm0/duty_cycle", 14900, false},
    {0xA59A, "/sys/class/pwm/pwmchip0/pwm1/duty_cycle", 100, false},
    {0xA59B, "/sys/class/pwm/pwmchip0/pwm1/duty_cycle", 75, false},
    {0xA5A6, "/sys/class/backlight/bogus_bus:pwm_bl@0/brightness", 218, false},
};
// Full scale on a board without a glow light.
constexpr int kNoGlowRangeMax = 1;

// The order in which the boards of the table are looked for: the full scale and the file are
// looked for in orders of their own (0xA598 and 0xA59B swap places), each comparison reading the
// board identifier afresh.
constexpr uint32_t kRangeMaxOrder[] = {0xA571, 0xA574, 0xA575, 0xA59A, 0xA598, 0xA59B, 0xA5A6};
constexpr uint32_t kFileOrder[] = {0xA571, 0xA574, 0xA575, 0xA59A, 0xA59B, 0xA598, 0xA5A6};

// Boards that have the light whether or not they are doorbells, in the order they are tested.
constexpr uint32_t kWhiteLedBoards[] = {0xA59A, 0xA59B, 0xA598, 0xA5A6};

// The table's row of a board identifier, without any lookup.
const GlowBoard* rowOf(uint32_t sysid) {
    for (const GlowBoard& row : kGlowBoards) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

// The board's row, found by comparing the board identifier, read afresh for every comparison,
// with the boards of order in turn; null when it has none.
template <size_t N>
const GlowBoard* findGlowBoard(const uint32_t (&order)[N]) {
    for (const uint32_t sysid : order) {
        if (orva::gpioutils::boardId() == sysid) return rowOf(sysid);
    }
    return nullptr;
}

}  // namespace

LedGlow::LedGlow() : glowFd(-1) {}

LedGlow::~LedGlow() { attribute::close(glowFd); }

bool LedGlow::exists() const {
    if (orva::gpioutils::getCameraInfoValue("isDoorbellSeries", false)) return true;
    for (const uint32_t sysid : kWhiteLedBoards) {
        if (orva::gpioutils::boardId() == sysid) return true;
    }
    return false;
}

bool LedGlow::isBinary() const { return false; }
bool LedGlow::hasAutoMode() const { return false; }
bool LedGlow::isManagedByMcu() const { return false; }
int LedGlow::rangeMin() const { return 0; }

int LedGlow::rangeMax() const {
    const GlowBoard* board = findGlowBoard(kRangeMaxOrder);
    return board == nullptr ? kNoGlowRangeMax : board->rangeMax;
}

bool LedGlow::initGPIO() {
    const GlowBoard* board = findGlowBoard(kFileOrder);
    if (board == nullptr) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    // A second initialisation after a failed one (a descriptor of 0, or a failed start-dark write)
    // does not leave the first descriptor open behind it.
    attribute::close(glowFd);
    glowFd = attribute::open(ORVA_HERE, board->path);
    if (!attribute::isOpen(glowFd)) return false;
    // The torch LED gets a 0 of its own before the start-dark write every board gets.
    if (board->torch) writeValue(0);
    return attribute::writeNumber(ORVA_HERE, glowFd, rangeMin());
}

bool LedGlow::writeValue(int value) {
    if (glowFd == -1) return false;
    return attribute::writeNumber(ORVA_HERE, glowFd, value);
}

bool LedGlow::readValue(int& value) const {
    if (glowFd == -1) {
        value = 0;
        return false;
    }
    return attribute::readNumber(ORVA_HERE, glowFd, value);
}

bool LedGlow::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedGlow::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
