// Infrared (night-vision) illuminator, and on some boards the white light and an accessory
// infrared output beside it: decimal 0..99 written to PWM duty-cycle or backlight brightness files,
// with one IR channel or a tele and a wide channel moved together by a stepwise fade.
#pragma once

#include <functional>

#include "orva_gpio_utils/BaseLed.h"

class ORVA_GPIO_EXPORT LedIr : public BaseLed {
public:
    LedIr();
    ~LedIr() override;

    // True when the board's "feature_led_ir" is 1.
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Opens the board's IR, accessory IR and white LED files, binds the two handlers, and reads the
    // current IR value.
    bool initGPIO() override;
    int rangeMin() const override;
    int rangeMax() const override;
    // Device value 0..99 on the selected path; the second channel takes the complement.
    bool writeValue(int value) override;
    // Device value of the selected path (left unchanged where the IR light cannot be read back).
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // Whether the IR light also serves as the status light (boards without a separate one).
    bool isStatusLight() const;
    // value for channel 1 and second for channel 2, both 0..99; a negative second means the
    // complement of value. Fades in steps of 5 ms where the board fades.
    bool writeValue(int value, int second);
    // 1 selects channel 1, 2 channel 2 for writeValue/readValue; a lit light moves to the new path.
    // 0 on success, -1 on failure.
    int setPathIndex(int index);
    // writeValue with the values validated against the range; only while directPwm is set.
    bool directPwmWrite(int value, int second);
    // IR brightness 0..255: scales the written values while directPwm is set, otherwise becomes the
    // percent brightness of BaseLed (255 -> 100).
    bool irSetBrightness(int brightness);
    // Moves channel 1 from from1 to to1 and, when dual, channel 2 from from2 to to2 in lock step,
    // one step per pass and 5 ms between passes. A target of -1 leaves its channel alone.
    bool fadeInOut(int from1, int to1, bool dual, int from2, int to2);
    // White light on (at whiteLedLevel) or off, through whiteLedHandler.
    bool setWhiteLedOn(bool on);
    bool setWhiteLedOnFd(bool on);
    // Accessory IR output on or off, through accessoryIrHandler.
    bool accessoryIrOn(bool on);
    bool accessoryIrOnFd(bool on);
    // Level the white light takes when switched on, clamped to the board's maximum; applied at
    // once while the light is on.
    bool setMaxWhiteLedLevel(int level);

protected:
    // Protected rather than private so that a derived class can set directPwm, which no operation
    // of this class does.
    int maxValue;
    int minValue;
    int pathFd;         // copy of primaryFd or secondaryFd: the path writeValue and readValue use
    int primaryFd;      // IR channel 1 (tele where there are two)
    int secondaryFd;    // IR channel 2 (wide)
    int accessoryIrFd;  // accessory IR output
    int whiteLedFd;     // white LED
    int lastPrimaryValue;    // last value put on channel 1
    int lastSecondaryValue;  // last value put on channel 2; -1 = none
    int fadeStep;            // value units per fade pass
    int irBrightness;        // 0..255
    bool directPwm;          // enables directPwmWrite and scaling by irBrightness
    bool fadeEnabled;        // writeValue fades instead of writing at once
    int whiteLedLevel;       // written to the white LED when it is switched on
    std::function<bool(bool)> accessoryIrHandler;
    std::function<bool(bool)> whiteLedHandler;
};
