// Which LED faces and buttons a board has and what each of them uses, found by running the library
// itself: every face and button of the library is built and initialised on the board, and on a
// simulated board exercised once (a value, a colour, the animation settings, a button poll); the
// simulator's journal then says which attribute files, programs, MDIO registers and shared-memory
// segment each one touched, and whether each of them was there. Nothing here knows a board's
// files in advance.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orva::sim {
struct BoardProfile;
}

namespace orva::tool {

// One thing a face or button used.
struct SurveyResource {
    enum class Kind {
        Attribute,     // a kernel attribute file: "/sys/..." or a "/proc/gpio/..." entry
        Program,       // an external program the library ran ("/usr/bin/uartcli")
        Mdio,          // a network interface's PHY over MDIO ("eth0")
        SharedMemory,  // a System V segment, named by its key ("0x162F")
    };
    Kind kind = Kind::Attribute;
    std::string path;  // Attribute: kernel path; Program: program path; Mdio: interface; SharedMemory: "0x162F"

    // Attribute: what the object did with it. Mdio: read/written = registers read/written;
    // opened = the PHY answered its address request. SharedMemory: opened = attached; read = looked
    // up; Program: opened = run at least once.
    bool opened = false;
    bool read = false;
    bool written = false;
    // Attribute: the file is on the board (in the sandbox when surveyed); an open that failed with
    // ENOENT means missing. Program: every run started. Mdio: the interface answered.
    // SharedMemory: the segment was found.
    bool exists = false;
    int error = 0;  // errno of the first call on it that failed (0: none did)

    // What it is to the face, for display: "brightness", "duty cycle", "colour fg", "anim density",
    // "level", "proc entry", "frames", "register 0x11", "segment", ...
    std::string role;
    // The colour or channel the path names, where it names one: "red", "green", "blue", "white",
    // "amber"; for the infrared light "ir 1" / "ir 2" (the face's first and second IR channel),
    // "white light", "accessory ir". Empty when the file serves every channel of the LED.
    std::string channel;
    // Ring faces (multicolour ring, KTD20xx rings): the position of this file's LED node among the
    // face's ring nodes, in the order the face opened them (0 = first). -1 for anything else. Files
    // of the same node (brightness, multi_intensity, ...) share the position.
    int ringPosition = -1;
    // Registers of an MDIO resource, in order of first access.
    std::vector<unsigned> registers;
    // Program: each run in words ("take control", "set colour 0x01 (red)", "exit 1"), oldest first.
    // Mdio: each access ("read reg 0x11 -> 0x0008"). Empty for the other kinds.
    std::vector<std::string> details;
};

// One LED face or button/detector of the library.
struct SurveyItem {
    enum class Kind { Led, Button };
    Kind kind = Kind::Led;
    std::string name;          // short name as the tool's commands use it: "front", "ir", "ktd", "reset", ...
    std::string className;     // the library class: "LedFace", "Ktd2061LedFace", "RingButton", ...
    std::string what;          // one line: "front light", "ring button", ...
    bool initialised = false;  // init() returned true
    // LED: exists() after init (a missing LED initialises fine but reports false). Button: exists()
    // after init; ResetButtonCase, which has no exists(), is present when its init succeeded.
    bool present = false;
    bool managedByMcu = false;  // LED: isManagedByMcu()
    // Present, initialised, and no error record while it was surveyed: the board has it and it works.
    bool usable = false;
    std::vector<SurveyResource> resources;  // in order of first use
    // Log records of level error (or worse) written while the item was surveyed, formatted.
    std::vector<std::string> errors;
};

struct BoardSurveyResult {
    uint32_t sysid = 0;
    std::string variant;    // "" for the board's main profile or real hardware
    std::string boardName;  // the profile's name line; "" on real hardware
    bool simulated = false;
    // On real hardware: items were only built and initialised (nothing written beyond what init
    // writes) and no resources are known.
    std::vector<SurveyItem> items;  // LEDs first, then buttons, each in name order
};

// Every face and button the survey knows, as (name, class) pairs in survey order.
std::vector<std::pair<std::string, std::string>> surveyItemNames();

// Builds every face and button (survey order) and asks each whether it is there (exists()), with
// the device information as it is now; nothing is initialised. ResetButtonCase, which picks its
// button at init, answers true. UartcliLedFace's constructor runs the microcontroller tool: on a
// simulated board register its stand-in first.
std::vector<bool> surveyPresence();

// Whether this build has the simulator (the survey of a simulated board, with resources).
bool surveyHasSimulator();

// Builds the board from its profile in a fresh temporary sandbox (device information replaced)
// and surveys it. The library keeps some state per process (descriptors kept open, once-only
// set-up): survey one board per process. Throws std::runtime_error when the build has no simulator; a missing profile
// throws as BoardProfile::load does. Each item is surveyed on a board fresh from its profile:
// what one face wrote cannot change what the next one sees.
BoardSurveyResult surveySimulatedBoard(const orva::sim::BoardProfile& profile);

// Surveys the board this process runs on, with the device information as the platform has it:
// every face and button is built and initialised on the real files, nothing else.
BoardSurveyResult surveyThisBoard();

// The survey as a readable table: per item a header line (name, class, present or not) and one line
// per resource with "exists"/"missing".
std::string surveyText(const BoardSurveyResult& survey);
// One JSON object per item, one per line (no trailing comma, no enclosing array).
std::string surveyJsonLines(const BoardSurveyResult& survey);

}  // namespace orva::tool
