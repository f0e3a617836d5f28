#include "LedFaces.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "Options.h"

namespace orva::tool {

namespace {

std::vector<FaceRow>& rows() {
    static std::vector<FaceRow> table;
    return table;
}

constexpr const char* kColorNames[] = {"none",  "black",   "red",       "green",       "blue",        "yellow",
                                       "amber", "cyan",    "magenta",   "white",       "white_red",   "white_green",
                                       "white_blue", "white_yellow", "white_cyan", "white_magenta"};

char letterOf(const Cell& cell) {
    const bool r = cell.red > 0, g = cell.green > 0, b = cell.blue > 0;
    char letter = '.';
    if (cell.white > 0 || (r && g && b)) {
        letter = 'W';
    } else if (r && g) {
        letter = 'Y';
    } else if (g && b) {
        letter = 'C';
    } else if (r && b) {
        letter = 'M';
    } else if (r) {
        letter = 'R';
    } else if (g) {
        letter = 'G';
    } else if (b) {
        letter = 'B';
    }
    const int level = std::max({cell.red, cell.green, cell.blue, cell.white});
    if (letter != '.' && level < 128) letter = static_cast<char>(letter - 'A' + 'a');
    return letter;
}

int clampLevel(int level) { return std::min(255, std::max(0, level)); }

}  // namespace

FaceRegistration::FaceRegistration(const FaceRow& row) {
    std::vector<FaceRow>& table = rows();
    const auto at = std::lower_bound(table.begin(), table.end(), row, [](const FaceRow& a, const FaceRow& b) {
        return std::string(a.name) < b.name;
    });
    table.insert(at, row);
}

const std::vector<FaceRow>& faceRows() { return rows(); }

std::string ringText(const std::vector<Cell>& cells, bool terminal) {
    std::string text;
    char buffer[64];
    for (const Cell& cell : cells) {
        if (!terminal) {
            text += letterOf(cell);
            continue;
        }
        // White adds to all three channels; a 24-bit background colour per LED.
        const int w = clampLevel(cell.white);
        snprintf(buffer, sizeof(buffer), "\x1b[48;2;%d;%d;%dm  \x1b[0m", clampLevel(cell.red + w),
                 clampLevel(cell.green + w), clampLevel(cell.blue + w));
        text += buffer;
    }
    return text;
}

void printRing(Context& context, const char* label, const std::vector<Cell>& cells) {
    fprintf(context.out, "  %-10s %s\n", label, ringText(cells, context.terminal).c_str());
}

BaseLed::Color parseColor(const std::string& text) {
    std::string name = text;
    std::replace(name.begin(), name.end(), '-', '_');
    for (int color = 0; color < static_cast<int>(sizeof(kColorNames) / sizeof(kColorNames[0])); ++color) {
        if (name == kColorNames[color]) return static_cast<BaseLed::Color>(color);
    }
    if (!text.empty() && (isdigit(static_cast<unsigned char>(text[0])) || text[0] == '-')) {
        return static_cast<BaseLed::Color>(parseInt(text, "a colour"));
    }
    throw UsageError{"not a colour: '" + text + "' (red, green, blue, white, white_red, ... or a number)"};
}

std::vector<std::string> colorNames() {
    std::vector<std::string> names;
    for (int color = BaseLed::COLOR_BLACK; color <= BaseLed::COLOR_WHITE_MAGENTA; ++color) names.push_back(kColorNames[color]);
    return names;
}

int parseSwitch(const std::string& word, const std::string& what) {
    if (word == "on") return 1;
    if (word == "off") return 0;
    throw UsageError{what + " takes on or off, not '" + word + "'"};
}

const char* colorName(int color) {
    if (color < 0 || color >= static_cast<int>(sizeof(kColorNames) / sizeof(kColorNames[0]))) return "?";
    return kColorNames[color];
}

}  // namespace orva::tool
