// A simulated board built from its profile in boards/: the device-information map of the host
// platform and a sandbox holding the board's attribute files.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orva/sim/Sandbox.h"

namespace orva::sim {

struct BoardProfile {
    struct InfoKey {
        std::string key;
        std::string type;  // u64, u32, i32, i8, bool, str
        std::string value;
    };
    struct Attribute {
        std::string path;
        unsigned mode = 0644;
        std::string value;
    };
    uint32_t sysid = 0;
    std::string name;
    std::vector<InfoKey> info;
    std::vector<Attribute> attributes;
    std::vector<std::string> directories;
    // System V segments another process keeps on the board: zero-filled, then the listed bytes set.
    struct Segment {
        int key = 0;
        size_t size = 0;
        std::vector<std::pair<size_t, uint8_t>> bytes;  // offset, value
    };
    std::vector<Segment> segments;
    // PHY registers of network interfaces, served over MDIO (orva/sim/Mdio.h).
    struct PhyRegister {
        std::string interface;
        unsigned reg = 0;
        uint16_t value = 0;
    };
    std::vector<PhyRegister> phyRegisters;

    std::string variant;  // "" for the board's main profile

    // Reads boards/<sysid>.board, or boards/<sysid>-<variant>.board for a hardware variant; throws
    // std::runtime_error with the line on a malformed file. A profile may start from another with
    // "include FILE" and drop an attribute of it with "noattr PATH"; a later "info" line for a key
    // replaces the earlier one.
    static BoardProfile load(uint32_t sysid, const std::string& variant = std::string());
    static BoardProfile parse(const std::string& text, const std::string& origin);
    static std::string directory();
    static std::string fileFor(uint32_t sysid, const std::string& variant = std::string());
    static std::vector<uint32_t> available();
    // The variant names of a board ("usb-only" for boards/a5a3-usb-only.board), sorted.
    static std::vector<std::string> variants(uint32_t sysid);

    // Sets device-information keys over the profile's, in order (orva-gpio --key KEY=VALUE): a key
    // of the profile keeps its type; a new one is bool for true/false, u64 for a whole number
    // (decimal or 0x hex), i32 for a negative one, str otherwise. Throws std::runtime_error for an
    // empty key or a value its type cannot hold. The profile stays the one of its file: a sysid
    // key changes what the process is told, not which board's files it gets.
    void applyKeys(const std::vector<std::pair<std::string, std::string>>& keys);
    static std::string inferredKeyType(const std::string& value);
};

class SimBoard {
public:
    // Replaces the device-information map with the board's keys and builds its sandbox.
    // sandboxDirectory: as Sandbox; reuse=true attaches to a directory built earlier (files kept).
    explicit SimBoard(uint32_t sysid, const std::string& sandboxDirectory = std::string(), bool reuse = false);
    explicit SimBoard(const BoardProfile& profile, const std::string& sandboxDirectory = std::string(),
                      bool reuse = false);
    ~SimBoard();

    const BoardProfile& profile() const { return profile_; }
    Sandbox& sandbox() { return *sandbox_; }

    // Shorthands for the sandbox.
    void attribute(const std::string& path, const std::string& value, unsigned mode = 0644);
    std::string value(const std::string& path) const { return sandbox_->value(path); }
    void advanceMs(uint64_t ms) { sandbox_->advanceMs(ms); }
    const std::vector<JournalEntry>& journal() const { return sandbox_->journal(); }

    // Fills the device-information map from a profile (the map is emptied first).
    static void fillCameraInfo(const BoardProfile& profile);

private:
    BoardProfile profile_;
    std::unique_ptr<Sandbox> sandbox_;
};

}  // namespace orva::sim
