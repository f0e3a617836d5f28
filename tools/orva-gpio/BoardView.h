// What `orva-gpio view` shows of a simulated board: the board's LEDs, light levels, buttons and
// detectors, each read from the attribute files of a sandbox directory that another process drives.
// The items come from the board profile (which files the board has); each kind of file has a small
// decoder that turns its text into cells, a level or a button state.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "BoardSurvey.h"
#include "LedFaces.h"
#include "orva/sim/SimBoard.h"

namespace orva::tool::view {

enum class ItemKind {
    Led,       // one cell (a single LED, or the channels of one RGB(W) LED)
    Ring,      // a row of cells in LED order
    Level,     // a light driven by level: IR channels, white light, PWM outputs
    Button,    // pressed while its input reads 0
    Detector,  // active while its input reads 0
    File,      // any other attribute: its name and text
};

struct Item {
    std::string name;                // "reset", "ring", "ir 0.pwm_bl", "leds/orva::av"
    ItemKind kind = ItemKind::File;
    std::vector<std::string> files;  // kernel paths it reads ("/sys/class/leds/x/brightness")
    // Buttons and detectors: the key that toggles the input, the input file ("" for the
    // shared-memory reset button), and the button's name for `orva-gpio button NAME`.
    char key = 0;
    std::string input;
    bool sharedMemory = false;
};

// The decoded state of an item.
struct Reading {
    std::vector<Cell> cells;  // Led, Ring
    int percent = -1;         // Level: 0..100 (-1 when unreadable)
    bool active = false;      // Button, Detector: pressed / detected
    std::string text;         // one-line state, as the plain-text view prints it
    std::string detail;       // Led: the text without the cell's letter, to print beside the cell
    bool operator==(const Reading& other) const { return text == other.text; }
    bool operator!=(const Reading& other) const { return !(*this == other); }
};

// Text of an attribute by kernel path; "" with exists=false when the sandbox has no such file.
using FileReader = std::function<std::string(const std::string& path, bool& exists)>;

// Every item of a board, in display order: LEDs and rings, levels, buttons and detectors, other
// files. Files of the profile that no decoder claims become File items.
std::vector<Item> itemsFor(const orva::sim::BoardProfile& profile);

// Names the items after what the library's faces use them for, from a survey of the board: the
// infrared light's channels ("ir 1", "ir 2", "accessory ir", "white light"), LEDs after their face
// ("green G"), and a ring's nodes in the order the face drives them.
void applySurvey(std::vector<Item>& items, const BoardSurveyResult& survey);

Reading readItem(const Item& item, const FileReader& read);

// "sysid 0xA598\nvariant usb-only\n" in DIR/board -> sysid and variant; false when the sandbox
// has no readable marker.
bool readBoardMarker(const std::string& sandboxDirectory, uint32_t& sysid, std::string& variant);

// Sets a button or detector's simulated input on the board (0 = pressed/active) the way
// `orva-gpio button NAME press|release` does; false with a reason when the board cannot.
bool setInput(orva::sim::SimBoard& board, const Item& item, bool active, std::string& what);

// "RGB" -> one letter per cell as ringText writes it for a non-terminal.
std::string cellLetters(const std::vector<Cell>& cells);

}  // namespace orva::tool::view
