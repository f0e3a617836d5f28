// The board-profile parser: any text either gives a profile or is refused with
// std::runtime_error; nothing else may escape it.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "orva/sim/SimBoard.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const orva::sim::BoardProfile profile = orva::sim::BoardProfile::parse(text, "fuzz.board");
        volatile size_t parts = profile.info.size() + profile.attributes.size() + profile.directories.size() +
                                profile.segments.size() + profile.phyRegisters.size() + profile.name.size();
        (void)parts;
    } catch (const std::runtime_error&) {
    }
    return 0;
}
