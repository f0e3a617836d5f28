// Shared by the KTD20xx ring tests: the boards' node lists, a face whose process-wide state a test
// can see, child processes for that state, and readable views of the journal and the ring.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "orva/host_platform.h"
#include "orva/platform.h"
#include "orva_gpio_utils/Ktd2061LedFace.h"

namespace orva::test::ktd {

const std::string kSource = "src/Ktd2061LedFace";
const std::string kRoot = "/sys/class/leds/ktd20";

inline std::string node(const std::string& suffix) { return kRoot + suffix; }

// The face with its process-wide node table, last value and channel states visible.
class ProbedKtd : public Ktd2061LedFace {
public:
    using Ktd2061LedFace::ledsStates;
    using Ktd2061LedFace::sysfsConfig;
    static int& last() { return lastValue; }
};

// The node table and the last value are process-wide: every case runs in a child process, so that
// no case sees what another left behind. Expectation failures in the child are printed as usual and
// make it exit with 1, which fails the case here.
inline void inFreshProcess(const std::function<void()>& body) {
    fflush(stdout);
    fflush(stderr);
    const pid_t child = fork();
    ASSERT_NE(child, -1) << strerror(errno);
    if (child == 0) {
        // Records the case does not capture (the node dump at init) stay off the output.
        orva::host::setLogEcho(false);
        body();
        fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child process failed (see above), status "
                                                               << status;
}

// Node suffixes of a board, in LED order (pattern node i is LED i of its module).
struct Board {
    uint32_t sysid;
    std::vector<std::string> wledBrightness;
    std::vector<std::string> wledPattern;
    std::vector<std::string> wledMode;
    std::vector<std::string> rgbBrightness;
    std::vector<std::string> rgbPattern;
};

inline std::vector<std::string> chipGrid(const std::string& chip) {
    std::vector<std::string> names;
    for (const char row : {'A', 'B', 'C'}) {
        for (const char column : {'1', '2', '3', '4'}) names.push_back(chip + "/" + row + column);
    }
    return names;
}

inline std::vector<std::string> concat(std::vector<std::vector<std::string>> lists) {
    std::vector<std::string> all;
    for (const auto& list : lists) all.insert(all.end(), list.begin(), list.end());
    return all;
}

const std::vector<std::string> k52Leds = {"52/LED1", "52/LED2", "52/LED3", "52/LED4"};

const Board kA575 = {0xA575, {"61/brightness"}, {"61/C1", "61/C2"}, {}, {"61/brightness"},
                     {"61/A1", "61/A2", "61/A3", "61/A4", "61/B1"}};
const Board kA598 = {0xA598, {"52/brightness"}, k52Leds, {}, {"61/brightness"},
                     {"61/C2", "61/C1", "61/C4", "61/C3", "61/B4", "61/B3", "61/B2", "61/B1", "61/A4", "61/A3",
                      "61/A2", "61/A1"}};
const Board kA5A4 = {0xA5A4, {"52/brightness"}, k52Leds, {"52/mode"}, {"61/brightness"},
                     {"61/C3", "61/C2", "61/C4", "61/C1", "61/B4", "61/B3", "61/B2", "61/B1", "61/A4", "61/A3",
                      "61/A2", "61/A1"}};
const Board kA5A6 = {0xA5A6, {"52/brightness"}, k52Leds, {"52/mode"}, {"61/brightness"}, chipGrid("61")};
const Board kEc70 = {0xEC70, {"58/brightness"}, chipGrid("58"), {}, {"61/brightness", "59/brightness", "60/brightness"},
                     concat({chipGrid("61"), chipGrid("59"), chipGrid("60")})};
const Board kBoards[] = {kA575, kA598, kA5A4, kA5A6, kEc70};

// Every node of a board in the order the face opens them.
inline std::vector<std::string> openOrder(const Board& board) {
    return concat({board.wledBrightness, board.wledPattern, board.wledMode, board.rgbBrightness, board.rgbPattern});
}

// Bytes as text with NUL shown as \0 (and a backslash as \\), so that expectations state every byte.
inline std::string escaped(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        if (c == '\0') {
            text += "\\0";
        } else if (c == '\\') {
            text += "\\\\";
        } else {
            text += c;
        }
    }
    return text;
}

// Writes of the journal as "suffix bytes", e.g. "61/C2 100\0".
inline std::vector<std::string> writes(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) {
        if (entry.call != Call::Write) continue;
        const std::string suffix =
            entry.path.compare(0, kRoot.size(), kRoot) == 0 ? entry.path.substr(kRoot.size()) : entry.path;
        lines.push_back(suffix + " " + escaped(entry.bytes));
    }
    return lines;
}

inline void setInfo(const char* key, unsigned long long value) { orva::variant::CameraInfo::instance()[key] = value; }

// Heap allocations the simulator itself spends on these writes (its journal), measured by making
// them again: what an operation allocates beyond this is the library's own.
inline size_t simulatorCost(const std::vector<JournalEntry>& made) {
    const std::vector<JournalEntry> replay = made;
    AllocationScope scope;
    for (const JournalEntry& entry : replay) {
        if (entry.call != Call::Write) {
            ADD_FAILURE() << "not a write: " << orva::sim::callName(entry.call) << " " << entry.path;
            continue;
        }
        EXPECT_EQ(::pwrite64(entry.fd, entry.bytes.data(), entry.bytes.size(), entry.offset), entry.result);
    }
    return scope.count();
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

// The colour ring as the nodes hold it, one letter per LED in LED order: R G B, Y (red+green),
// C (green+blue), M (red+blue), W (all three), '.' dark. A KTD2061-family node holds three digits,
// red green blue.
inline std::string colourRing(orva::sim::SimBoard& board, const Board& layout) {
    std::string ring;
    for (const std::string& suffix : layout.rgbPattern) {
        const std::string text = board.value(node(suffix));
        if (text.size() != 3) return "bad text '" + text + "' in " + suffix;
        const int bits = (text[0] == '1' ? 4 : 0) | (text[1] == '1' ? 2 : 0) | (text[2] == '1' ? 1 : 0);
        ring += ".BGCRMYW"[bits];
    }
    return ring;
}

// Channel levels of one white node: KTD2052 nodes hold three levels ("40 0 40 "), the others three
// on/off digits. The three LEDs of node i are wired to bit 0 (LED 3i), bit 2 (LED 3i+1) and bit 1
// (LED 3i+2); digits are written most significant bit first, levels bit 0 first.
inline std::vector<std::string> whiteNodeLeds(const std::string& text, bool ktd2052) {
    if (ktd2052) {
        std::vector<std::string> level;
        std::string word;
        for (const char c : text + " ") {
            if (c != ' ') {
                word += c;
            } else if (!word.empty()) {
                level.push_back(word);
                word.clear();
            }
        }
        if (level.size() != 3) return {"bad", "bad", "bad"};
        return {level[0], level[2], level[1]};
    }
    if (text.size() != 3) return {"bad", "bad", "bad"};
    return {text.substr(2, 1), text.substr(0, 1), text.substr(1, 1)};
}

// The white ring, one letter per LED in LED order: 'w' lit, '.' dark.
inline std::string whiteRing(orva::sim::SimBoard& board, const Board& layout) {
    std::string ring;
    for (const std::string& suffix : layout.wledPattern) {
        const bool ktd2052 = suffix.compare(0, 2, "52") == 0;
        for (const std::string& level : whiteNodeLeds(board.value(node(suffix)), ktd2052)) {
            if (level == "bad") return "bad text in " + suffix;
            ring += level == "0" ? '.' : 'w';
        }
    }
    return ring;
}

}  // namespace orva::test::ktd
