// Single green status LED, an LED-class device "/sys/class/leds/G/brightness" (0..255). It takes
// the full colour model: it shows the green share of the foreground and background colours, with
// the value as the cross-fade between them.
#pragma once

#include <string>

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT GreenLedFace : public BaseLed {
public:
    GreenLedFace();
    ~GreenLedFace() override;

    // Colours 1..15 each; a changed pair re-renders the last value at once.
    bool setColor(Color fg, Color bg) override;
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Opens the brightness file (kept open until destruction); on 0xA574 amber's green is dimmed.
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    // value 0..255: the cross-fade from background (0) to foreground (255).
    bool writeValue(int value) override;
    // The last value given to writeValue; the file is not read.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // level scaled by the green level (0..255) of the current colour, level x green / 255 rounded
    // down: the first entry of the colour map, in ascending colour order, that is the foreground or
    // the background colour. level unchanged when neither colour has an entry.
    int getColorCodeBrightness(int level);
    // Decimal text of the brightness the file must hold now.
    std::string getLedBrightness();

protected:
    int fd;     // brightness file; -1 while closed
    int value;  // last value given to writeValue
};
