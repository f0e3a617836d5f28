// Reset button of board 0xA564: not on a GPIO entry but in the System V shared-memory segment (key
// 0x162F) that another firmware process keeps; byte 271 of it is the button level, 0 while pressed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orva_gpio_utils/BaseButton.h"

class ORVA_GPIO_EXPORT ResetShmemButtonCase : public BaseButton {
public:
    // consoleMode: the button is inert (never attached, never pressed).
    explicit ResetShmemButtonCase(bool consoleMode);
    ~ResetShmemButtonCase() override;

    bool exists() const override;
    // Attaches the existing segment read-only and learns its size.
    bool initGPIO() override;
    // Never fails; a segment still all zeros (not filled in yet) reads as released.
    bool readValue(bool& pressed) const override;

private:
    bool consoleMode_;
    const uint8_t* segment_;  // attached bytes, read-only
    int shmId_;
    size_t segmentSize_;
};
