// Status light rings behind KTD2061/KTD2058/KTD2059/KTD2060 matrix drivers and a KTD2052
// four-channel driver, reached through the driver's attribute files under "/sys/class/leds/ktd20".
// One face drives a white module and a colour module together, and draws a running-light
// animation: a lit segment that moves one LED per animation step over a background colour.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orva_gpio_utils/BaseLed.h"
#include "orva_gpio_utils/LedModuleType.h"

class ORVA_GPIO_EXPORT Ktd2061LedFace : public BaseLed {
public:
    struct sysfs_t;

    // What the face last wrote to one node: a brightness 0..255, a pattern as three '0'/'1' digits
    // and a NUL, or a mode (zeroed, not used).
    union nodeVal_t {
        int32_t brightness;
        char pattern[4];
        uint8_t mode[4];
    };

    // One kind of attribute file of a module (brightness, pattern or mode), all open for the life
    // of the process.
    struct sysfs_nodes_t {
        int8_t num;                          // node count; 0 = the module has none
        const char* const* names;            // suffixes after "/sys/class/leds/ktd20", from the board table
        std::vector<std::string> paths;      // full attribute paths
        std::vector<int> fds;                // one open descriptor per path
        sysfs_t* owner;                      // the module the group belongs to
        std::unique_ptr<nodeVal_t[]> vals;   // num entries
    };

    // One LED module: 0 the white LEDs (three per pattern node), 1 the RGB LEDs (one per node).
    struct sysfs_t {
        sysfs_nodes_t brightness;
        sysfs_nodes_t pattern;
        sysfs_nodes_t mode;
        uint8_t isRgb;
        const char* typeName;         // orva::gpioutils::strTypeLedModule[isRgb]
        int8_t numLeds;
        uint8_t modeOn;               // 1 while any brightness node holds a non-zero value
        uint64_t lastModeRefreshMs;   // nowMs() of the last mode write
    };

    // The node table of the board, shared by every face of the process.
    struct ktd20xxSysfsConfig_s {
        ktd20xxSysfsConfig_s();
        ktd20xxSysfsConfig_s(const ktd20xxSysfsConfig_s&) = delete;
        ktd20xxSysfsConfig_s& operator=(const ktd20xxSysfsConfig_s&) = delete;

        sysfs_t module[2];
        // Pattern bit set by channel 0, 1, 2 of each module.
        uint8_t channelBits[2][3];
        // First LED of the lit segment of each module.
        int8_t animPos[2];
    };

    // Brightness 0..255 of each LED of one colour channel.
    struct LedsState {
        std::unique_ptr<uint8_t[]> vals;
        int8_t len;
        uint8_t val;  // the channel's current brightness
    };

    Ktd2061LedFace();
    ~Ktd2061LedFace() override;

    // Foreground shown while the value is non-zero, background (at 99) while it is 0.
    bool setColor(Color fg, Color bg) override;
    bool setAnimColor(Color fg, Color bg) override;
    // Switching the animation off redraws the still picture.
    bool setAnimEnable(bool enable) override;
    // A new step moves both segments one LED further and draws the frame.
    bool setAnimStep(int step) override;
    bool isAnimSupported() override;
    // Re-asserts the "off" mode of the white module once a minute.
    bool service() override;
    bool exists() const override;
    bool isBinary() const override;
    bool hasAutoMode() const override;
    bool isManagedByMcu() const override;
    // Builds the board's node table, opens every node and writes the dark state to all of them.
    bool initGPIO() override;
    int rangeMin() const override;
    // 80 or 99 by board.
    int rangeMax() const override;
    // Device value 0..rangeMax: the foreground at that level, or the background at 99 for 0.
    bool writeValue(int value) override;
    // The last value given to writeValue (process-wide).
    bool readValue(int& value) const override;
    bool writeAutoMode() override;
    bool readAutoMode(bool& enabled) override;

    // Picks the board's row of the node table, fills config and opens every node.
    bool initSysfs(ktd20xxSysfsConfig_s& config);
    // Names and counts of the six node groups: white brightness, pattern and mode, then colour
    // brightness, pattern and mode.
    bool initConfig(ktd20xxSysfsConfig_s& config, const char* const* wledBrightness, signed char wledBrightnessNum,
                    const char* const* wledPattern, signed char wledPatternNum, const char* const* wledMode,
                    signed char wledModeNum, const char* const* rgbBrightness, signed char rgbBrightnessNum,
                    const char* const* rgbPattern, signed char rgbPatternNum, const char* const* rgbMode,
                    signed char rgbModeNum);
    // Brightness node that governs LED led of module, or -1 when the module has none.
    int getSysId(const sysfs_t& module, signed char led) const;
    // Length of the lit segment from the animation density (percent): 1..numLeds - 1.
    bool getAnimLen(unsigned char module, signed char& len);
    // Every LED of the channel at value.
    bool updateVals(int value, LedsState& state);
    // count LEDs at value from LED start on (wrapping round the ring), the others dark.
    bool updatePosVals(LedsState& state, int value, signed char start, signed char count);
    // One animation frame: the fg segment at value, the bg colour on the LEDs it leaves dark.
    bool updateAnimVals(int value, Color fg, Color bg);
    // Every LED in the mixed colour code at value (0..99).
    bool updateColorCodeLeds(ColorCode code, int value);
    // Every LED of colour at value, every other channel dark.
    bool updateAllLeds(Color color, int value);
    // Writes each pattern and brightness node whose text changed (every node with force).
    bool update(bool force);
    // Writes the module's mode nodes: 2 while lit, 0 while dark.
    bool refreshMode(signed char module, unsigned long long now);

protected:
    std::map<Color, std::unique_ptr<LedsState>> ledsStates;

    // Process-wide: the node table with its open descriptors, and the last value written.
    static ktd20xxSysfsConfig_s sysfsConfig;
    static int lastValue;
};
