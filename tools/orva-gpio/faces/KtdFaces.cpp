// The status rings behind the KTD20xx LED drivers. After each step both rings are shown as one
// cell per LED, read back from the simulated driver nodes: a KTD2061-family pattern node holds
// three on/off digits (red green blue, or three white LEDs) lit at its chip's brightness; a
// KTD2052 LED node holds a level per channel.
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "LedFaces.h"
#if ORVA_TOOL_SIMULATOR
#include "orva/sim/SimBoard.h"
#endif
#include "orva_gpio_utils/Ktd2061LedFace.h"

namespace orva::tool {
namespace {

#if ORVA_TOOL_SIMULATOR
const std::string kRoot = "/sys/class/leds/ktd20";

// The nodes of each board's rings in LED order. White pattern nodes carry three LEDs each: channel
// bit 0 is the first, bit 2 the second, bit 1 the third.
struct KtdWiring {
    uint32_t sysid;
    std::vector<std::string> white;
    std::vector<std::string> colour;
};

std::vector<std::string> grid(const std::string& chip) {
    std::vector<std::string> names;
    for (const char row : {'A', 'B', 'C'}) {
        for (const char column : {'1', '2', '3', '4'}) names.push_back(chip + "/" + row + column);
    }
    return names;
}

std::vector<std::string> joined(const std::vector<std::string>& a, const std::vector<std::string>& b,
                                const std::vector<std::string>& c) {
    std::vector<std::string> all = a;
    all.insert(all.end(), b.begin(), b.end());
    all.insert(all.end(), c.begin(), c.end());
    return all;
}

const std::vector<KtdWiring>& wirings() {
    static const std::vector<std::string> ktd2052 = {"52/LED1", "52/LED2", "52/LED3", "52/LED4"};
    static const std::vector<KtdWiring> rows = {
        {0xA575, {"61/C1", "61/C2"}, {"61/A1", "61/A2", "61/A3", "61/A4", "61/B1"}},
        {0xA598, ktd2052,
         {"61/C2", "61/C1", "61/C4", "61/C3", "61/B4", "61/B3", "61/B2", "61/B1", "61/A4", "61/A3", "61/A2", "61/A1"}},
        {0xA5A4, ktd2052,
         {"61/C3", "61/C2", "61/C4", "61/C1", "61/B4", "61/B3", "61/B2", "61/B1", "61/A4", "61/A3", "61/A2", "61/A1"}},
        {0xA5A6, ktd2052, grid("61")},
        {0xEC70, grid("58"), joined(grid("61"), grid("59"), grid("60"))},
    };
    return rows;
}

std::string valueOf(orva::sim::SimBoard& board, const std::string& suffix) {
    const std::string path = kRoot + suffix;
    return board.sandbox().hasAttribute(path) ? board.value(path) : std::string();
}

// Device levels 0..99 shown on the cells' 0..255 scale.
int cellLevel(int level) { return level * 255 / 99; }

int chipBrightness(orva::sim::SimBoard& board, const std::string& node) {
    return atoi(valueOf(board, node.substr(0, node.find('/')) + "/brightness").c_str());
}

bool digit(const std::string& text, size_t index) { return index < text.size() && text[index] == '1'; }

#endif

void showRings(BaseLed&, Context& context) {
#if ORVA_TOOL_SIMULATOR
    if (context.board == nullptr) return;
    orva::sim::SimBoard& board = *context.board;
    const KtdWiring* wiring = nullptr;
    for (const KtdWiring& row : wirings()) {
        if (row.sysid == board.profile().sysid) wiring = &row;
    }
    if (wiring == nullptr) {
        fprintf(context.out, "  no KTD20xx ring on this board\n");
        return;
    }

    std::vector<Cell> white;
    for (const std::string& node : wiring->white) {
        const std::string text = valueOf(board, node);
        int levels[3] = {0, 0, 0};  // by channel bit
        if (node.compare(0, 3, "52/") == 0) {
            std::istringstream words(text);
            for (int& level : levels) words >> level;
        } else {
            const int level = chipBrightness(board, node);
            levels[0] = digit(text, 2) ? level : 0;
            levels[1] = digit(text, 1) ? level : 0;
            levels[2] = digit(text, 0) ? level : 0;
        }
        for (const int bit : {0, 2, 1}) white.push_back(Cell{0, 0, 0, cellLevel(levels[bit])});
    }
    std::vector<Cell> colour;
    for (const std::string& node : wiring->colour) {
        const std::string text = valueOf(board, node);
        const int level = cellLevel(chipBrightness(board, node));
        colour.push_back(Cell{digit(text, 0) ? level : 0, digit(text, 1) ? level : 0, digit(text, 2) ? level : 0, 0});
    }
    printRing(context, "white", white);
    printRing(context, "colour", colour);
#else
    (void)context;
#endif
}

const FaceRegistration kKtd{
    {"ktd", "status rings behind the KTD20xx LED drivers (white and colour LEDs, running segment)",
     [](Context&) -> std::unique_ptr<BaseLed> { return std::make_unique<Ktd2061LedFace>(); }, showRings, {}, nullptr}};

}  // namespace
}  // namespace orva::tool
