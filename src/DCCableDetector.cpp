#include "orva_gpio_utils/DCCableDetector.h"

#include "platform/CameraInfoLookup.h"

DCCableDetector::DCCableDetector() = default;
DCCableDetector::~DCCableDetector() = default;

bool DCCableDetector::exists() const {
    return orva::gpioutils::getCameraInfoValue<signed char>("feature_battery") != 0;
}

std::string DCCableDetector::getProcEntry() const { return "/proc/gpio/dcpowered"; }
