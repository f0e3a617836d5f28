#include "orva_gpio_utils/McuLedFace.h"

#include <cstdint>

#include "platform/CameraInfoLookup.h"
#include "platform/Log.h"

namespace {
constexpr char kLogSource[] = "src/McuLedFace";
using orva::gpioutils::kLogError;

// Boards whose status LED the microcontroller runs.
struct McuBoard {
    uint32_t sysid;
};
constexpr McuBoard kMcuBoards[] = {{0xA571}, {0xA574}};

constexpr int kRangeMax = 100;
}  // namespace

McuLedFace::McuLedFace() : lastValue(-1) {}

McuLedFace::~McuLedFace() = default;

bool McuLedFace::exists() const { return true; }
bool McuLedFace::isBinary() const { return false; }
bool McuLedFace::hasAutoMode() const { return false; }

bool McuLedFace::isManagedByMcu() const {
    const uint32_t sysid = orva::gpioutils::boardId();
    for (const McuBoard& board : kMcuBoards) {
        if (board.sysid == sysid) return true;
    }
    return false;
}

bool McuLedFace::initGPIO() { return true; }
int McuLedFace::rangeMin() const { return 0; }
int McuLedFace::rangeMax() const { return kRangeMax; }

bool McuLedFace::writeValue(int value) {
    lastValue = value;
    return true;
}

bool McuLedFace::readValue(int& value) const {
    value = lastValue;
    return true;
}

bool McuLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool McuLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
