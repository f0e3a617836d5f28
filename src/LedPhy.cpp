#include "orva_gpio_utils/LedPhy.h"

#include <cstdint>

#include "platform/CameraInfoLookup.h"
#include "platform/Log.h"

namespace orva::gpioutils {

// The LED field of a PHY register: mask selects the bits that drive the LED, onValue and offValue
// are the field's content for the two states.
struct PhyConfig {
    uint32_t sysid;
    const char* interface;
    uint16_t reg;
    uint16_t mask;
    uint16_t onValue;
    uint16_t offValue;
};

}  // namespace orva::gpioutils

namespace {
constexpr char kLogSource[] = "src/LedPhy";
using orva::gpioutils::kLogError;
using orva::gpioutils::PhyConfig;

// Register 0x11 of this board's PHY holds the LED mode in bits 3..5: 7 lights it, 1 leaves it dark.
constexpr PhyConfig kPhyBoards[] = {
    {0xA564, "eth0", 0x11, 0x0038, 0x0038, 0x0008},
};

const PhyConfig* findConfig(uint32_t sysid) {
    for (const PhyConfig& row : kPhyBoards) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

// Reads the register of the bound row into content; a missing row or a failed read is logged at
// the caller's site.
bool readLedRegister(const orva::gpioutils::LogSite& site, const PhyConfig* config, const orva::utils::mdio& bus,
                     unsigned short& content) {
    if (config == nullptr) {
        ORVA_LOG_AT(site, kLogError, 0, "_phyConfig is NULL");
        return false;
    }
    if (!bus.read(config->reg, content)) {
        ORVA_LOG_AT(site, kLogError, 0, "Unable to read phy reg %02x from %s", static_cast<unsigned>(config->reg),
                    config->interface);
        return false;
    }
    return true;
}

}  // namespace

LedPhy::LedPhy() : mdio(), _phyConfig(nullptr) {}

LedPhy::~LedPhy() = default;

bool LedPhy::exists() const {
    if (_phyConfig != nullptr) return true;
    return findConfig(orva::gpioutils::boardId()) != nullptr;
}

bool LedPhy::isBinary() const { return true; }
bool LedPhy::hasAutoMode() const { return false; }
bool LedPhy::isManagedByMcu() const { return false; }
int LedPhy::rangeMin() const { return 0; }
int LedPhy::rangeMax() const { return 1; }

bool LedPhy::initGPIO() {
    _phyConfig = findConfig(orva::gpioutils::boardId());
    if (_phyConfig == nullptr) return true;
    return mdio.init(_phyConfig->interface);
}

bool LedPhy::writeValue(int value) {
    unsigned short content = 0;
    if (!readLedRegister(ORVA_HERE, _phyConfig, mdio, content)) return false;
    const uint16_t field = value != 0 ? _phyConfig->onValue : _phyConfig->offValue;
    // Bits outside the LED field belong to the PHY's other settings and are written back as read.
    const auto updated =
        static_cast<unsigned short>((field & _phyConfig->mask) | (content & static_cast<uint16_t>(~_phyConfig->mask)));
    return mdio.write(_phyConfig->reg, updated);
}

bool LedPhy::readValue(int& value) const {
    unsigned short content = 0;
    if (!readLedRegister(ORVA_HERE, _phyConfig, mdio, content)) return false;
    value = (content & _phyConfig->mask) == _phyConfig->onValue ? 1 : 0;
    return true;
}

bool LedPhy::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool LedPhy::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}
