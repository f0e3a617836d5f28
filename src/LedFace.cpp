#include "orva_gpio_utils/LedFace.h"

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/LedFace";
using orva::gpioutils::kLogError;
namespace attribute = orva::gpioutils::attribute;

// The only board with a front light; its PWM backlight takes 0..99.
constexpr uint32_t kFrontLightBoard = 0xA533;
constexpr char kBrightnessPath[] = "/sys/class/backlight/3.pwm_bl/brightness";
constexpr int kRangeMax = 99;
}  // namespace

LedFace::LedFace() : fd(0) {}

LedFace::~LedFace() { attribute::close(fd); }

bool LedFace::exists() const { return orva::gpioutils::boardId() == kFrontLightBoard; }
bool LedFace::isBinary() const { return false; }
bool LedFace::hasAutoMode() const { return false; }
bool LedFace::isManagedByMcu() const { return false; }
int LedFace::rangeMin() const { return 0; }
int LedFace::rangeMax() const { return kRangeMax; }

bool LedFace::initGPIO() {
    fd = attribute::open(ORVA_HERE, kBrightnessPath);
    return attribute::isOpen(fd);
}

bool LedFace::writeValue(int value) { return attribute::writeNumber(ORVA_HERE, fd, value); }

bool LedFace::readValue(int& value) const { return attribute::readNumber(ORVA_HERE, fd, value); }

bool LedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
