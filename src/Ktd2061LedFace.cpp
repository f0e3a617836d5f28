#include "orva_gpio_utils/Ktd2061LedFace.h"

#include <cstdio>
#include <cstring>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/Ktd2061LedFace";
using orva::gpioutils::kLogDebug;
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;
using orva::gpioutils::kLogWarning;
namespace attribute = orva::gpioutils::attribute;

constexpr char kNodeRoot[] = "/sys/class/leds/ktd20";

constexpr int kWled = 0;
constexpr int kRgbled = 1;
constexpr int kModules = 2;

// Mode written to the KTD2052 while any of its LEDs is lit, and while all are dark.
constexpr int kModeNormal = 2;
constexpr int kModeOff = 0;
// The driver can drop back to its own mode: "off" is written again after this long.
constexpr uint64_t kModeRefreshMs = 60000;
// Level of an animation frame and of the background colour.
constexpr int kFullLevel = 99;

// A group of node suffixes from the board table.
struct NodeList {
    const char* const* names;
    signed char num;
};

template <size_t N>
constexpr NodeList nodes(const char* const (&names)[N]) {
    static_assert(N < 128, "a node group counts in 8 bits");
    return NodeList{names, static_cast<signed char>(N)};
}

constexpr NodeList kNone = {nullptr, 0};

constexpr const char* k61Brightness[] = {"61/brightness"};
constexpr const char* k52Brightness[] = {"52/brightness"};
constexpr const char* k58Brightness[] = {"58/brightness"};
constexpr const char* k52Mode[] = {"52/mode"};
constexpr const char* k52Leds[] = {"52/LED1", "52/LED2", "52/LED3", "52/LED4"};
// One brightness node per colour chip; LEDs 0-11 on the KTD2061, 12-23 on the KTD2059, 24-35 on
// the KTD2060.
constexpr const char* kEc70RgbBrightness[] = {"61/brightness", "59/brightness", "60/brightness"};

constexpr const char* kA575Wled[] = {"61/C1", "61/C2"};
constexpr const char* kA575Rgb[] = {"61/A1", "61/A2", "61/A3", "61/A4", "61/B1"};
constexpr const char* kA598Rgb[] = {"61/C2", "61/C1", "61/C4", "61/C3", "61/B4", "61/B3",
                                    "61/B2", "61/B1", "61/A4", "61/A3", "61/A2", "61/A1"};
constexpr const char* kA5A4Rgb[] = {"61/C3", "61/C2", "61/C4", "61/C1", "61/B4", "61/B3",
                                    "61/B2", "61/B1", "61/A4", "61/A3", "61/A2", "61/A1"};
constexpr const char* kA5A6Rgb[] = {"61/A1", "61/A2", "61/A3", "61/A4", "61/B1", "61/B2",
                                    "61/B3", "61/B4", "61/C1", "61/C2", "61/C3", "61/C4"};
constexpr const char* kEc70Wled[] = {"58/A1", "58/A2", "58/A3", "58/A4", "58/B1", "58/B2",
                                     "58/B3", "58/B4", "58/C1", "58/C2", "58/C3", "58/C4"};
constexpr const char* kEc70Rgb[] = {
    "61/A1", "61/A2", "61/A3", "61/A4", "61/B1", "61/B2", "61/B3", "61/B4", "61/C1", "61/C2", "61/C3", "61/C4",
    "59/A1", "59/A2", "59/A3", "59/A4", "59/B1", "59/B2", "59/B3", "59/B4", "59/C1", "59/C2", "59/C3", "59/C4",
    "60/A1", "60/A2", "60/A3", "60/A4", "60/B1", "60/B2", "60/B3", "60/B4", "60/C1", "60/C2", "60/C3", "60/C4"};

// The driver nodes of each board, in LED order: pattern node i is LED i of its module. The colour
// module has no mode node on any board.
struct KtdBoard {
    uint32_t sysid;
    NodeList wledBrightness;
    NodeList wledPattern;
    NodeList wledMode;
    NodeList rgbBrightness;
    NodeList rgbPattern;
};
constexpr KtdBoard kKtdBoards[] = {
    {0xA575, nodes(k61Brightness), nodes(kA575Wled), kNone, nodes(k61Brightness), nodes(kA575Rgb)},
    {0xA598, nodes(k52Brightness), nodes(k52Leds), kNone, nodes(k61Brightness), nodes(kA598Rgb)},
    {0xA5A4, nodes(k52Brightness), nodes(k52Leds), nodes(k52Mode), nodes(k61Brightness), nodes(kA5A4Rgb)},
    {0xA5A6, nodes(k52Brightness), nodes(k52Leds), nodes(k52Mode), nodes(k61Brightness), nodes(kA5A6Rgb)},
    {0xEC70, nodes(k58Brightness), nodes(kEc70Wled), kNone, nodes(kEc70RgbBrightness), nodes(kEc70Rgb)},
};

// Boards whose drivers take brightness 0..80.
constexpr uint32_t kRange80Boards[] = {0xA575, 0xA5A4, 0xA5A6};

// Pattern bits of the three channels of each module: the white LEDs of a node sit on bits 0, 2, 1,
// the red, green and blue of an RGB LED on bits 2, 1, 0.
constexpr uint8_t kChannelBits[kModules][3] = {{1, 4, 2}, {4, 2, 1}};

const KtdBoard* findBoard(uint32_t sysid) {
    for (const KtdBoard& row : kKtdBoards) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

// A KTD2052 LED node takes a brightness per channel rather than on/off bits.
bool isKtd2052Node(const char* suffix) { return suffix != nullptr && suffix[0] == '5' && suffix[1] == '2'; }

// The three stored digits of a pattern node as bits (most significant first). False when the text
// is not three '0'/'1' digits and a NUL: the node's content is then unknown.
bool parsePattern(const char (&text)[4], unsigned& bits) {
    bits = 0;
    for (int k = 0; k < 3; ++k) {
        if (text[k] != '0' && text[k] != '1') return false;
        bits = (bits << 1) | static_cast<unsigned>(text[k] - '0');
    }
    return text[3] == '\0';
}

// Entry i of a channel, 0 where the channel has no such LED.
uint8_t ledValue(const Ktd2061LedFace::LedsState* state, int i) {
    if (state == nullptr || state->vals == nullptr || i < 0 || i >= state->len) return 0;
    return state->vals[i];
}

// value * level / 99 in the device's 32-bit arithmetic, wrapping rather than overflowing.
int scaled(int value, uint8_t level) {
    const auto product = static_cast<int32_t>(static_cast<uint32_t>(value) * level);
    return product / kFullLevel;
}

void closeGroup(Ktd2061LedFace::sysfs_nodes_t& group) {
    for (int& fd : group.fds) {
        if (attribute::isOpen(fd)) attribute::close(fd);
    }
}

void resetGroup(Ktd2061LedFace::sysfs_t& owner, Ktd2061LedFace::sysfs_nodes_t& group, const char* const* names,
                signed char num, bool pattern) {
    closeGroup(group);
    group.paths.clear();
    group.fds.clear();
    group.owner = &owner;
    group.names = num > 0 ? names : nullptr;
    group.num = num > 0 && names != nullptr ? num : 0;
    group.vals.reset();
    if (group.num == 0) return;
    group.vals = std::make_unique<Ktd2061LedFace::nodeVal_t[]>(static_cast<size_t>(group.num));
    for (int i = 0; i < group.num; ++i) {
        if (pattern) {
            memcpy(group.vals[i].pattern, "000", 4);
        } else {
            group.vals[i].brightness = 0;
        }
    }
}

}  // namespace

Ktd2061LedFace::ktd20xxSysfsConfig_s Ktd2061LedFace::sysfsConfig;
int Ktd2061LedFace::lastValue = 0;

Ktd2061LedFace::ktd20xxSysfsConfig_s::ktd20xxSysfsConfig_s() : module{}, channelBits{}, animPos{} {
    for (int m = 0; m < kModules; ++m) {
        sysfs_t& mod = module[m];
        for (sysfs_nodes_t* group : {&mod.brightness, &mod.pattern, &mod.mode}) {
            group->num = 0;
            group->names = nullptr;
            group->owner = &mod;
        }
        mod.isRgb = static_cast<uint8_t>(m);
        mod.typeName = orva::gpioutils::strTypeLedModule[m];
        mod.numLeds = 0;
        mod.modeOn = 0;
        mod.lastModeRefreshMs = 0;
        for (int k = 0; k < 3; ++k) channelBits[m][k] = kChannelBits[m][k];
        animPos[m] = 0;
    }
}

Ktd2061LedFace::Ktd2061LedFace() = default;

Ktd2061LedFace::~Ktd2061LedFace() = default;

bool Ktd2061LedFace::setColor(Color fg, Color bg) {
    const Color oldFg = readFgColor();
    const Color oldBg = readBgColor();
    if (!BaseLed::setColor(fg, bg)) return false;
    if (fg != oldFg && lastValue != 0) return updateAllLeds(fg, lastValue);
    if (bg != oldBg && lastValue == 0) return updateAllLeds(bg, kFullLevel);
    return true;
}

bool Ktd2061LedFace::setAnimColor(Color fg, Color bg) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    return BaseLed::setAnimColor(fg, bg);
}

bool Ktd2061LedFace::setAnimEnable(bool enable) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const bool previous = readAnimEnable();
    if (!BaseLed::setAnimEnable(enable)) return false;
    if (enable == previous || readAnimEnable()) return true;
    // Off again: back to the still picture that writeValue draws.
    if (lastValue != 0) return updateAllLeds(readFgColor(), lastValue);
    return updateAllLeds(readBgColor(), kFullLevel);
}

bool Ktd2061LedFace::setAnimStep(int step) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const int previous = readAnimStep();
    if (!BaseLed::setAnimStep(step)) return false;
    if (step == previous) return true;
    for (int m = 0; m < kModules; ++m) {
        const int count = sysfsConfig.module[m].numLeds;
        const int next = sysfsConfig.animPos[m] + 1;
        sysfsConfig.animPos[m] = static_cast<int8_t>(count > 0 ? next % count : 0);
    }
    return updateAnimVals(kFullLevel, readFgAnimColor(), readBgAnimColor());
}

bool Ktd2061LedFace::isAnimSupported() { return true; }

bool Ktd2061LedFace::service() {
    const uint64_t now = nowMs();
    for (int m = 0; m < kModules; ++m) {
        const sysfs_t& mod = sysfsConfig.module[m];
        if (mod.mode.num > 0 && mod.modeOn == 0 && now - mod.lastModeRefreshMs > kModeRefreshMs) {
            refreshMode(static_cast<signed char>(m), now);
        }
    }
    return true;
}

bool Ktd2061LedFace::exists() const { return true; }
bool Ktd2061LedFace::isBinary() const { return false; }
bool Ktd2061LedFace::hasAutoMode() const { return false; }
bool Ktd2061LedFace::isManagedByMcu() const { return false; }

bool Ktd2061LedFace::initGPIO() {
    if (!initSysfs(sysfsConfig)) return false;
    for (const Color color : {COLOR_WHITE, COLOR_RED, COLOR_GREEN, COLOR_BLUE}) {
        const sysfs_t& mod = sysfsConfig.module[color == COLOR_WHITE ? kWled : kRgbled];
        auto state = std::make_unique<LedsState>();
        state->len = mod.numLeds > 0 ? mod.numLeds : 0;
        state->val = 0;
        if (state->len > 0) state->vals = std::make_unique<uint8_t[]>(static_cast<size_t>(state->len));
        ledsStates[color] = std::move(state);
    }
    return update(true);
}

int Ktd2061LedFace::rangeMin() const { return 0; }

int Ktd2061LedFace::rangeMax() const {
    const uint32_t sysid = orva::gpioutils::boardId();
    for (const uint32_t board : kRange80Boards) {
        if (board == sysid) return 80;
    }
    return 99;
}

bool Ktd2061LedFace::writeValue(int value) {
    if (value == lastValue) return true;
    lastValue = value;
    if (value != 0) return updateAllLeds(readFgColor(), value);
    return updateAllLeds(readBgColor(), kFullLevel);
}

bool Ktd2061LedFace::readValue(int& value) const {
    value = lastValue;
    return true;
}

bool Ktd2061LedFace::writeAutoMode() {
    ORVA_LOG(kLogWarning, 0, "Function %s not yet implemented", __func__);
    return false;
}

bool Ktd2061LedFace::readAutoMode(bool& /*enabled*/) {
    ORVA_LOG(kLogWarning, 0, "Function %s not yet implemented", __func__);
    return false;
}

bool Ktd2061LedFace::initSysfs(ktd20xxSysfsConfig_s& config) {
    const uint32_t sysid = orva::gpioutils::boardId();
    const KtdBoard* row = findBoard(sysid);
    if (row == nullptr) {
        ORVA_LOG(kLogError, 0, "Unknow sysid %d for ktd20xx leds", static_cast<int>(sysid));
        return false;
    }
    config.animPos[kRgbled] = 0;
    if (!initConfig(config, row->wledBrightness.names, row->wledBrightness.num, row->wledPattern.names,
                    row->wledPattern.num, row->wledMode.names, row->wledMode.num, row->rgbBrightness.names,
                    row->rgbBrightness.num, row->rgbPattern.names, row->rgbPattern.num, nullptr, 0)) {
        return false;
    }
    const sysfs_t& wled = config.module[kWled];
    const sysfs_t& rgb = config.module[kRgbled];
    ORVA_LOG(kLogInfo, 0, "Num of LED sysfs node (brightness, pattern): %s(%d, %d), %s(%d, %d)", wled.typeName,
             wled.brightness.num, wled.pattern.num, rgb.typeName, rgb.brightness.num, rgb.pattern.num);
    ORVA_LOG(kLogDebug, 0, ">>>>>>>> Dump sysfs node");
    for (sysfs_t& mod : config.module) {
        for (sysfs_nodes_t* group : {&mod.brightness, &mod.pattern, &mod.mode}) {
            group->paths.reserve(static_cast<size_t>(group->num));
            group->fds.reserve(static_cast<size_t>(group->num));
            for (int i = 0; i < group->num; ++i) {
                std::string path = std::string(kNodeRoot) + group->names[i];
                const int fd = attribute::openUsable(ORVA_HERE, path.c_str(), true);
                if (!attribute::isOpen(fd)) return false;
                group->paths.push_back(std::move(path));
                group->fds.push_back(fd);
                ORVA_LOG(kLogInfo, 0, "         %d)\tfd[%d]\t%s", i, fd, group->paths.back().c_str());
            }
        }
    }
    return true;
}

bool Ktd2061LedFace::initConfig(ktd20xxSysfsConfig_s& config, const char* const* wledBrightness,
                                signed char wledBrightnessNum, const char* const* wledPattern,
                                signed char wledPatternNum, const char* const* wledMode, signed char wledModeNum,
                                const char* const* rgbBrightness, signed char rgbBrightnessNum,
                                const char* const* rgbPattern, signed char rgbPatternNum, const char* const* rgbMode,
                                signed char rgbModeNum) {
    struct Groups {
        const char* const* names[3];
        signed char num[3];
    };
    const Groups groups[kModules] = {
        {{wledBrightness, wledPattern, wledMode}, {wledBrightnessNum, wledPatternNum, wledModeNum}},
        {{rgbBrightness, rgbPattern, rgbMode}, {rgbBrightnessNum, rgbPatternNum, rgbModeNum}},
    };
    for (int m = 0; m < kModules; ++m) {
        sysfs_t& mod = config.module[m];
        mod.isRgb = static_cast<uint8_t>(m);
        mod.typeName = orva::gpioutils::strTypeLedModule[m];
        resetGroup(mod, mod.brightness, groups[m].names[0], groups[m].num[0], false);
        resetGroup(mod, mod.pattern, groups[m].names[1], groups[m].num[1], true);
        resetGroup(mod, mod.mode, groups[m].names[2], groups[m].num[2], false);
        // Each white pattern node carries three LEDs, one per channel bit.
        const int leds = m == kWled ? mod.pattern.num * 3 : mod.pattern.num;
        mod.numLeds = static_cast<int8_t>(leds);
        // The time of the last mode write stays: rebuilding the table writes no mode.
        mod.modeOn = 0;
    }
    config.animPos[kWled] = 0;
    return true;
}

int Ktd2061LedFace::getSysId(const sysfs_t& module, signed char led) const {
    if (module.brightness.num <= 0) return -1;
    const int ledsPerNode = module.numLeds / module.brightness.num;
    if (ledsPerNode <= 0) return -1;
    return led / ledsPerNode;
}

bool Ktd2061LedFace::getAnimLen(unsigned char module, signed char& len) {
    if (module > 1) {
        ORVA_LOG(kLogError, 0, "wrong type %d", module);
        return false;
    }
    const sysfs_t& mod = sysfsConfig.module[module];
    const int count = mod.numLeds;
    if (count < 2) {
        ORVA_LOG(kLogError, 0, "error number of %s : %d", mod.typeName, count);
        return false;
    }
    // Density in percent of the ring; a ring longer than 101 LEDs would make the step 0.
    int step = 100 / (count - 1);
    if (step < 1) step = 1;
    int length = readAnimDensity() / step;
    if (length < 1) length = 1;
    if (length > count - 1) length = count - 1;
    len = static_cast<signed char>(length);
    return true;
}

bool Ktd2061LedFace::updateVals(int value, LedsState& state) {
    for (int i = 0; i < state.len; ++i) state.vals[i] = static_cast<uint8_t>(value);
    state.val = static_cast<uint8_t>(value);
    return true;
}

bool Ktd2061LedFace::updatePosVals(LedsState& state, int value, signed char start, signed char count) {
    const int len = state.len;
    int written = 0;
    for (int i = start; i < start + len; ++i) {
        const int index = ((i % len) + len) % len;
        state.vals[index] = written < count ? static_cast<uint8_t>(value) : 0;
        ++written;
    }
    state.val = static_cast<uint8_t>(value);
    return true;
}

bool Ktd2061LedFace::updateAnimVals(int value, Color fg, Color bg) {
    const unsigned char fgModule = fg == COLOR_WHITE ? kWled : kRgbled;
    const unsigned char bgModule = bg == COLOR_WHITE ? kWled : kRgbled;
    for (auto& [color, state] : ledsStates) {
        signed char len = 0;
        if (color == fg) {
            if (!getAnimLen(fgModule, len)) return false;
            updatePosVals(*state, value, sysfsConfig.animPos[fgModule], len);
        } else if (color == bg) {
            if (!getAnimLen(bgModule, len)) return false;
            const int count = sysfsConfig.module[bgModule].numLeds;
            const int start = (sysfsConfig.animPos[bgModule] + len) % count;
            updatePosVals(*state, value, static_cast<signed char>(start), static_cast<signed char>(count - len));
        } else {
            updateVals(0, *state);
        }
    }
    return update(false);
}

bool Ktd2061LedFace::updateColorCodeLeds(ColorCode code, int value) {
    const struct {
        Color color;
        int level;
    } channels[] = {
        {COLOR_RED, scaled(value, code.red)},
        {COLOR_GREEN, scaled(value, code.green)},
        {COLOR_BLUE, scaled(value, code.blue)},
        {COLOR_WHITE, 0},
    };
    for (const auto& channel : channels) {
        const auto found = ledsStates.find(channel.color);
        if (found == ledsStates.end()) continue;
        if (!updateVals(channel.level, *found->second)) return false;
    }
    return update(false);
}

bool Ktd2061LedFace::updateAllLeds(Color color, int value) {
    const auto code = colorCodes.find(color);
    if (code != colorCodes.end()) return updateColorCodeLeds(code->second, value);
    bool matched = false;
    for (auto& [key, state] : ledsStates) {
        if (key == color) {
            matched = true;
            updateVals(value, *state);
        } else {
            updateVals(0, *state);
        }
    }
    if (!matched && color > COLOR_BLACK) ORVA_LOG(kLogWarning, 0, "Not supported color %d", color);
    return update(false);
}

bool Ktd2061LedFace::update(bool force) {
    auto stateOf = [this](Color color) -> const LedsState* {
        const auto found = ledsStates.find(color);
        return found == ledsStates.end() ? nullptr : found->second.get();
    };
    const LedsState* red = stateOf(COLOR_RED);
    const LedsState* green = stateOf(COLOR_GREEN);
    const LedsState* blue = stateOf(COLOR_BLUE);
    const LedsState* white = stateOf(COLOR_WHITE);

    int moduleBrightness[kModules] = {white != nullptr ? white->val : 0, 0};
    for (const LedsState* state : {red, green, blue}) {
        if (state != nullptr && state->val > moduleBrightness[kRgbled]) moduleBrightness[kRgbled] = state->val;
    }

    bool changed[kModules] = {false, false};
    for (int m = 0; m < kModules; ++m) {
        sysfs_t& mod = sysfsConfig.module[m];
        const int brightness = moduleBrightness[m];
        const int patternsPerBrightness = mod.brightness.num > 0 ? mod.pattern.num / mod.brightness.num : 0;
        for (int i = 0; i < mod.pattern.num && static_cast<size_t>(i) < mod.pattern.fds.size(); ++i) {
            uint8_t channel[3];
            if (m == kRgbled) {
                channel[0] = ledValue(red, i);
                channel[1] = ledValue(green, i);
                channel[2] = ledValue(blue, i);
            } else {
                for (int k = 0; k < 3; ++k) channel[k] = ledValue(white, 3 * i + k);
            }
            unsigned bits = 0;
            for (int k = 0; k < 3; ++k) {
                if (channel[k] != 0) bits |= sysfsConfig.channelBits[m][k];
            }
            bits &= 7u;
            char(&stored)[4] = mod.pattern.vals[i].pattern;
            unsigned oldBits = 0;
            // Only this face writes the stored text; should it ever be damaged, what the node holds is
            // unknown and the node is written again.
            const bool known = parsePattern(stored, oldBits);
            if (!known) {
                ORVA_LOG(kLogWarning, 0, "Stored pattern of %s is damaged, writing it again",
                         mod.pattern.paths[static_cast<size_t>(i)].c_str());
            }
            if (!known || bits != oldBits || force) {
                char text[40];
                if (isKtd2052Node(mod.pattern.names[i])) {
                    // The KTD2052 takes a level per channel, bit 0 first.
                    int used = 0;
                    for (int bit = 0; bit < 3; ++bit) {
                        used += snprintf(text + used, sizeof(text) - static_cast<size_t>(used), "%d ",
                                         (bits & (1u << bit)) != 0 ? brightness : 0);
                    }
                } else {
                    for (int bit = 0; bit < 3; ++bit) text[bit] = (bits & (4u >> bit)) != 0 ? '1' : '0';
                    text[3] = '\0';
                }
                if (!attribute::writeText(ORVA_HERE, mod.pattern.fds[static_cast<size_t>(i)], text)) return false;
                for (int bit = 0; bit < 3; ++bit) stored[bit] = (bits & (4u >> bit)) != 0 ? '1' : '0';
                stored[3] = '\0';
            }

            if (mod.brightness.num <= 0 || patternsPerBrightness <= 0 || i % patternsPerBrightness != 0) continue;
            const int led = m == kWled ? 3 * i + 2 : i;
            const int node = getSysId(mod, static_cast<signed char>(led));
            if (node < 0 || node >= mod.brightness.num || static_cast<size_t>(node) >= mod.brightness.fds.size()) {
                ORVA_LOG(kLogError, 0, "%s get brightness sysfs index fail", mod.typeName);
                return false;
            }
            int32_t& storedBrightness = mod.brightness.vals[node].brightness;
            if (storedBrightness == brightness && !force) continue;
            char number[16];
            snprintf(number, sizeof(number), "%d", brightness);
            if (!attribute::writeText(ORVA_HERE, mod.brightness.fds[static_cast<size_t>(node)], number)) return false;
            storedBrightness = brightness;
            changed[m] = true;
        }
    }

    for (int m = 0; m < kModules; ++m) {
        if (!changed[m] && !force) continue;
        sysfs_t& mod = sysfsConfig.module[m];
        mod.modeOn = 0;
        for (int b = 0; b < mod.brightness.num; ++b) {
            if (mod.brightness.vals[b].brightness != 0) mod.modeOn = 1;
        }
        if (!refreshMode(static_cast<signed char>(m), nowMs())) {
            ORVA_LOG(kLogError, 0, "Could not set mode for led %s", mod.typeName);
            return false;
        }
    }
    return true;
}

bool Ktd2061LedFace::refreshMode(signed char module, unsigned long long now) {
    if (module < 0 || module > 1) {
        ORVA_LOG(kLogError, 0, "Wrong led type number (%d)", module);
        return false;
    }
    sysfs_t& mod = sysfsConfig.module[module];
    mod.lastModeRefreshMs = now;
    char text[16];
    snprintf(text, sizeof(text), "%d", mod.modeOn != 0 ? kModeNormal : kModeOff);
    for (size_t i = 0; i < mod.mode.fds.size(); ++i) {
        if (!attribute::writeText(ORVA_HERE, mod.mode.fds[i], text)) return false;
    }
    return true;
}
