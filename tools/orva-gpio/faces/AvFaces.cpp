// The AV colour LED with its single-colour channels, and the RGB LED on the AV LED class device.
// After each step: the words the AV LED's files hold and, for the AV colour LED, each channel
// file's value.
#include <cstdio>
#include <memory>
#include <string>

#include "LedFaces.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif
#include "orva_gpio_utils/CompoundLedFace.h"
#include "orva_gpio_utils/RgbLedFace.h"

namespace orva::tool {
namespace {

constexpr char kAvDirectory[] = "/sys/class/leds/orva::av/";

// The AV colour LED with its channel descriptors in sight, so that each can be named by its file.
class ShownCompoundLedFace : public CompoundLedFace {
public:
    using CompoundLedFace::channelFds;
    using CompoundLedFace::hasAvLed;
};

#if ORVA_TOOL_SIMULATOR
// The value an attribute holds, or "(absent)".
std::string attributeValue(orva::sim::SimBoard& board, const std::string& path) {
    if (!board.sandbox().hasAttribute(path)) return "(absent)";
    return board.value(path);
}

// "  AV LED: brightness 1, color_fg red, color_bg black", then the animation files where asked.
void printAvLed(Context& context, bool animation) {
    orva::sim::SimBoard& board = *context.board;
    const std::string directory = kAvDirectory;
    if (!board.sandbox().hasAttribute(directory + "brightness")) {
        fprintf(context.out, "  AV LED: none on this board\n");
        return;
    }
    fprintf(context.out, "  AV LED: brightness %s, color_fg %s, color_bg %s\n",
            attributeValue(board, directory + "brightness").c_str(), attributeValue(board, directory + "color_fg").c_str(),
            attributeValue(board, directory + "color_bg").c_str());
    if (!animation) return;
    fprintf(context.out, "  AV LED animation: anim_color_fg %s, anim_color_bg %s, anim_density %s, anim_trigger %s\n",
            attributeValue(board, directory + "anim_color_fg").c_str(),
            attributeValue(board, directory + "anim_color_bg").c_str(),
            attributeValue(board, directory + "anim_density").c_str(),
            attributeValue(board, directory + "anim_trigger").c_str());
}

// The file a descriptor was opened on, from the journal.
std::string pathOf(orva::sim::SimBoard& board, int fd) {
    std::string path;
    for (const orva::sim::JournalEntry& entry : board.journal()) {
        if (entry.call == orva::sim::Call::Open && entry.result == fd) path = entry.path;
    }
    return path;
}

#endif

void showAv(BaseLed& led, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    auto& face = static_cast<ShownCompoundLedFace&>(led);
    if (face.hasAvLed) printAvLed(context, false);
    if (face.channelFds.empty() && !face.hasAvLed) {
        fprintf(context.out, "  no AV LED and no colour channel on this board\n");
        return;
    }
    for (const auto& [color, fd] : face.channelFds) {
        const std::string path = pathOf(*context.board, fd);
        fprintf(context.out, "  channel %-5s %s holds %s\n", colorName(color), path.c_str(),
                path.empty() ? "(not open)" : attributeValue(*context.board, path).c_str());
    }
#else
    (void)led;
    (void)context;
#endif
}

void showRgb(BaseLed& led, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    printAvLed(context, led.isAnimSupported());
#else
    (void)led;
    (void)context;
#endif
}

const FaceRegistration kAv{
    {"av", "AV colour LED: AV LED class device and single-colour channels (PWM, backlight, KTD), 0..99",
     [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<ShownCompoundLedFace>(); }, showAv, {},
     "isMark7sWithAP6203@0xA595"}};

const FaceRegistration kRgb{
    {"rgb", "RGB LED on the AV LED class device: on/off, colours by name, driver animations on 0xA563 and 0xEC70",
     [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<RgbLedFace>(); }, showRgb, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
