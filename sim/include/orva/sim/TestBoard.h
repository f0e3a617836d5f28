// A simulated board for the unit tests of a firmware process of one's own (CMake target orva::sim,
// pkg-config orva_sim). One TestBoard per process at a time, made before the objects under test:
//
//     orva::sim::TestBoard board(0xA575);       // the board's profile: files, device information
//     RingLight light;                          // the code under test, as it runs on the camera
//     light.init();
//     board.press("ring");                      // the doorbell's ring button goes down
//     light.poll();
//     EXPECT_EQ(board.writes("/sys/class/leds/torch1/brightness"), std::vector<std::string>{"15"});
//
// While it lives, every "/sys" and "/proc/gpio" file the process opens is the board's, every call
// on them is in journal(), time is virtual (sleeps return at once and advance the clock; advanceMs
// moves it), faults can be injected per file and call, the programs the library starts are
// stand-ins that succeed, and the library's log records are collected instead of printed.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "orva/host_platform.h"
#include "orva/sim/Programs.h"
#include "orva/sim/Sandbox.h"
#include "orva/sim/SimBoard.h"
#include "orva/sim/Uartcli.h"

namespace orva::sim {

class TestBoard {
public:
    using Keys = std::vector<std::pair<std::string, std::string>>;

    // The board of sysid (and variant), its device information with keys over it ({"hwrev", "3"}),
    // in a temporary sandbox, or in sandboxDirectory (kept) when one is given.
    explicit TestBoard(uint32_t sysid, const std::string& variant = std::string(), const Keys& keys = Keys(),
                       const std::string& sandboxDirectory = std::string())
        : board_(profileOf(sysid, variant, keys), sandboxDirectory) {
        registerUartcli(0);
        registerProgram(kFactoryTool, 0);
        orva::host::setLogEcho(false);
        orva::host::setLogSink([this](const orva::host::LogRecord& record) { log_.push_back(record); });
    }
    ~TestBoard() {
        orva::host::setLogSink(nullptr);
        orva::host::setLogEcho(true);
    }
    TestBoard(const TestBoard&) = delete;
    TestBoard& operator=(const TestBoard&) = delete;

    SimBoard& board() { return board_; }
    Sandbox& sandbox() { return board_.sandbox(); }
    const BoardProfile& profile() const { return board_.profile(); }

    // Attribute files by kernel path: the value the file holds now (without the newline the
    // kernel adds), and a value as the hardware would change it.
    std::string value(const std::string& path) const { return board_.value(path); }
    void setValue(const std::string& path, const std::string& value) { board_.sandbox().setValue(path, value); }

    // Buttons and detectors by name ("reset", "ring", "enclosure", "dc"): the board's
    // "/proc/gpio" input reads 0 while pressed, 1 while released. Throws std::invalid_argument for
    // an unknown name or an input the board does not have.
    static std::string inputPath(const std::string& button) {
        if (button == "reset") return "/proc/gpio/reset_btn";
        if (button == "ring") return "/proc/gpio/ring_btn";
        if (button == "enclosure") return "/proc/gpio/enclosure_det";
        if (button == "dc") return "/proc/gpio/dcpowered";
        throw std::invalid_argument("orva-sim: no button '" + button + "' (reset, ring, enclosure, dc)");
    }
    void press(const std::string& button) { setInput(button, "0"); }
    void release(const std::string& button) { setInput(button, "1"); }

    // The virtual clock (CLOCK_MONOTONIC, the platform's nowMs): starts at 1000 ms.
    void advanceMs(uint64_t ms) { board_.advanceMs(ms); }
    uint64_t nowMs() const { return 1000u + board_.sandbox().nowUs() / 1000u; }

    // Every call on the board's files, oldest first; those on one path; the bytes of each write
    // to path that succeeded, as the process handed them in.
    const std::vector<JournalEntry>& journal() const { return board_.journal(); }
    std::vector<JournalEntry> journal(const std::string& path) const { return board_.sandbox().journal(path); }
    std::vector<std::string> writes(const std::string& path) const {
        std::vector<std::string> bytes;
        for (const JournalEntry& entry : journal(path)) {
            if (entry.call == Call::Write && entry.result >= 0) bytes.push_back(entry.bytes);
        }
        return bytes;
    }
    void clearJournal() { board_.sandbox().clearJournal(); }

    // The next `times` calls of that kind on path fail with error (EIO, EINTR, ...).
    void failNext(const std::string& path, Call call, int error, int times = 1) {
        board_.sandbox().failCalls(path, call, error, times);
    }

    // The library's log records since the board was made (or since clearLog).
    const std::vector<orva::host::LogRecord>& log() const { return log_; }
    void clearLog() { log_.clear(); }

private:
    // The image processor's factory tool, which one board's early revisions switch the IR light with.
    static constexpr const char* kFactoryTool = "/bin/orva_isp_fac_cmd";

    static BoardProfile profileOf(uint32_t sysid, const std::string& variant, const Keys& keys) {
        BoardProfile profile = BoardProfile::load(sysid, variant);
        profile.applyKeys(keys);
        return profile;
    }

    void setInput(const std::string& button, const char* level) {
        const std::string path = inputPath(button);
        if (!board_.sandbox().hasAttribute(path)) {
            throw std::invalid_argument("orva-sim: board has no " + button + " input (" + path + ")");
        }
        board_.sandbox().setValue(path, level);
    }

    // SimBoard hands out its sandbox from non-const members only.
    mutable SimBoard board_;
    std::vector<orva::host::LogRecord> log_;
};

}  // namespace orva::sim
