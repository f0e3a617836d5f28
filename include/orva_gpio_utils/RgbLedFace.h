// Front RGB LED on the AV LED class device "/sys/class/leds/orva::av/": on/off brightness, colours
// by name, and on boards 0xA563 and 0xEC70 the driver's own animations (colours, density, step).
// Only changed settings are written.
#pragma once

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT RgbLedFace : public BaseLed {
public:
    RgbLedFace();
    // Closes the brightness and colour files, and the animation files on animation boards.
    ~RgbLedFace() override;

    // Colours 1..15 each; writes only the colour that changed.
    bool setColor(Color fg, Color bg) override;
    // Animation boards only (elsewhere "Not supported" and false); each writes only on a change.
    bool setAnimColor(Color fg, Color bg) override;
    bool setAnimDensity(int density) override;
    // Switching off writes "none" to the animation trigger; switching on writes nothing.
    bool setAnimEnable(bool enable) override;
    // Any new step value writes "step_cw" to the animation trigger.
    bool setAnimStep(int step) override;
    // True on the animation boards; the board is looked up on every call.
    bool isAnimSupported() override;

    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Opens brightness, color_fg and color_bg, sets the trigger to "none", and on animation boards
    // opens the four animation files.
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    // Device value 0..14: "1" when non-zero, "0" otherwise.
    bool writeValue(int value) override;
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // Name the driver takes for a colour; the white mixtures have names on animation boards only,
    // anything without a name is "black".
    static const char* ColorToDeviceColor(Color color);

protected:
    int brightnessFd;     // "/sys/class/leds/orva::av/brightness"
    int colorFgFd;        // "/sys/class/leds/orva::av/color_fg"
    int colorBgFd;        // "/sys/class/leds/orva::av/color_bg"
    int animDensityFd;    // "/sys/class/leds/orva::av/anim_density"
    int animColorFgFd;    // "/sys/class/leds/orva::av/anim_color_fg"
    int animColorBgFd;    // "/sys/class/leds/orva::av/anim_color_bg"
    int animTriggerFd;    // "/sys/class/leds/orva::av/anim_trigger"
};
