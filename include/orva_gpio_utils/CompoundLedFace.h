// Status light made of the two-colour AV LED class device "/sys/class/leds/orva::av/" (brightness
// and named foreground and background colours) and single-colour channels (PWM duty cycles,
// backlights or LED-driver channels), one per colour. Which exist, and which file lights which
// colour, depends on the board. A colour with a channel is shown by its channel, never by the AV LED.
#pragma once

#include <map>
#include <string>

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT CompoundLedFace : public BaseLed {
public:
    CompoundLedFace();
    ~CompoundLedFace() override;

    // Colours 1..15 each. A colour that has a channel lights that channel (at the current device
    // value for the foreground, full for the background while the light is off) and puts "black"
    // on the AV LED for its role; other colours go to the AV LED by name.
    bool setColor(Color fg, Color bg) override;
    // No animation: each logs "Not supported" and returns false.
    bool setAnimColor(Color fg, Color bg) override;
    bool setAnimDensity(int density) override;
    bool setAnimEnable(bool enable) override;
    bool setAnimStep(int step) override;
    bool isAnimSupported() override;

    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Opens the board's channel files (each written "0") and, where the board has it, the AV LED's
    // brightness and colour files, with its trigger set to "none".
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    // Device value 0..99: AV LED brightness "1"/"0", the foreground channel at value, the
    // background channel full while value is 0 and dark otherwise.
    bool writeValue(int value) override;
    // From the foreground colour's channel, else the AV LED brightness; left unchanged when the
    // board has neither.
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // Name the AV LED takes for a colour ("red", ...); "black" for the white mixtures and anything
    // out of range.
    static const char* ColorToDeviceColor(Color color);
    // Whether the board has a channel file for this colour.
    bool isPwmLed(Color color) const;
    // Writes a colour name to one of the AV LED's colour files; true at once without an AV LED.
    bool setAvledColor(int fd, const std::string& name) const;

protected:
    int brightnessFd;  // "/sys/class/leds/orva::av/brightness"
    int colorFgFd;     // "/sys/class/leds/orva::av/color_fg"
    int colorBgFd;     // "/sys/class/leds/orva::av/color_bg"
    bool hasAvLed;     // the board has the AV LED class device
    std::map<Color, int> channelFds;  // channel file of each colour that has one
};
