// The command groups of orva-gpio. Each takes the words after its group name, prints what it did
// and returns the exit status; bad input throws UsageError.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "Options.h"

namespace orva::sim {
class SimBoard;
}

namespace orva::tool {

struct Context {
    orva::sim::SimBoard* board = nullptr;  // null on real hardware
    FILE* out = stdout;
};

int runLedCommand(const std::vector<std::string>& words, Context& context);
// Reads and checks the words of a led command as runLedCommand does before it makes the face;
// throws UsageError for what runLedCommand refuses.
void checkLedCommand(const std::vector<std::string>& words);
// One line per LED face: "front   front light".
std::string ledFaceList();
// One line per step of the led command.
std::string ledVerbList();

// "ir [--hwrev N] [--sstar] STEP [then STEP ...]": the infrared light, white light and accessory IR.
int runIrCommand(const std::vector<std::string>& words, Context& context);

// "white STEP [then STEP ...]": the white LED through the infrared face (on/off, level) and the glow
// light (dimming) together.
int runWhiteCommand(const std::vector<std::string>& words, Context& context);

// "button NAME watch|press|release": events of one button or detector, or its simulated input.
int runButtonCommand(const std::vector<std::string>& words, Context& context);
// One line per button: "reset   reset button".
std::string buttonList();

}  // namespace orva::tool
