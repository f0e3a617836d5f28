#include "orva_gpio_utils/LedPower.h"

#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/LedPower";
using orva::gpioutils::kLogError;
}  // namespace

LedPower::LedPower() = default;
LedPower::~LedPower() = default;

bool LedPower::exists() const { return false; }
bool LedPower::isBinary() const { return true; }
bool LedPower::hasAutoMode() const { return false; }
bool LedPower::isManagedByMcu() const { return false; }
int LedPower::rangeMin() const { return 0; }
int LedPower::rangeMax() const { return 1; }

bool LedPower::initGPIO() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedPower::writeValue(int) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedPower::readValue(int&) const {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedPower::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedPower::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
