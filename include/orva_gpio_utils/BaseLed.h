// Abstract base of every LED face: user value 0..100 (or 0/1), brightness, automatic mode,
// colours, animation settings, save and restore. Faces supply the hardware operations.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "orva_gpio_utils/Export.h"

class ORVA_GPIO_EXPORT BaseLed {
public:
    // Colours 0..15; valid foreground and background colours are 1..15.
    enum Color : int {
        COLOR_NONE = 0,
        COLOR_BLACK = 1,
        COLOR_RED = 2,
        COLOR_GREEN = 3,
        COLOR_BLUE = 4,
        COLOR_YELLOW = 5,
        COLOR_AMBER = 6,
        COLOR_CYAN = 7,
        COLOR_MAGENTA = 8,
        COLOR_WHITE = 9,
        COLOR_WHITE_RED = 10,
        COLOR_WHITE_GREEN = 11,
        COLOR_WHITE_BLUE = 12,
        COLOR_WHITE_YELLOW = 13,
        COLOR_WHITE_CYAN = 14,
        COLOR_WHITE_MAGENTA = 15,
    };

    // Channel bits of a colour (colorToMask).
    enum ColorMask : int {
        COLOR_MASK_RED = 1,
        COLOR_MASK_GREEN = 2,
        COLOR_MASK_BLUE = 4,
        COLOR_MASK_WHITE = 8,
    };

    // Channel levels 0..255 of a mixed colour.
    struct ColorCode {
        uint8_t red;
        uint8_t green;
        uint8_t blue;
    };

    BaseLed();
    virtual ~BaseLed();
    BaseLed(const BaseLed&) = delete;
    BaseLed& operator=(const BaseLed&) = delete;

    // Colours 1..15 each; only recorded here, faces that show colour override or read them.
    virtual bool setColor(Color fg, Color bg);
    virtual bool setAnimColor(Color fg, Color bg);
    virtual bool setAnimDensity(int density);
    virtual bool setAnimEnable(bool enable);
    virtual bool setAnimStep(int step);
    virtual bool isAnimSupported();
    // Periodic work of faces that have some; call from the client's loop.
    virtual bool service();

    virtual bool exists() const = 0;
    virtual bool isBinary() const = 0;
    virtual bool hasAutoMode() const = 0;
    virtual bool isManagedByMcu() const = 0;
    virtual bool initGPIO() = 0;
    // Device values written for user 0 and user 100.
    virtual int rangeMin() const = 0;
    virtual int rangeMax() const = 0;
    // Raw device value, already converted to the face's range.
    virtual bool writeValue(int value) = 0;
    virtual bool readValue(int& value) const = 0;
    virtual bool writeAutoMode() = 0;
    virtual bool readAutoMode(bool& enabled) = 0;
    // User value (0..100, or 0/1 on a binary LED) at the current brightness to a device value.
    virtual int convertUserToGPIO(int value);

    virtual Color readFgColor() const;
    virtual Color readBgColor() const;
    virtual Color readFgAnimColor() const;
    virtual Color readBgAnimColor() const;
    virtual int readAnimDensity() const;
    virtual bool readAnimEnable() const;
    virtual int readAnimStep() const;

    // Once per object: probes the face and opens its hardware. A missing LED initialises fine.
    bool init(const std::string& name);
    // User value 0..100 (0/1 on a binary LED); -1 does nothing. force writes even an unchanged value.
    bool setValue(int value, bool force);
    bool setBoolean(bool on);
    // Percent 0..100 applied to every user value; re-applies the current value.
    bool setBrightness(int brightness);
    bool setAutoMode();
    // Remembers the current value or auto mode (reading the hardware when unknown) for restore().
    bool save();
    bool restore();
    static int colorToMask(Color color);
    // Device value back to a user value 0..100 at the current brightness.
    int convertGPIOToUser(int value);

protected:
    std::map<Color, ColorCode> colorCodes;
    bool initialized_;
    std::string name_;
    bool exists_;
    bool binary_;
    int32_t rangeMin_;
    int32_t rangeMax_;
    bool autoMode_;
    int32_t currentValue_;
    int32_t autoModeState_;
    bool saved_;
    bool savedAutoMode_;
    int32_t savedValue_;
    int32_t brightness_;
    Color fgColor_;
    Color bgColor_;
    Color fgAnimColor_;
    Color bgAnimColor_;
    int32_t animDensity_;
    bool animEnable_;
    int32_t animStep_;
};
