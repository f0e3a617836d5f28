// The LED faces orva-gpio drives. Each face registers itself from its own file in faces/, so the
// help text, the face list and the command runner all come from one table.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "orva_gpio_utils/BaseLed.h"

namespace orva::tool {

struct FaceRow {
    const char* name;                            // "front", "ktd", ...
    const char* what;                            // one line for the help text
    std::unique_ptr<BaseLed> (*make)(Context&);  // builds the face (may register program stand-ins first)
    // Optional (may be null): prints the face's state after each step (colour names the AV LED holds,
    // a ring as a row of cells, decoded microcontroller frames, a PHY register, ...).
    void (*show)(BaseLed& led, Context& context);
};

// A static object of this type in a face's file adds its row to the table.
struct FaceRegistration {
    explicit FaceRegistration(const FaceRow& row);
};

// Every registered face, sorted by name.
const std::vector<FaceRow>& faceRows();

// One LED of a ring or matrix: channel levels 0..255.
struct Cell {
    int red;
    int green;
    int blue;
    int white;
};

// One line "  LABEL  cells" in LED order: coloured blocks when the output is a terminal, otherwise
// one letter per LED (R G B Y C M for the colour mixes, W for white or all three, . for dark;
// lower case below half level).
void printRing(Context& context, const char* label, const std::vector<Cell>& cells);
std::string ringText(const std::vector<Cell>& cells, bool terminal);

// "red", "white_red" (or "white-red"), or a number; throws UsageError.
BaseLed::Color parseColor(const std::string& text);
const char* colorName(int color);

}  // namespace orva::tool
