// Status ring on the kernel's multicolour LED class: colour LEDs behind the numbered
// "multicolor:status" devices and white LEDs, three per device, behind "multicolor:indicator", each
// device taking three blank-separated channel intensities in "multi_intensity". Shows one colour on
// the whole ring, or a running segment that moves one LED per animation step.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT MulticolorLedFace : public BaseLed {
public:
    // Channel intensities 0..255 of one colour, one entry per LED of the ring. On a ring whose LEDs
    // are wired in groups only entry 0 is shown.
    struct LedsState {
        std::vector<int> vals;
    };

    MulticolorLedFace();
    ~MulticolorLedFace() override;

    // Colours 1..15. A new foreground is shown at once while the LED is lit, a new background
    // while it is off (at full intensity).
    bool setColor(Color fg, Color bg) override;
    bool setAnimColor(Color fg, Color bg) override;
    // Percent of the ring the segment covers: at least one LED, never the whole ring.
    bool setAnimDensity(int density) override;
    // Switching the animation off draws the still picture again.
    bool setAnimEnable(bool enable) override;
    // Each new step value moves the segment one LED in the board's direction and draws the frame.
    bool setAnimStep(int stepValue) override;
    // False on rings wired in groups.
    bool isAnimSupported() override;
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Picks the board's ring from "sysid", opens every class device's "multi_intensity" and
    // "brightness" and sets each "brightness" to full scale, so that the intensities alone decide
    // what shows.
    bool initGPIO() override;
    int rangeMin() const override;
    // Intensity 255 for user 100.
    int rangeMax() const override;
    // Intensity 0..255: non-zero shows the foreground colour at that intensity, 0 the background
    // colour at full intensity.
    bool writeValue(int value) override;
    // The last intensity given to writeValue.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // value to entry 0 of state and, unless the ring is wired in groups, to every LED.
    bool updateVals(int value, LedsState& state);
    // One animation frame at intensity value: moves the segment one LED, then fg and bg each light
    // the segment (white LEDs behind the colour LEDs by the board's white offset).
    bool updateAnimVals(int value, Color fg, Color bg);
    // The whole ring in a mixed colour: each channel of code scaled by value / 255.
    bool updateColorCodeLeds(ColorCode code, int value);
    // The whole ring in one colour at value, every other colour off.
    bool updateAllLeds(Color color, int value);
    // Writes every intensity file from the colour states, starting at the animation position.
    bool update();

protected:
    int animPos;           // LED where the segment starts
    int animLen;           // LEDs the segment covers, 1..maxNumLed - 1
    int step;              // +1 or -1: direction the segment moves per frame
    int maxNumLed;         // LEDs of the ring (colour and white alike)
    int maxNumWledModule;  // indicator devices that carry white LEDs
    bool isRgbGroup;       // colour LEDs wired in groups sharing entry 0 of the states
    int maxNumRgbGroup;    // status devices on a grouped ring
    int maxIteration;      // numbered class devices opened per class
    int whiteOffset;       // LEDs the white segment starts behind the colour segment
    Color rgbOrder[3];     // colours of the status devices' three channels, in channel order
    int currentValue;      // last value given to writeValue
    std::vector<int> wledFds;        // "multi_intensity" of indicator device i
    std::vector<int> rgbFds;         // "multi_intensity" of status device i
    std::vector<int> brightnessFds;  // "brightness" of every device, in the order opened
    std::map<Color, std::unique_ptr<LedsState>> ledsStates;  // red, green, blue and white
};
