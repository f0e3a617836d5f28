// Shared by the infrared-light tests: the board files, a face whose members a test can see and
// set, and readable views of the journal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "BoardFixture.h"
#include "orva/platform.h"
#include "orva_gpio_utils/LedIr.h"

namespace orva::test::ir {

const std::string kSource = "src/LedIr";
const std::string kBacklight0 = "/sys/class/backlight/0.pwm_bl/brightness";
const std::string kBusBacklight0 = "/sys/class/backlight/bogus_bus:pwm_bl@0/brightness";
const std::string kBusBacklight1 = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
const std::string kPwm0 = "/sys/class/pwm/pwmchip0/pwm0/duty_cycle";
const std::string kPwm1 = "/sys/class/pwm/pwmchip0/pwm1/duty_cycle";
const std::string kPwm2 = "/sys/class/pwm/pwmchip0/pwm2/duty_cycle";
const std::string kPwm9 = "/sys/class/pwm/pwmchip0/pwm9/duty_cycle";
const std::string kFactoryTool = "/bin/orva_isp_fac_cmd";
const std::vector<std::string> kFactoryToolArguments = {"06", "81", "01", "04", "b3", "02", "ff"};

// LedIr with its members visible; a derived class is also the way to set directPwm.
class ProbedLedIr : public LedIr {
public:
    using LedIr::accessoryIrFd;
    using LedIr::accessoryIrHandler;
    using LedIr::directPwm;
    using LedIr::fadeEnabled;
    using LedIr::fadeStep;
    using LedIr::irBrightness;
    using LedIr::lastPrimaryValue;
    using LedIr::lastSecondaryValue;
    using LedIr::maxValue;
    using LedIr::minValue;
    using LedIr::pathFd;
    using LedIr::primaryFd;
    using LedIr::secondaryFd;
    using LedIr::whiteLedFd;
    using LedIr::whiteLedHandler;
    using LedIr::whiteLedLevel;
};

// One write as it reached a file: which file, the exact bytes, and when (virtual µs).
struct TimedWrite {
    std::string path;
    std::string bytes;
    uint64_t timeUs;
};

inline bool operator==(const TimedWrite& a, const TimedWrite& b) {
    return a.path == b.path && a.bytes == b.bytes && a.timeUs == b.timeUs;
}

inline void PrintTo(const TimedWrite& w, std::ostream* os) {
    *os << "{" << w.path << " \"";
    for (const char c : w.bytes) {
        if (c == '\0') {
            *os << "\\0";
        } else {
            *os << c;
        }
    }
    *os << "\" @" << w.timeUs << "us}";
}

// The writes of the journal with their time measured from since.
inline std::vector<TimedWrite> timeline(const std::vector<JournalEntry>& journal, uint64_t since) {
    std::vector<TimedWrite> writes;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Write) writes.push_back(TimedWrite{entry.path, entry.bytes, entry.timeUs - since});
    }
    return writes;
}

// The bytes of every write to path, in order.
inline std::vector<std::string> writesTo(const std::vector<JournalEntry>& journal, const std::string& path) {
    std::vector<std::string> bytes;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Write && entry.path == path) bytes.push_back(entry.bytes);
    }
    return bytes;
}

// The journal's (call, path) pairs, for checking the order of opens, reads and closes.
inline std::vector<std::string> callsAndPaths(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) lines.push_back(std::string(orva::sim::callName(entry.call)) + " " + entry.path);
    return lines;
}

// The descriptor as the failure messages print it.
inline std::string hex(long long fd) {
    char text[32];
    snprintf(text, sizeof(text), "0x%llx", fd);
    return text;
}

// The descriptor the sandbox handed out for path (the last successful open).
inline int openedFd(const std::vector<JournalEntry>& journal, const std::string& path) {
    int fd = -1;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Open && entry.path == path && entry.result > 0) fd = static_cast<int>(entry.result);
    }
    return fd;
}

inline void setInfo(const char* key, unsigned long long value) { orva::variant::CameraInfo::instance()[key] = value; }
inline void setInfo(const char* key, signed char value) { orva::variant::CameraInfo::instance()[key] = value; }
inline void setInfo(const char* key, bool value) { orva::variant::CameraInfo::instance()[key] = value; }

}  // namespace orva::test::ir
