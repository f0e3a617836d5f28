// Status LED wired to an LED output of the Ethernet PHY: switched by a read-modify-write of a bit
// field of one PHY register over MDIO.
#pragma once

#include "orva/platform.h"
#include "orva_gpio_utils/BaseLed.h"

namespace orva::gpioutils {
// Row of the PHY LED table: which interface's PHY, which register and which field values.
struct PhyConfig;
}  // namespace orva::gpioutils

class ORVA_GPIO_EXPORT LedPhy : public BaseLed {
public:
    LedPhy();
    ~LedPhy() override;

    // True on the boards of the PHY LED table.
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Binds the board's row and opens MDIO on its interface (true without a row).
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    // Non-zero switches the LED on. Reads the register and writes it back with only the LED field
    // changed.
    bool writeValue(int value) override;
    // 1 when the LED field holds the "on" pattern, else 0.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

protected:
    orva::utils::mdio mdio;
    const orva::gpioutils::PhyConfig* _phyConfig;  // board's row, not owned; null until initGPIO
};
