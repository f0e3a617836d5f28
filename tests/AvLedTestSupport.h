// Shared by the AV colour LED and RGB LED tests: the AV LED class files and a readable view of the
// journal in which every call shows its file, the exact bytes of a write (NUL as \0) and how a
// failed or short call ended.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <unistd.h>

#include "AllocationCounter.h"
#include "BoardFixture.h"

namespace orva::test::av {

const std::string kAvBrightness = "/sys/class/leds/orva::av/brightness";
const std::string kAvColorFg = "/sys/class/leds/orva::av/color_fg";
const std::string kAvColorBg = "/sys/class/leds/orva::av/color_bg";
const std::string kAvTrigger = "/sys/class/leds/orva::av/trigger";
const std::string kAnimDensity = "/sys/class/leds/orva::av/anim_density";
const std::string kAnimColorFg = "/sys/class/leds/orva::av/anim_color_fg";
const std::string kAnimColorBg = "/sys/class/leds/orva::av/anim_color_bg";
const std::string kAnimTrigger = "/sys/class/leds/orva::av/anim_trigger";

inline std::string pwm(int channel) { return "/sys/class/pwm/pwmchip0/pwm" + std::to_string(channel) + "/duty_cycle"; }

inline std::string escaped(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c == '\0') {
            text += "\\0";
        } else {
            text += c;
        }
    }
    return text;
}

// One journal entry as text: "open PATH", "write PATH 'BYTES'", "read PATH", "close PATH" ("close
// #0" for descriptor 0); " !ERRNO" when the call failed, " ->N" for a write that took fewer bytes
// than handed in or a read that returned N bytes, " @OFFSET" for a positional call away from 0.
inline std::string describe(const JournalEntry& entry) {
    std::string text = orva::sim::callName(entry.call);
    if (entry.call == Call::Close && entry.path.empty()) {
        text += " #" + std::to_string(entry.fd);
    } else {
        text += " " + entry.path;
    }
    if (entry.call == Call::Write) text += " '" + escaped(entry.bytes) + "'";
    if ((entry.call == Call::Write || entry.call == Call::Read) && entry.offset != 0) {
        text += " @" + std::to_string(entry.offset);
    }
    if (entry.result < 0) {
        text += " !" + std::to_string(entry.error);
    } else if (entry.call == Call::Write && static_cast<size_t>(entry.result) != entry.bytes.size()) {
        text += " ->" + std::to_string(entry.result);
    } else if (entry.call == Call::Read) {
        text += " ->" + std::to_string(entry.result);
    } else if (entry.call == Call::Open && entry.result == 0) {
        text += " ->0";
    }
    return text;
}

inline std::vector<std::string> described(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) lines.push_back(describe(entry));
    return lines;
}

// How the lines of described() read for the usual calls.
inline std::string opened(const std::string& path) { return "open " + path; }
inline std::string wrote(const std::string& path, const std::string& text) {
    return "write " + path + " '" + escaped(withNul(text)) + "'";
}
inline std::string closed(const std::string& path) { return "close " + path; }

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

// Heap allocations the simulator itself makes to serve and journal the reads and writes of a
// journal, measured by making the same calls directly on the same descriptors. Start both from a
// cleared journal, so that the journal grows the same way: the library's own cost is what a call
// costs beyond this.
inline size_t simulatorCost(const std::vector<JournalEntry>& made) {
    AllocationScope scope;
    char buffer[64];
    for (const JournalEntry& entry : made) {
        if (entry.call == Call::Write) {
            EXPECT_EQ(::pwrite64(entry.fd, entry.bytes.data(), entry.bytes.size(), entry.offset), entry.result);
        } else if (entry.call == Call::Read) {
            EXPECT_EQ(::pread64(entry.fd, buffer, entry.count < sizeof(buffer) ? entry.count : sizeof(buffer), entry.offset),
                      entry.result);
        } else {
            ADD_FAILURE() << "not a read or write: " << describe(entry);
        }
    }
    return scope.count();
}

// What the host logger prints for a lookup fault, then the crash.
inline std::string fatalPattern(const std::string& key, const std::string& text) {
    return "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:" + key + ":[0-9]+: " + text +
           "\n(.|\n)*forceCrash called";
}

}  // namespace orva::test::av
