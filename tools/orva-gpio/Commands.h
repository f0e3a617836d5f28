// What the led and button commands hand to the faces and inputs they drive.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Options.h"

namespace orva::sim {
class SimBoard;
}

namespace orva::tool {

class Session;

struct Context {
    orva::sim::SimBoard* board = nullptr;  // null on real hardware
    FILE* out = stdout;                    // where state lines go (Session::state captures them)
    bool terminal = false;                 // the output is a terminal (colour cells for rings)
    Session* session = nullptr;
    // A second face a step works through (the glow light switches the white LED through the infrared
    // face); released with the face, so that its descriptors close while the calls are shown.
    std::shared_ptr<void> companion;
};

// One line per LED face: "  front        front light".
std::string ledFaceList();
// One line per verb of the led command.
std::string ledVerbList();
// One line per button: "  reset        reset button".
std::string buttonList();

}  // namespace orva::tool
