// The LED faces orva-gpio drives. Each face registers itself from its own file in faces/, so the
// help text, the face list and the command runner all come from one table.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "orva_gpio_utils/BaseLed.h"

namespace orva::tool {

// What a step did, for its result line: `detail` replaces "ok"/"FAILED" when set ("device value
// 39"); `numbers` go into the --json result as they are.
struct StepOutcome {
    std::string detail;
    std::vector<std::pair<std::string, long long>> numbers;
};

// A verb of one face only (the IR light's write, path and white light, the glow light's range, ...).
struct FaceVerb {
    const char* word;
    int minValues;     // words after the verb
    int maxValues;
    const char* help;  // "write DEVICE [SECOND]  device value 0..99 ..."
    // Reads and checks the values before anything is written; throws UsageError.
    std::vector<int> (*check)(const std::vector<std::string>& values);
    // Runs the verb on the initialised face; false when the operation failed.
    bool (*run)(BaseLed& led, const std::vector<int>& values, Context& context, StepOutcome& outcome);
    const char* keys;  // device-information keys the verb reads beyond the face's (see FaceRow::keys)
};

struct FaceRow {
    const char* name;                            // "front", "ktd", ...
    const char* what;                            // one line for the help text
    std::unique_ptr<BaseLed> (*make)(Context&);  // builds the face (may register program stand-ins first)
    // Optional (may be null): prints the face's state after each step (colour names the AV LED holds,
    // a ring as a row of cells, decoded microcontroller frames, a PHY register, ...).
    void (*show)(BaseLed& led, Context& context);
    std::vector<FaceVerb> verbs;  // the face's own verbs, beside those every face has
    // Device-information keys the face reads besides sysid, space-separated; "KEY@0xSYSID": on
    // that board only. Checked on real hardware, where a missing key would stop the process.
    const char* keys;
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

// Checks for verbs: "on"/"off" as 1/0, a whole number within a range; throw UsageError.
int parseSwitch(const std::string& word, const std::string& what);

// One line "  LABEL  cells" in LED order: coloured blocks when the output is a terminal, otherwise
// one letter per LED (R G B Y C M for the colour mixes, W for white or all three, . for dark;
// lower case below half level).
void printRing(Context& context, const char* label, const std::vector<Cell>& cells);
std::string ringText(const std::vector<Cell>& cells, bool terminal);

// "red", "white_red" (or "white-red"), or a number; throws UsageError.
BaseLed::Color parseColor(const std::string& text);
const char* colorName(int color);
// The colour names parseColor takes, black..white_magenta.
std::vector<std::string> colorNames();

}  // namespace orva::tool
