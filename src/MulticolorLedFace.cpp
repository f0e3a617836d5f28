#include "orva_gpio_utils/MulticolorLedFace.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>

#include "platform/AttributeFile.h"
#include "platform/CameraInfoLookup.h"

namespace {
constexpr char kLogSource[] = "src/MulticolorLedFace";
using orva::gpioutils::kLogError;
using orva::gpioutils::kLogInfo;
using orva::gpioutils::kLogWarning;
namespace attribute = orva::gpioutils::attribute;

constexpr char kStatusClass[] = "/sys/class/leds/multicolor:status";        // colour LEDs
constexpr char kIndicatorClass[] = "/sys/class/leds/multicolor:indicator";  // white LEDs
constexpr char kIntensityFile[] = "multi_intensity";
constexpr char kBrightnessFile[] = "brightness";

// Full scale of the class devices' "brightness": the LED shows brightness * intensity / max, so
// with brightness at full scale the intensities alone decide what shows. The LED class clamps a
// brightness above the device's max_brightness.
constexpr int kFullBrightness = 255;
// Intensity of the background colour and of animation frames.
constexpr int kFullIntensity = 255;

// The deeper amber of the 0xA5A2 ring's LEDs.
constexpr BaseLed::ColorCode kDeepAmber = {255, 67, 0};

// The ring of each board. The white LEDs sit three to an indicator device; whiteOffset is how many
// LEDs the white segment starts behind the colour segment, step the direction the segment runs.
struct MulticolorBoard {
    uint32_t sysid;
    int maxNumLed;
    int maxNumWledModule;
    bool isRgbGroup;
    int maxNumRgbGroup;  // 0: keeps the constructed value
    int whiteOffset;
    int step;
    BaseLed::Color rgbOrder[3];      // channel order of the status devices' "multi_intensity"
    const BaseLed::ColorCode* amber;  // replaces the default amber, or nullptr
};
constexpr MulticolorBoard kMulticolorBoards[] = {
    {0xA5B0, 10, 4, false, 0, 8, +1, {BaseLed::COLOR_GREEN, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE}, nullptr},
    {0xA5A2, 12, 4, false, 0, 8, -1, {BaseLed::COLOR_GREEN, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE}, &kDeepAmber},
    {0xEC70, 36, 12, true, 4, 0, -1, {BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE}, nullptr},
};

constexpr bool tableIsSound() {
    for (const MulticolorBoard& row : kMulticolorBoards) {
        // A segment of 1..maxNumLed - 1 LEDs needs two LEDs, and 100 / (maxNumLed - 1) must not be 0.
        if (row.maxNumLed < 2 || row.maxNumLed > 101) return false;
        if (row.whiteOffset < 0 || row.whiteOffset >= row.maxNumLed) return false;
        if (row.step != 1 && row.step != -1) return false;
        if (row.maxNumWledModule * 3 < row.maxNumLed) return false;
        if (row.isRgbGroup && (row.maxNumRgbGroup < 1 || row.maxNumRgbGroup > row.maxNumLed)) return false;
    }
    return true;
}
static_assert(tableIsSound(), "every ring has 2..101 LEDs, a white offset inside it and a direction of one LED");

const MulticolorBoard* findBoard(uint32_t sysid) {
    for (const MulticolorBoard& row : kMulticolorBoards) {
        if (row.sysid == sysid) return &row;
    }
    return nullptr;
}

bool isRgbw(BaseLed::Color color) {
    return color == BaseLed::COLOR_RED || color == BaseLed::COLOR_GREEN || color == BaseLed::COLOR_BLUE ||
           color == BaseLed::COLOR_WHITE;
}

// value * level / 255 in the camera's 32-bit arithmetic: the product wraps instead of overflowing.
int scaleByLevel(int value, uint8_t level) {
    const uint32_t product = static_cast<uint32_t>(value) * level;
    const int32_t wrapped = product <= 0x7FFFFFFFu ? static_cast<int32_t>(product)
                                                   : static_cast<int32_t>(product - 0x80000000u) + INT32_MIN;
    return wrapped / 255;
}

// Entry led of a state, 0 where the state has no such entry.
int valueAt(const MulticolorLedFace::LedsState* state, int led) {
    if (state == nullptr || led < 0 || static_cast<size_t>(led) >= state->vals.size()) return 0;
    return state->vals[static_cast<size_t>(led)];
}

// Path of file of class device number index: no suffix for device 0, "_N" for the others.
void devicePath(char (&path)[128], const char* classDir, int index, const char* file) {
    char suffix[16] = "";
    if (index != 0) snprintf(suffix, sizeof(suffix), "_%d", index);
    snprintf(path, sizeof(path), "%s%s/%s", classDir, suffix, file);
}

}  // namespace

MulticolorLedFace::MulticolorLedFace()
    : animPos(0),
      animLen(1),
      step(0),
      maxNumLed(0),
      maxNumWledModule(0),
      isRgbGroup(false),
      maxNumRgbGroup(0),
      maxIteration(0),
      whiteOffset(0),
      rgbOrder{COLOR_NONE, COLOR_NONE, COLOR_NONE},
      currentValue(0) {}

MulticolorLedFace::~MulticolorLedFace() {
    for (std::vector<int>* fds : {&wledFds, &rgbFds, &brightnessFds}) {
        for (int& fd : *fds) attribute::close(fd);
    }
}

bool MulticolorLedFace::setColor(Color fg, Color bg) {
    const Color oldFg = readFgColor();
    const Color oldBg = readBgColor();
    if (!BaseLed::setColor(fg, bg)) return false;
    if (fg != oldFg && currentValue != 0) return updateAllLeds(fg, currentValue);
    if (bg != oldBg && currentValue == 0) return updateAllLeds(bg, kFullIntensity);
    return true;
}

bool MulticolorLedFace::setAnimColor(Color fg, Color bg) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    return BaseLed::setAnimColor(fg, bg);
}

bool MulticolorLedFace::setAnimDensity(int density) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const int prev = readAnimDensity();
    if (!BaseLed::setAnimDensity(density)) return false;
    // Before initGPIO the ring's size is unknown: initGPIO works the length out then.
    if (density != prev && maxNumLed >= 2) {
        animLen = std::min(std::max(density / (100 / (maxNumLed - 1)), 1), maxNumLed - 1);
    }
    return true;
}

bool MulticolorLedFace::setAnimEnable(bool enable) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const bool prev = readAnimEnable();
    if (!BaseLed::setAnimEnable(enable)) return false;
    if (enable != prev && !readAnimEnable()) {
        if (currentValue != 0) return updateAllLeds(readFgColor(), currentValue);
        return updateAllLeds(readBgColor(), kFullIntensity);
    }
    return true;
}

bool MulticolorLedFace::setAnimStep(int stepValue) {
    if (!isAnimSupported()) {
        ORVA_LOG(kLogError, 0, "Not supported");
        return false;
    }
    const int prev = readAnimStep();
    if (!BaseLed::setAnimStep(stepValue)) return false;
    if (stepValue != prev) return updateAnimVals(kFullIntensity, readFgAnimColor(), readBgAnimColor());
    return true;
}

bool MulticolorLedFace::isAnimSupported() { return !isRgbGroup; }
bool MulticolorLedFace::exists() const { return true; }
bool MulticolorLedFace::isBinary() const { return false; }
bool MulticolorLedFace::hasAutoMode() const { return false; }
bool MulticolorLedFace::isManagedByMcu() const { return false; }
int MulticolorLedFace::rangeMin() const { return 0; }
int MulticolorLedFace::rangeMax() const { return 255; }

bool MulticolorLedFace::initGPIO() {
    // A second initialisation (after a failed one) starts from closed files.
    for (std::vector<int>* fds : {&wledFds, &rgbFds, &brightnessFds}) {
        for (int& fd : *fds) attribute::close(fd);
        fds->clear();
    }

    const uint32_t sysid = orva::gpioutils::boardId();
    const MulticolorBoard* board = findBoard(sysid);
    if (board == nullptr) {
        ORVA_LOG(kLogError, 0, "Unknow sysid %d for multicolor leds", static_cast<int>(sysid));
        return false;
    }
    maxNumLed = board->maxNumLed;
    maxNumWledModule = board->maxNumWledModule;
    isRgbGroup = board->isRgbGroup;
    if (board->maxNumRgbGroup != 0) maxNumRgbGroup = board->maxNumRgbGroup;
    maxIteration = std::max({maxNumRgbGroup, maxNumWledModule, maxNumLed});
    whiteOffset = board->whiteOffset;
    step = board->step;
    std::copy(std::begin(board->rgbOrder), std::end(board->rgbOrder), rgbOrder);
    if (board->amber != nullptr) colorCodes[COLOR_AMBER] = *board->amber;
    ORVA_LOG(kLogInfo, 0, "maxNumLed[%d] maxNumWledModule[%d] isRgbGroup[%d] maxNumRgbGroup[%d] maxIteration[%d]",
             maxNumLed, maxNumWledModule, isRgbGroup ? 1 : 0, maxNumRgbGroup, maxIteration);

    for (Color color : {COLOR_RED, COLOR_GREEN, COLOR_BLUE, COLOR_WHITE}) {
        auto state = std::make_unique<LedsState>();
        state->vals.assign(static_cast<size_t>(maxNumLed), 0);
        ledsStates[color] = std::move(state);
    }
    // A density set before the ring was known takes effect now.
    animLen = std::min(std::max(readAnimDensity() / (100 / (maxNumLed - 1)), 1), maxNumLed - 1);

    const auto openInto = [](std::vector<int>& fds, const char* classDir, int index, const char* file) {
        char path[128];
        devicePath(path, classDir, index, file);
        const int fd = attribute::openUsable(orva::gpioutils::LogSite{kLogSource, "initGPIO", __LINE__}, path, false);
        if (!attribute::isOpen(fd)) return false;
        fds.push_back(fd);
        return true;
    };
    const size_t devices = static_cast<size_t>(maxIteration);
    wledFds.reserve(devices);
    rgbFds.reserve(devices);
    brightnessFds.reserve(2 * devices);
    for (int i = 0; i < maxIteration; ++i) {
        if (!(isRgbGroup && i >= maxNumRgbGroup)) {
            if (!openInto(rgbFds, kStatusClass, i, kIntensityFile)) return false;
            if (!openInto(brightnessFds, kStatusClass, i, kBrightnessFile)) return false;
        }
        if (!openInto(wledFds, kIndicatorClass, i, kIntensityFile)) return false;
        if (!openInto(brightnessFds, kIndicatorClass, i, kBrightnessFile)) return false;
    }
    for (int fd : brightnessFds) {
        if (!attribute::writeNumber(ORVA_HERE, fd, kFullBrightness)) return false;
    }
    return true;
}

bool MulticolorLedFace::writeValue(int value) {
    if (value == currentValue) return true;
    currentValue = value;
    if (value != 0) return updateAllLeds(readFgColor(), value);
    return updateAllLeds(readBgColor(), kFullIntensity);
}

bool MulticolorLedFace::readValue(int& value) const {
    value = currentValue;
    return true;
}

bool MulticolorLedFace::writeAutoMode() {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool MulticolorLedFace::readAutoMode(bool&) {
    ORVA_LOG(kLogError, 0, "Not supported");
    return false;
}

bool MulticolorLedFace::updateVals(int value, LedsState& state) {
    const size_t count = isRgbGroup ? 1 : static_cast<size_t>(maxNumLed);
    if (count == 0 || state.vals.size() < count) return false;
    std::fill_n(state.vals.begin(), count, value);
    return true;
}

bool MulticolorLedFace::updateAnimVals(int value, Color fg, Color bg) {
    if (!isRgbw(fg)) ORVA_LOG(kLogWarning, 0, "Only support RGBW color now");
    if (!isRgbw(bg)) ORVA_LOG(kLogWarning, 0, "Only support RGBW color now");
    if (maxNumLed > 0) animPos = (animPos + maxNumLed + step) % maxNumLed;

    for (auto& entry : ledsStates) updateVals(0, *entry.second);
    const Color colors[2] = {fg, bg};
    for (int i = 0; i < maxNumLed; ++i) {
        for (Color color : colors) {
            const auto found = ledsStates.find(color);
            if (found == ledsStates.end()) continue;
            std::vector<int>& vals = found->second->vals;
            if (static_cast<size_t>(i) >= vals.size()) continue;
            const int start = color == COLOR_WHITE ? (animPos + maxNumLed - whiteOffset) % maxNumLed : animPos;
            int end = start + animLen;
            if (end >= maxNumLed) end %= maxNumLed;
            const bool lit = start <= end ? (i >= start && i < end) : (i >= start || i < end);
            if (lit) vals[static_cast<size_t>(i)] = value;
        }
    }
    return update();
}

bool MulticolorLedFace::updateColorCodeLeds(ColorCode code, int value) {
    const std::pair<Color, uint8_t> channels[] = {
        {COLOR_RED, code.red}, {COLOR_GREEN, code.green}, {COLOR_BLUE, code.blue}};
    for (const auto& [color, level] : channels) {
        const auto found = ledsStates.find(color);
        if (found == ledsStates.end()) continue;  // not initialised: update() reports it
        if (!updateVals(scaleByLevel(value, level), *found->second)) return false;
    }
    return update();
}

bool MulticolorLedFace::updateAllLeds(Color color, int value) {
    const auto code = colorCodes.find(color);
    if (code != colorCodes.end()) return updateColorCodeLeds(code->second, value);
    bool matched = false;
    for (auto& entry : ledsStates) {
        const bool match = entry.first == color;
        matched = matched || match;
        if (!updateVals(match ? value : 0, *entry.second)) return false;
    }
    if (!matched && color > COLOR_BLACK) ORVA_LOG(kLogWarning, 0, "Not supported color %d", static_cast<int>(color));
    return update();
}

bool MulticolorLedFace::update() {
    const LedsState* channels[3] = {};
    for (int k = 0; k < 3; ++k) {
        const auto found = ledsStates.find(rgbOrder[k]);
        if (found == ledsStates.end()) {
            ORVA_LOG(kLogError, 0, "Can't find RGB color, is rgbOrder set correct?");
            return false;
        }
        channels[k] = found->second.get();
    }
    const auto whiteFound = ledsStates.find(COLOR_WHITE);
    const LedsState* white = whiteFound == ledsStates.end() ? nullptr : whiteFound->second.get();

    char text[128];
    int triple[3] = {0, 0, 0};
    for (int j = 0; j < maxIteration && maxNumLed > 0; ++j) {
        // White LEDs, three to an indicator device; the groups of three start at multiples of three.
        const int w = ((animPos / 3) * 3 + j) % maxNumLed;
        triple[w % 3] = valueAt(white, isRgbGroup ? 0 : w);
        if (w % 3 == 2 || w == maxNumLed - 1) {
            const size_t device = static_cast<size_t>(w / 3);
            snprintf(text, sizeof(text), "%d %d %d", triple[0], triple[1], triple[2]);
            triple[0] = triple[1] = triple[2] = 0;
            if (device < wledFds.size() && !attribute::writeText(ORVA_HERE, wledFds[device], text)) return false;
        }

        // Colour LEDs, one per status device (on a grouped ring one per group).
        const int c = (animPos + j) % maxNumLed;
        if (isRgbGroup && c >= maxNumRgbGroup) continue;
        const int led = isRgbGroup ? 0 : c;
        snprintf(text, sizeof(text), "%d %d %d", valueAt(channels[0], led), valueAt(channels[1], led),
                 valueAt(channels[2], led));
        const size_t device = static_cast<size_t>(c);
        if (device < rgbFds.size() && !attribute::writeText(ORVA_HERE, rgbFds[device], text)) return false;
    }
    return true;
}
