// The status ring on the multicolour LED class. After each step the ring is shown as one cell per
// LED, read back from the simulated class devices: each status device's "multi_intensity" in the
// channel order its "multi_index" names, and the white LEDs three to an indicator device.
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "LedFaces.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif
#include "orva_gpio_utils/MulticolorLedFace.h"

namespace orva::tool {
namespace {

#if ORVA_TOOL_SIMULATOR
const std::string kClassDir = "/sys/class/leds/multicolor:";

// How the LEDs of each board's ring are wired: ledsPerStatus colour LEDs share one status device
// (a group), white LEDs sit three to an indicator device.
struct RingWiring {
    uint32_t sysid;
    int leds;
    int ledsPerStatus;
};
constexpr RingWiring kRings[] = {
    {0xA5B0, 10, 1},
    {0xA5A2, 12, 1},
    {0xEC70, 36, 9},
};

std::string devicePath(const char* cls, int index, const char* file) {
    return kClassDir + cls + (index == 0 ? std::string() : "_" + std::to_string(index)) + "/" + file;
}

// The words of an attribute's text ("green red blue", "0 255 0"); empty when the file is absent.
std::vector<std::string> words(orva::sim::SimBoard& board, const std::string& path) {
    std::vector<std::string> result;
    if (!board.sandbox().hasAttribute(path)) return result;
    std::istringstream text(board.value(path));
    for (std::string word; text >> word;) result.push_back(word);
    return result;
}

int number(const std::vector<std::string>& values, size_t index) {
    if (index >= values.size()) return 0;
    try {
        return std::stoi(values[index]);
    } catch (const std::exception&) {
        return 0;
    }
}

#endif

void showRing(BaseLed&, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    orva::sim::SimBoard& board = *context.board;
    const RingWiring* ring = nullptr;
    for (const RingWiring& row : kRings) {
        if (row.sysid == board.profile().sysid) ring = &row;
    }
    if (ring == nullptr) return;

    std::vector<Cell> cells(static_cast<size_t>(ring->leds), Cell{0, 0, 0, 0});
    for (int led = 0; led < ring->leds; ++led) {
        Cell& cell = cells[static_cast<size_t>(led)];
        const int status = led / ring->ledsPerStatus;
        const std::vector<std::string> channels = words(board, devicePath("status", status, "multi_index"));
        const std::vector<std::string> levels = words(board, devicePath("status", status, "multi_intensity"));
        for (size_t k = 0; k < channels.size(); ++k) {
            if (channels[k] == "red") cell.red = number(levels, k);
            if (channels[k] == "green") cell.green = number(levels, k);
            if (channels[k] == "blue") cell.blue = number(levels, k);
        }
        const std::vector<std::string> whites = words(board, devicePath("indicator", led / 3, "multi_intensity"));
        cell.white = number(whites, static_cast<size_t>(led % 3));
    }
    printRing(context, "ring", cells);
#else
    (void)context;
#endif
}

const FaceRegistration kMulticolor{
    {"multicolor", "status ring on the multicolour LED class (colour and white LEDs, running segment)",
     [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<MulticolorLedFace>(); }, showRing, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
