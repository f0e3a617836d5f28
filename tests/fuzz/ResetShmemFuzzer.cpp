// The shared-memory reset button of board 0xA564 reading the segment another process keeps.
// Input: a flags byte (bit 0: console mode; bit 1: the segment is made anew with the size of the
// next two bytes, little-endian, instead of the board's), then frames of segment bytes separated
// by '\n'; each frame is written at offset 0 (cut to the segment) and the button polled, with
// 60 ms of virtual time between polls.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "orva/sim/SharedMemory.h"
#include "orva/sim/SimBoard.h"
#include "orva_gpio_utils/ResetShmemButtonCase.h"

namespace {

using Observer = orva::fuzz::CheckingObserver;

const orva::sim::BoardProfile& profile() {
    static const orva::sim::BoardProfile loaded = orva::sim::BoardProfile::load(0xA564);
    return loaded;
}

// The board's own segment, as its profile describes it.
const orva::sim::BoardProfile::Segment& boardSegment() {
    for (const auto& segment : profile().segments) {
        if (segment.key == orva::sim::kResetButtonSegmentKey) return segment;
    }
    __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    orva::fuzz::quietLogging();
    const bool consoleMode = (data[0] & 1) != 0;
    const bool ownSize = (data[0] & 2) != 0;
    const size_t fuzzedSize = static_cast<size_t>(data[1]) | static_cast<size_t>(data[2]) << 8;
    const std::vector<std::string> frames = orva::fuzz::pieces(data + 3, size - 3);

    orva::sim::SimBoard& board = orva::fuzz::boardFor(profile());
    const int key = orva::sim::kResetButtonSegmentKey;
    const auto& original = boardSegment();
    // Every run starts from a segment of its own: the board's, or one of the fuzzed size.
    if (orva::sim::SharedMemory::exists(key)) orva::sim::SharedMemory::remove(key);
    const size_t segmentSize = ownSize ? (fuzzedSize == 0 ? 1 : fuzzedSize) : original.size;
    orva::sim::SharedMemory::create(key, segmentSize);
    for (const auto& [offset, value] : original.bytes) {
        if (offset < segmentSize) orva::sim::SharedMemory::setByte(key, offset, value);
    }

    ResetShmemButtonCase button(consoleMode);
    Observer observer;
    if (!button.init(&observer, 100)) return 0;
    for (const std::string& frame : frames) {
        if (!frame.empty()) orva::sim::SharedMemory::write(key, 0, frame.substr(0, segmentSize));
        (void)button.service();
        board.advanceMs(60);
        (void)button.service();
    }
    return 0;
}
