// The status ring on the multicolour LED class through the simulator: which class devices each
// board opens, the exact text every "multi_intensity" gets, the running segment frame by frame in
// both directions, and every failing system call.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <set>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "BoardFixture.h"
#include "orva_gpio_utils/MulticolorLedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Color = BaseLed::Color;

namespace {

const std::string kSource = "src/MulticolorLedFace";
const std::string kClassDir = "/sys/class/leds/multicolor:";

std::string device(const char* cls, int index) {
    return kClassDir + cls + (index == 0 ? std::string() : "_" + std::to_string(index));
}
std::string statusIntensity(int i) { return device("status", i) + "/multi_intensity"; }
std::string statusBrightness(int i) { return device("status", i) + "/brightness"; }
std::string indicatorIntensity(int i) { return device("indicator", i) + "/multi_intensity"; }
std::string indicatorBrightness(int i) { return device("indicator", i) + "/brightness"; }

std::string hex(long long fd) {
    char text[32];
    snprintf(text, sizeof(text), "0x%llx", fd);
    return text;
}

// The face with its members visible.
class ProbedFace : public MulticolorLedFace {
public:
    using MulticolorLedFace::animLen;
    using MulticolorLedFace::animPos;
    using MulticolorLedFace::brightnessFds;
    using MulticolorLedFace::colorCodes;
    using MulticolorLedFace::currentValue;
    using MulticolorLedFace::isRgbGroup;
    using MulticolorLedFace::ledsStates;
    using MulticolorLedFace::maxIteration;
    using MulticolorLedFace::maxNumLed;
    using MulticolorLedFace::maxNumRgbGroup;
    using MulticolorLedFace::maxNumWledModule;
    using MulticolorLedFace::rgbFds;
    using MulticolorLedFace::rgbOrder;
    using MulticolorLedFace::step;
    using MulticolorLedFace::wledFds;
    using MulticolorLedFace::whiteOffset;
};

// Each write of the journal as "status_3=0 255 0": the device, then the bytes written. A write that
// does not end in exactly one NUL, or not at offset 0, shows it, so it cannot match.
std::vector<std::string> writes(const std::vector<orva::sim::JournalEntry>& journal) {
    std::vector<std::string> result;
    for (const auto& entry : calls(journal, Call::Write)) {
        std::string name = entry.path.rfind(kClassDir, 0) == 0 ? entry.path.substr(kClassDir.size()) : entry.path;
        const size_t slash = name.find('/');
        const std::string file = name.substr(slash + 1);
        name = name.substr(0, slash);
        if (file != "multi_intensity") name += "/" + file;
        std::string text = entry.bytes;
        if (!text.empty() && text.back() == '\0') {
            text.pop_back();
        } else {
            text += "<no NUL>";
        }
        if (text.find('\0') != std::string::npos) text += "<inner NUL>";
        if (entry.offset != 0) text += "<offset " + std::to_string(entry.offset) + ">";
        if (entry.result != static_cast<long long>(entry.bytes.size())) text += "<short>";
        result.push_back(name + "=" + text);
    }
    return result;
}

// What the ring's intensity files hold now.
std::vector<std::string> statusContents(const SimBoard& board, int devices) {
    std::vector<std::string> result;
    for (int i = 0; i < devices; ++i) result.push_back(board.value(statusIntensity(i)));
    return result;
}
std::vector<std::string> indicatorContents(const SimBoard& board, int devices) {
    std::vector<std::string> result;
    for (int i = 0; i < devices; ++i) result.push_back(board.value(indicatorIntensity(i)));
    return result;
}

// LEDs a segment of length leds starting at start covers, walking round a ring of n.
std::set<int> segment(int start, int length, int n) {
    std::set<int> leds;
    for (int k = 0; k < length; ++k) leds.insert(((start + k) % n + n) % n);
    return leds;
}

// The status texts of a green-red-blue ring whose green LEDs are lit, and the indicator texts of
// its lit white LEDs, at 255.
std::vector<std::string> grbStatus(int n, const std::set<int>& green, const std::set<int>& red) {
    std::vector<std::string> result;
    for (int i = 0; i < n; ++i) {
        result.push_back(std::string(green.count(i) ? "255" : "0") + " " + (red.count(i) ? "255" : "0") + " 0");
    }
    return result;
}
std::vector<std::string> whiteIndicators(int n, const std::set<int>& white, int devices) {
    std::vector<std::string> result;
    for (int d = 0; d < devices; ++d) {
        std::string text;
        for (int k = 0; k < 3; ++k) {
            const int led = 3 * d + k;
            text += std::string(k ? " " : "") + (led < n && white.count(led) ? "255" : "0");
        }
        result.push_back(text);
    }
    return result;
}

// Allocations the simulator alone spends on the writes of a journal, made again with the same bytes.
size_t simulatorCost(const std::vector<orva::sim::JournalEntry>& made) {
    AllocationScope scope;
    for (const auto& entry : made) {
        if (entry.call != Call::Write) {
            ADD_FAILURE() << "not a write: " << entry.path;
            continue;
        }
        EXPECT_EQ(::pwrite64(entry.fd, entry.bytes.data(), entry.bytes.size(), entry.offset), entry.result);
    }
    return scope.count();
}

Expected initFailed() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected openFailed(const std::string& path) {
    return Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}
Expected infoLine(int leds, int wled, int group, int groups, int iterations) {
    return Expected{kSource, "initGPIO", 6, 0,
                    "maxNumLed[" + std::to_string(leds) + "] maxNumWledModule[" + std::to_string(wled) +
                        "] isRgbGroup[" + std::to_string(group) + "] maxNumRgbGroup[" + std::to_string(groups) +
                        "] maxIteration[" + std::to_string(iterations) + "]"};
}

// The order update() writes a ten-LED ring in at position 0: each white triple right after its
// third LED (the fourth device after LED 9), each colour LED after the white LED of the same turn.
const std::vector<std::string> kTenLedOrder = {"status",   "status_1", "indicator", "status_2", "status_3",
                                               "status_4", "indicator_1", "status_5", "status_6", "status_7",
                                               "indicator_2", "status_8", "indicator_3", "status_9"};

// Every node of a ten-LED ring with one text for the colour LEDs, one for the first three white
// devices and one for the fourth, in the order written at position 0; at positions 1 and 2 the
// white triples still start at LED 0 but the colour LEDs start at the position.
std::vector<std::string> tenLedWrites(const std::string& statusText, const std::string& whiteText,
                                      const std::string& lastWhiteText, int position = 0) {
    std::vector<std::string> result;
    for (const std::string& name : kTenLedOrder) {
        const bool white = name.rfind("indicator", 0) == 0;
        std::string shown = name;
        if (!white && position != 0) {
            const int led = (name == "status" ? 0 : std::stoi(name.substr(7))) + position;
            shown = led % 10 == 0 ? "status" : "status_" + std::to_string(led % 10);
        }
        result.push_back(shown + "=" + (white ? (name == "indicator_3" ? lastWhiteText : whiteText) : statusText));
    }
    return result;
}

}  // namespace

// ---- initialisation ----

TEST(MulticolorLedFace, InitOpensBothDevicesOfEveryNumberAndSetsEveryBrightnessToFullScale) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));

    std::vector<std::string> expectedOpens;
    for (int i = 0; i < 10; ++i) {
        expectedOpens.insert(expectedOpens.end(), {statusIntensity(i), statusBrightness(i), indicatorIntensity(i),
                                                   indicatorBrightness(i)});
    }
    // Device 0 has no suffix, device 1 is "_1".
    EXPECT_EQ(expectedOpens[0], "/sys/class/leds/multicolor:status/multi_intensity");
    EXPECT_EQ(expectedOpens[4], "/sys/class/leds/multicolor:status_1/multi_intensity");
    const auto opens = calls(board.journal(), Call::Open);
    std::vector<std::string> openedPaths;
    for (const auto& open : opens) {
        openedPaths.push_back(open.path);
        EXPECT_EQ(open.flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC) << open.path;
        EXPECT_EQ(open.mode, 0666u) << open.path;
        EXPECT_GT(open.result, 0) << open.path;
    }
    EXPECT_THAT(openedPaths, ElementsAreArray(expectedOpens));

    // Only the brightness files are written, once each in the order opened, with full scale.
    std::vector<std::string> expectedWrites;
    for (int i = 0; i < 10; ++i) {
        expectedWrites.push_back(std::string(i ? "status_" + std::to_string(i) : "status") + "/brightness=255");
        expectedWrites.push_back(std::string(i ? "indicator_" + std::to_string(i) : "indicator") + "/brightness=255");
    }
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(expectedWrites));
    EXPECT_EQ(board.value(statusIntensity(0)), "0 0 0");  // the picture is left as it was
    EXPECT_EQ(board.journal().size(), 60u);               // no reads, no closes
    EXPECT_THAT(log.records(), ElementsAre(infoLine(10, 4, 0, 0, 10)));

    EXPECT_EQ(face.maxNumLed, 10);
    EXPECT_EQ(face.maxNumWledModule, 4);
    EXPECT_FALSE(face.isRgbGroup);
    EXPECT_EQ(face.maxNumRgbGroup, 0);
    EXPECT_EQ(face.maxIteration, 10);
    EXPECT_EQ(face.whiteOffset, 8);
    EXPECT_EQ(face.step, 1);
    EXPECT_THAT(face.rgbOrder, ElementsAre(BaseLed::COLOR_GREEN, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_EQ(face.rgbFds.size(), 10u);
    EXPECT_EQ(face.wledFds.size(), 10u);
    EXPECT_EQ(face.brightnessFds.size(), 20u);
    EXPECT_EQ(face.rgbFds[3], opens[12].result);
    EXPECT_EQ(face.brightnessFds[7], opens[15].result);
    EXPECT_EQ(face.wledFds[3], opens[14].result);
    ASSERT_EQ(face.ledsStates.size(), 4u);
    for (Color color : {BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE}) {
        ASSERT_EQ(face.ledsStates.count(color), 1u) << color;
        EXPECT_EQ(face.ledsStates.at(color)->vals, std::vector<int>(10, 0)) << color;
    }
}

TEST(MulticolorLedFace, GroupedRingOpensOneStatusDevicePerGroupAndAnIndicatorPerLed) {
    SimBoard board(0xEC70);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    std::vector<std::string> expectedOpens;
    for (int i = 0; i < 36; ++i) {
        if (i < 4) expectedOpens.insert(expectedOpens.end(), {statusIntensity(i), statusBrightness(i)});
        expectedOpens.insert(expectedOpens.end(), {indicatorIntensity(i), indicatorBrightness(i)});
    }
    std::vector<std::string> openedPaths;
    for (const auto& open : calls(board.journal(), Call::Open)) openedPaths.push_back(open.path);
    EXPECT_THAT(openedPaths, ElementsAreArray(expectedOpens));
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 40u);
    EXPECT_THAT(log.records(), ElementsAre(infoLine(36, 12, 1, 4, 36)));
    EXPECT_EQ(face.step, -1);
    EXPECT_EQ(face.whiteOffset, 0);
    EXPECT_THAT(face.rgbOrder, ElementsAre(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE));
    EXPECT_EQ(face.rgbFds.size(), 4u);
    EXPECT_EQ(face.wledFds.size(), 36u);
    EXPECT_EQ(face.brightnessFds.size(), 40u);
}

TEST(MulticolorLedFace, TwelveLedRingRunsBackwardsAndHasItsOwnAmber) {
    SimBoard board(0xA5A2);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    EXPECT_EQ(calls(board.journal(), Call::Open).size(), 48u);
    EXPECT_THAT(log.records(), ElementsAre(infoLine(12, 4, 0, 0, 12)));
    EXPECT_EQ(face.step, -1);
    EXPECT_EQ(face.whiteOffset, 8);
    const BaseLed::ColorCode amber = face.colorCodes.at(BaseLed::COLOR_AMBER);
    EXPECT_EQ(amber.red, 255);
    EXPECT_EQ(amber.green, 67);
    EXPECT_EQ(amber.blue, 0);
}

TEST(MulticolorLedFace, UnknownBoardFailsInitWithoutTouchingAFile) {
    SimBoard board(0xA533);
    LogCapture log;
    MulticolorLedFace face;
    EXPECT_TRUE(face.exists());
    EXPECT_FALSE(face.init("ring"));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "initGPIO", 3, 0, "Unknow sysid 42291 for multicolor leds"}, initFailed()));
    EXPECT_THAT(board.journal(), IsEmpty());
    log.clear();
    EXPECT_FALSE(face.setValue(50, false));
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
}

TEST(MulticolorLedFace, FixedAnswersAndNoAutoMode) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    EXPECT_TRUE(face.isAnimSupported());  // before init too
    ASSERT_TRUE(face.init("ring"));
    log.clear();
    board.sandbox().clearJournal();
    EXPECT_TRUE(face.exists());
    EXPECT_FALSE(face.isBinary());
    EXPECT_FALSE(face.hasAutoMode());
    EXPECT_FALSE(face.isManagedByMcu());
    EXPECT_EQ(face.rangeMin(), 0);
    EXPECT_EQ(face.rangeMax(), 255);
    EXPECT_TRUE(face.isAnimSupported());
    EXPECT_TRUE(face.service());
    int value = -7;
    EXPECT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 0);
    bool automatic = true;
    EXPECT_FALSE(face.writeAutoMode());
    EXPECT_FALSE(face.readAutoMode(automatic));
    EXPECT_TRUE(automatic);
    EXPECT_FALSE(face.setAutoMode());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"},
                                           Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- still pictures ----

TEST(MulticolorLedFace, ValueShowsTheForegroundOnEveryNodeInRingOrder) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    log.clear();
    board.sandbox().clearJournal();

    // Off: a new background shows at once, at full intensity (black: everything dark).
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 0", "0 0 0", "0 0 0")));

    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(100, false));  // device value 255; channels green red blue
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 255 0", "0 0 0", "0 0 0")));
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 255 0")));
    int value = 0;
    ASSERT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 255);

    // The same value again: nothing at all.
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(100, false));
    EXPECT_THAT(board.journal(), IsEmpty());

    // Half: (255 * ((100 * 50) / 100)) / 100 = 127, and every node is written again.
    ASSERT_TRUE(face.setValue(50, false));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 127 0", "0 0 0", "0 0 0")));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MulticolorLedFace, UpdateKeepsNoCopyAndWritesEveryNodeEachTime) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(face.setValue(60, false));  // 153
    for (int round = 0; round < 2; ++round) {
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.update());
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 153", "0 0 0", "0 0 0"))) << round;
    }
    // What another writer left in a file is overwritten by the next update.
    board.sandbox().setValue(statusIntensity(4), "9 9 9");
    ASSERT_TRUE(face.update());
    EXPECT_EQ(board.value(statusIntensity(4)), "0 0 153");
}

TEST(MulticolorLedFace, ValueZeroShowsTheBackgroundAtFullIntensity) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 0 255")));
    ASSERT_TRUE(face.setValue(20, false));  // (255 * 20) / 100 = 51
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 51 0")));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(0, false));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 255", "0 0 0", "0 0 0")));
}

TEST(MulticolorLedFace, WhiteLedsGoThreeToAnIndicatorDevice) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(100, false));
    // LEDs 0-2, 3-5 and 6-8 fill three devices; LED 9 is the first channel of the fourth.
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 0", "255 255 255", "255 0 0")));
    // The devices past the fourth carry no LED and are never written.
    EXPECT_EQ(board.value(indicatorIntensity(4)), "0 0 0");
    EXPECT_TRUE(board.sandbox().journal(indicatorIntensity(4)).empty());
}

TEST(MulticolorLedFace, ColourChangesRedrawOnlyTheSideThatShows) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(face.setValue(100, false));
    log.clear();
    board.sandbox().clearJournal();

    // Lit: a new background waits, the same pair does nothing, a new foreground shows.
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    EXPECT_THAT(board.journal(), IsEmpty());
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_GREEN));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 255", "0 0 0", "0 0 0")));

    // Off: a new foreground waits.
    ASSERT_TRUE(face.setValue(0, false));
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "255 0 0")));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_GREEN));
    EXPECT_THAT(board.journal(), IsEmpty());

    // Invalid colours change nothing.
    EXPECT_FALSE(face.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(face.setColor(BaseLed::COLOR_RED, static_cast<Color>(16)));
    EXPECT_FALSE(face.setColor(static_cast<Color>(INT_MIN), BaseLed::COLOR_RED));
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_EQ(face.readFgColor(), BaseLed::COLOR_WHITE);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MulticolorLedFace, AmberMixesRedAndGreenByTheBoardsCodeAndLeavesWhiteAsItWas) {
    {
        SimBoard board(0xA5B0);
        MulticolorLedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
        // Green 255 * 191 / 255 = 191, red 255, blue 0. The code has no white channel: white stays.
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("191 255 0", "255 255 255", "255 0 0")));
        ASSERT_TRUE(face.setValue(50, false));  // 127: green 127 * 191 / 255 = 95
        EXPECT_EQ(board.value(statusIntensity(9)), "95 127 0");
    }
    {
        SimBoard board(0xA5A2);
        MulticolorLedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        EXPECT_THAT(statusContents(board, 12), ElementsAreArray(std::vector<std::string>(12, "67 255 0")));
        EXPECT_THAT(indicatorContents(board, 4), ElementsAreArray(std::vector<std::string>(4, "0 0 0")));
    }
}

TEST(MulticolorLedFace, ColourWithoutChannelDarkensTheRingWithAWarning) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(face.setValue(100, false));
    log.clear();
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_BLACK));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 0", "0 0 0", "0 0 0")));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAllLeds", 4, 0, "Not supported color 5"}));
}

TEST(MulticolorLedFace, GroupedRingShowsEntryZeroOnEachGroup) {
    SimBoard board(0xEC70);
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    // Background white at 255: entry 0 of white stands for every white LED.
    EXPECT_THAT(indicatorContents(board, 12), ElementsAreArray(std::vector<std::string>(12, "255 255 255")));
    EXPECT_THAT(statusContents(board, 4), ElementsAreArray(std::vector<std::string>(4, "0 0 0")));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(100, false));
    // Channels red green blue; only entry 0 of each state is set.
    EXPECT_THAT(statusContents(board, 4), ElementsAreArray(std::vector<std::string>(4, "0 255 0")));
    EXPECT_THAT(indicatorContents(board, 12), ElementsAreArray(std::vector<std::string>(12, "0 0 0")));
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 16u);
    EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_GREEN)->vals[0], 255);
    EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_GREEN)->vals[1], 0);
    EXPECT_TRUE(calls(board.sandbox().journal(indicatorIntensity(12)), Call::Write).empty());
}

TEST(MulticolorLedFace, UpdateValsFillsTheRingOrEntryZeroOfAGroupAndRefusesAShortState) {
    SimBoard board(0xA5B0);
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    MulticolorLedFace::LedsState state{std::vector<int>(10, 3)};
    EXPECT_TRUE(face.updateVals(-9, state));
    EXPECT_EQ(state.vals, std::vector<int>(10, -9));
    MulticolorLedFace::LedsState shortState{std::vector<int>(9, 3)};
    EXPECT_FALSE(face.updateVals(1, shortState));
    EXPECT_EQ(shortState.vals, std::vector<int>(9, 3));
    face.isRgbGroup = true;
    MulticolorLedFace::LedsState group{std::vector<int>(10, 3)};
    EXPECT_TRUE(face.updateVals(7, group));
    EXPECT_EQ(group.vals, (std::vector<int>{7, 3, 3, 3, 3, 3, 3, 3, 3, 3}));
}

TEST(MulticolorLedFace, ExtremeValuesWrapInThirtyTwoBits) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(face.writeValue(INT_MAX));
    // INT_MAX * 255 wraps to 2^31 - 255, and / 255 gives 8421503; INT_MAX * 191 wraps to 2^31 - 191,
    // also 8421503.
    EXPECT_EQ(board.value(statusIntensity(0)), "8421503 8421503 0");
    ASSERT_TRUE(face.updateColorCodeLeds(BaseLed::ColorCode{0, 1, 2}, INT_MIN));
    // Red 0; green INT_MIN * 1 / 255 = -8421504; blue INT_MIN * 2 wraps to 0.
    EXPECT_EQ(board.value(statusIntensity(0)), "-8421504 0 0");
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(face.writeValue(INT_MIN));
    EXPECT_EQ(board.value(statusIntensity(9)), "0 -2147483648 0");
}

// ---- the running segment ----

TEST(MulticolorLedFace, FirstStepMovesTheSegmentOneLedAndWritesEveryNodeFromThePosition) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    log.clear();
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    ASSERT_TRUE(face.setAnimDensity(30));  // 30 / (100 / 9) = 30 / 11 = 2 LEDs
    EXPECT_EQ(face.animLen, 2);
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimEnable(true));  // draws nothing
    EXPECT_THAT(board.journal(), IsEmpty());

    ASSERT_TRUE(face.setAnimStep(0));  // differs from the initial -1
    EXPECT_EQ(face.animPos, 1);
    // Green on LEDs 1 and 2; white 8 behind, on LEDs (1 + 10 - 8) % 10 = 3 and 4: the first two
    // channels of the second indicator device. Colour LEDs are written from the position on, white
    // triples from the multiple of three at or below it.
    EXPECT_THAT(writes(board.journal()),
                ElementsAre("status_1=255 0 0", "status_2=255 0 0", "indicator=0 0 0", "status_3=0 0 0",
                            "status_4=0 0 0", "status_5=0 0 0", "indicator_1=255 255 0", "status_6=0 0 0",
                            "status_7=0 0 0", "status_8=0 0 0", "indicator_2=0 0 0", "status_9=0 0 0",
                            "indicator_3=0 0 0", "status=0 0 0"));

    // The same step value draws nothing; any other value draws the next frame.
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimStep(0));
    EXPECT_THAT(board.journal(), IsEmpty());
    ASSERT_TRUE(face.setAnimStep(-12345));
    EXPECT_EQ(face.animPos, 2);
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(grbStatus(10, {2, 3}, {})));
    EXPECT_THAT(indicatorContents(board, 4), ElementsAreArray(whiteIndicators(10, {4, 5}, 4)));
    EXPECT_THAT(log.records(), IsEmpty());
}

// At position 9 of the ten-LED ring the white walk starts at LED 9, the last LED: its triple is the
// fourth device's first channel and is written at once, before the walk wraps to LED 0.
TEST(MulticolorLedFace, WhiteWalkFromTheLastLedWritesItsShortTripleFirst) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    ASSERT_TRUE(face.setAnimDensity(100));  // 9 LEDs
    for (int frame = 1; frame <= 8; ++frame) ASSERT_TRUE(face.setAnimStep(frame));
    log.clear();
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimStep(9));
    EXPECT_EQ(face.animPos, 9);
    // Green on LEDs 9, 0, ..., 7; white 8 behind, on LEDs 1 to 9.
    EXPECT_THAT(writes(board.journal()),
                ElementsAre("indicator_3=255 0 0", "status_9=255 0 0", "status=255 0 0", "status_1=255 0 0",
                            "indicator=0 255 255", "status_2=255 0 0", "status_3=255 0 0", "status_4=255 0 0",
                            "indicator_1=255 255 255", "status_5=255 0 0", "status_6=255 0 0", "status_7=255 0 0",
                            "indicator_2=255 255 255", "status_8=0 0 0"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MulticolorLedFace, BackwardRingStartsAtItsLastLedAndWrapsEveryTwelveSteps) {
    SimBoard board(0xA5A2);
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimStep(1));  // density 0: one LED
    EXPECT_EQ(face.animPos, 11);
    // Green on LED 11, white on (11 + 12 - 8) % 12 = 3. The white triples start at 9.
    EXPECT_THAT(writes(board.journal()),
                ElementsAre("status_11=255 0 0", "status=0 0 0", "indicator_3=0 0 0", "status_1=0 0 0",
                            "status_2=0 0 0", "status_3=0 0 0", "indicator=0 0 0", "status_4=0 0 0",
                            "status_5=0 0 0", "status_6=0 0 0", "indicator_1=255 0 0", "status_7=0 0 0",
                            "status_8=0 0 0", "status_9=0 0 0", "indicator_2=0 0 0", "status_10=0 0 0"));
    for (int frame = 2; frame <= 25; ++frame) {
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(frame));
        const int pos = ((-frame) % 12 + 12) % 12;
        ASSERT_EQ(face.animPos, pos) << frame;
        EXPECT_EQ(calls(board.journal(), Call::Write).size(), 16u) << frame;
        EXPECT_THAT(statusContents(board, 12), ElementsAreArray(grbStatus(12, {pos}, {}))) << frame;
        EXPECT_THAT(indicatorContents(board, 4), ElementsAreArray(whiteIndicators(12, {(pos + 4) % 12}, 4)))
            << frame;
    }
    // Frame 12 came back to LED 0 and frame 13 wrapped to LED 11 again.
    EXPECT_EQ(face.animPos, 11);
}

// Frame after frame against a ring walked LED by LED: the colour segment from the position, the
// white one 8 LEDs behind it (on 0xA5B0 and 0xA5A2), for densities 0, 50 and 100.
TEST(MulticolorLedFace, FullRunsMatchTheWalkedSegmentFrameByFrame) {
    struct Run {
        uint32_t sysid;
        int leds;
        int direction;
        int density;
        int length;
    };
    const Run runs[] = {
        {0xA5B0, 10, 1, 0, 1},  {0xA5B0, 10, 1, 50, 4},  {0xA5B0, 10, 1, 100, 9},
        {0xA5A2, 12, -1, 0, 1}, {0xA5A2, 12, -1, 50, 5}, {0xA5A2, 12, -1, 100, 11},
    };
    for (const Run& run : runs) {
        SCOPED_TRACE(testing::Message() << std::hex << run.sysid << std::dec << " density " << run.density);
        SimBoard board(run.sysid);
        ProbedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
        ASSERT_TRUE(face.setAnimDensity(run.density));
        ASSERT_EQ(face.animLen, run.length);
        const int devices = (run.leds + 2) / 3;
        for (int frame = 1; frame <= 2 * run.leds + 1; ++frame) {
            board.sandbox().clearJournal();
            ASSERT_TRUE(face.setAnimStep(frame));
            const int pos = ((run.direction * frame) % run.leds + run.leds) % run.leds;
            const std::set<int> green = segment(pos, run.length, run.leds);
            const std::set<int> white = segment(pos - 8, run.length, run.leds);
            EXPECT_EQ(calls(board.journal(), Call::Write).size(), static_cast<size_t>(run.leds + devices)) << frame;
            EXPECT_THAT(statusContents(board, run.leds), ElementsAreArray(grbStatus(run.leds, green, {}))) << frame;
            EXPECT_THAT(indicatorContents(board, devices), ElementsAreArray(whiteIndicators(run.leds, white, devices)))
                << frame;
        }
    }
}

TEST(MulticolorLedFace, ForegroundAndBackgroundColoursLightTheSameSegment) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_RED));
    ASSERT_TRUE(face.setAnimDensity(50));  // 4 LEDs
    for (int frame = 1; frame <= 8; ++frame) ASSERT_TRUE(face.setAnimStep(frame));
    // Position 8: LEDs 8, 9, 0 and 1 wrap past the last LED.
    EXPECT_THAT(statusContents(board, 10), ElementsAre("255 255 0", "255 255 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0",
                                                       "0 0 0", "0 0 0", "255 255 0", "255 255 0"));
}

TEST(MulticolorLedFace, DensityGivesTheSegmentLengthOnceItChanges) {
    SimBoard board(0xA5B0);
    ProbedFace face;
    EXPECT_TRUE(face.setAnimDensity(50));  // before init: applied by initGPIO
    EXPECT_EQ(face.animLen, 1);
    ASSERT_TRUE(face.init("ring"));
    EXPECT_EQ(face.animLen, 4);
    // 100 / (10 - 1) = 11 per LED, at least 1, at most 9.
    const std::pair<int, int> cases[] = {{0, 1},   {10, 1},      {11, 1},       {22, 2},   {98, 8},
                                         {99, 9},  {100, 9},     {200, 9},      {-50, 1},  {INT_MAX, 9},
                                         {INT_MIN, 1}, {33, 3}};
    for (const auto& [density, length] : cases) {
        ASSERT_TRUE(face.setAnimDensity(density)) << density;
        EXPECT_EQ(face.readAnimDensity(), density);
        EXPECT_EQ(face.animLen, length) << density;
    }
    // Unchanged density leaves the length alone, even one set by hand.
    face.animLen = 5;
    ASSERT_TRUE(face.setAnimDensity(33));
    EXPECT_EQ(face.animLen, 5);
}

TEST(MulticolorLedFace, ColoursOutsideRgbwWarnOncePerColourAndShowNothing) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    log.clear();
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(face.setAnimStep(1));
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(grbStatus(10, {1}, {})));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAnimVals", 4, 0, "Only support RGBW color now"}));
    log.clear();
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_AMBER));
    ASSERT_TRUE(face.setAnimStep(2));
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 0 0")));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAnimVals", 4, 0, "Only support RGBW color now"},
                                           Expected{kSource, "updateAnimVals", 4, 0, "Only support RGBW color now"}));
}

// Colour numbers outside 1..15: the setters refuse them and record nothing; handed to the drawing
// operations directly they only warn and leave the ring dark.
TEST(MulticolorLedFace, ColourNumbersOutOfRangeAreRefusedOrDrawnDark) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
    log.clear();
    board.sandbox().clearJournal();
    EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, static_cast<Color>(16)));
    EXPECT_FALSE(face.setAnimColor(static_cast<Color>(INT_MIN), BaseLed::COLOR_RED));
    EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, static_cast<Color>(-1)));
    EXPECT_EQ(face.readFgAnimColor(), BaseLed::COLOR_GREEN);
    EXPECT_EQ(face.readBgAnimColor(), BaseLed::COLOR_WHITE);
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());

    ASSERT_TRUE(face.updateAnimVals(255, static_cast<Color>(INT_MIN), static_cast<Color>(INT_MAX)));
    EXPECT_EQ(face.animPos, 1);
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 0 0")));
    EXPECT_THAT(indicatorContents(board, 4), ElementsAreArray(std::vector<std::string>(4, "0 0 0")));
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 14u);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAnimVals", 4, 0, "Only support RGBW color now"},
                                           Expected{kSource, "updateAnimVals", 4, 0, "Only support RGBW color now"}));
    log.clear();
    ASSERT_TRUE(face.updateAllLeds(static_cast<Color>(INT_MAX), 255));
    ASSERT_TRUE(face.updateAllLeds(static_cast<Color>(INT_MIN), 255));  // below black: no warning
    EXPECT_THAT(statusContents(board, 10), ElementsAreArray(std::vector<std::string>(10, "0 0 0")));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAllLeds", 4, 0, "Not supported color 2147483647"}));
}

TEST(MulticolorLedFace, SwitchingTheAnimationOffRedrawsTheStillPicture) {
    SimBoard board(0xA5B0);
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_RED));
    ASSERT_TRUE(face.setValue(100, false));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_GREEN));
    ASSERT_TRUE(face.setAnimEnable(true));
    ASSERT_TRUE(face.setAnimStep(1));
    EXPECT_EQ(board.value(statusIntensity(1)), "255 0 0");
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimEnable(false));
    // The still picture is written from the segment's position (LED 1) on.
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 0 255", "0 0 0", "0 0 0", 1)));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimEnable(false));  // unchanged
    EXPECT_THAT(board.journal(), IsEmpty());

    // Off while the value is 0: the background at full intensity.
    ASSERT_TRUE(face.setValue(0, false));
    ASSERT_TRUE(face.setAnimEnable(true));
    ASSERT_TRUE(face.setAnimStep(2));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimEnable(false));
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 255 0", "0 0 0", "0 0 0", 2)));
}

// The grouped ring has no animation through the setters; a frame drawn directly still moves the
// position towards lower LED numbers, and from 0 to 35.
TEST(MulticolorLedFace, GroupedRingRefusesAnimationAndItsFramesRunBackwardsFromZeroTo35) {
    SimBoard board(0xEC70);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    log.clear();
    board.sandbox().clearJournal();
    EXPECT_FALSE(face.isAnimSupported());
    EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_FALSE(face.setAnimDensity(50));
    EXPECT_FALSE(face.setAnimEnable(true));
    EXPECT_FALSE(face.setAnimStep(1));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setAnimColor", 3, 0, "Not supported"},
                                           Expected{kSource, "setAnimDensity", 3, 0, "Not supported"},
                                           Expected{kSource, "setAnimEnable", 3, 0, "Not supported"},
                                           Expected{kSource, "setAnimStep", 3, 0, "Not supported"}));
    EXPECT_EQ(face.readAnimDensity(), 0);
    EXPECT_FALSE(face.readAnimEnable());
    EXPECT_EQ(face.readAnimStep(), -1);
    EXPECT_THAT(board.journal(), IsEmpty());
    log.clear();

    ASSERT_TRUE(face.updateAnimVals(255, BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_EQ(face.animPos, 35);
    // Colour from group 35 + 1 = 0 on (groups 4 to 34 skipped), white triples from 33. LED 0, which
    // stands for the whole ring, is outside the segment [35, 36).
    std::vector<std::string> expected = {"status=0 0 0", "indicator_11=0 0 0", "status_1=0 0 0", "status_2=0 0 0",
                                         "status_3=0 0 0"};
    for (int d = 0; d <= 10; ++d) expected.push_back(device("indicator", d).substr(kClassDir.size()) + "=0 0 0");
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(expected));

    for (int frame = 2; frame <= 35; ++frame) ASSERT_TRUE(face.updateAnimVals(255, BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_EQ(face.animPos, 1);
    EXPECT_EQ(board.value(statusIntensity(0)), "0 0 0");
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.updateAnimVals(255, BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_EQ(face.animPos, 0);
    expected = {"status=255 0 0", "status_1=255 0 0", "indicator=255 255 255", "status_2=255 0 0",
                "status_3=255 0 0"};
    for (int d = 1; d <= 11; ++d) expected.push_back(device("indicator", d).substr(kClassDir.size()) + "=255 255 255");
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(expected));
    ASSERT_TRUE(face.updateAnimVals(255, BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_EQ(face.animPos, 35);
    EXPECT_EQ(board.value(statusIntensity(0)), "0 0 0");
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- steady-state cost ----

TEST(MulticolorLedFace, SteadyStateCallsAllocateNothingAndUnchangedCallsTouchNothing) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_RED));
    ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    ASSERT_TRUE(face.setAnimDensity(50));
    ASSERT_TRUE(face.setValue(100, false));
    ASSERT_TRUE(face.setAnimStep(0));
    log.clear();

    // Each operation allocates exactly what the simulator spends journaling its writes: the face
    // itself nothing.
    const auto expectOnlySimulatorCost = [&](const char* what, const std::function<void()>& operation,
                                             size_t expectedWrites) {
        board.sandbox().clearJournal();
        size_t cost;
        {
            AllocationScope allocations;
            operation();
            cost = allocations.count();
        }
        const std::vector<orva::sim::JournalEntry> made = board.journal();
        EXPECT_EQ(made.size(), expectedWrites) << what;
        EXPECT_EQ(calls(made, Call::Write).size(), expectedWrites) << what;
        board.sandbox().clearJournal();
        EXPECT_EQ(cost, simulatorCost(made)) << what;
        board.sandbox().clearJournal();
    };
    // One step, one value: every node of the ring, one write each (10 status, 4 indicator devices).
    expectOnlySimulatorCost("animation step", [&] { ASSERT_TRUE(face.setAnimStep(1)); }, 14);
    expectOnlySimulatorCost("value", [&] { ASSERT_TRUE(face.setValue(40, false)); }, 14);
    expectOnlySimulatorCost("value 0", [&] { ASSERT_TRUE(face.setValue(0, false)); }, 14);
    expectOnlySimulatorCost("colour", [&] { ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE)); },
                            14);
    expectOnlySimulatorCost("animation off", [&] {
        ASSERT_TRUE(face.setAnimEnable(true));
        ASSERT_TRUE(face.setAnimEnable(false));
    }, 14);
    for (int frame = 2; frame < 22; ++frame) {
        expectOnlySimulatorCost("next step", [&] { ASSERT_TRUE(face.setAnimStep(frame)); }, 14);
    }

    // Unchanged calls and service(): no call, no allocation.
    board.sandbox().clearJournal();
    {
        AllocationScope allocations;
        for (int i = 0; i < 5; ++i) {
            ASSERT_TRUE(face.service());
            ASSERT_TRUE(face.setValue(0, false));
            ASSERT_TRUE(face.setAnimStep(21));
            ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE));
            ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
            ASSERT_TRUE(face.setAnimDensity(50));
            ASSERT_TRUE(face.setAnimEnable(false));
        }
        EXPECT_EQ(allocations.count(), 0u);
    }
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- failures ----

TEST(MulticolorLedFace, FailedWriteStopsTheUpdateAndOnlyTheNextChangeRedrawsTheRing) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().shortWrite(statusIntensity(5), 3);
    errno = 0;
    EXPECT_FALSE(face.setValue(100, false));
    const auto written = writes(board.journal());
    EXPECT_THAT(written, ElementsAre("status=0 255 0", "status_1=0 255 0", "indicator=0 0 0", "status_2=0 255 0",
                                     "status_3=0 255 0", "status_4=0 255 0", "indicator_1=0 0 0",
                                     "status_5=0 255 0<short>"));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "update", 3, 0,
                                     "Failed to write '0 255 0' to proc entry " + hex(face.rgbFds[5])},
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
    EXPECT_EQ(board.value(statusIntensity(6)), "0 0 0");

    // The face took the value before drawing: asking for it again draws nothing.
    board.sandbox().clearJournal();
    EXPECT_TRUE(face.setValue(100, false));
    EXPECT_THAT(board.journal(), IsEmpty());
    // The next different value writes every node again.
    EXPECT_TRUE(face.setValue(80, false));  // 204
    EXPECT_THAT(writes(board.journal()), ElementsAreArray(tenLedWrites("0 204 0", "0 0 0", "0 0 0")));
}

TEST(MulticolorLedFace, WriteErrorsAreReportedWithErrnoAndInterruptedWritesRepeated) {
    SimBoard board(0xA5B0);
    LogCapture log;
    ProbedFace face;
    ASSERT_TRUE(face.init("ring"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().failCalls(indicatorIntensity(1), Call::Write, EIO);
    EXPECT_FALSE(face.setValue(100, false));
    EXPECT_EQ(writes(board.journal()).back(), "indicator_1=255 255 255<short>");
    EXPECT_EQ(board.journal().back().error, EIO);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "update", 3, EIO,
                                     "Failed to write '255 255 255' to proc entry " + hex(face.wledFds[1])},
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));

    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().failCalls(indicatorIntensity(2), Call::Write, EINTR, 2);
    EXPECT_TRUE(face.setValue(90, false));  // 229
    const auto third = calls(board.sandbox().journal(indicatorIntensity(2)), Call::Write);
    ASSERT_EQ(third.size(), 3u);
    for (const auto& entry : third) EXPECT_EQ(entry.bytes, withNul("229 229 229"));
    EXPECT_EQ(third[0].error, EINTR);
    EXPECT_EQ(third[2].result, 12);
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 16u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(MulticolorLedFace, DrawingBeforeInitFindsNoColourState) {
    SimBoard board(0xA5B0);
    LogCapture log;
    MulticolorLedFace face;
    EXPECT_FALSE(face.update());
    // The colours are recorded; drawing the background finds no state to put blue in, and none to
    // write from.
    EXPECT_FALSE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_EQ(face.readFgColor(), BaseLed::COLOR_RED);
    EXPECT_FALSE(face.updateAnimVals(255, BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
    EXPECT_FALSE(face.updateColorCodeLeds(BaseLed::ColorCode{1, 2, 3}, 255));
    const Expected noState{kSource, "update", 3, 0, "Can't find RGB color, is rgbOrder set correct?"};
    EXPECT_THAT(log.records(),
                ElementsAre(noState, Expected{kSource, "updateAllLeds", 4, 0, "Not supported color 4"}, noState,
                            noState, noState));
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(MulticolorLedFace, MissingOrInterruptedOpensAndDescriptorZero) {
    SimBoard board(0xA5B0);
    LogCapture log;
    {
        // A missing attribute fails the open (EACCES in an existing directory) and the init.
        board.sandbox().removeAttribute(indicatorBrightness(7));
        ProbedFace face;
        EXPECT_FALSE(face.init("ring"));
        EXPECT_EQ(calls(board.journal(), Call::Open).size(), 32u);
        EXPECT_EQ(board.journal().back().error, EACCES);
        EXPECT_THAT(log.records(), ElementsAre(infoLine(10, 4, 0, 0, 10), openFailed(indicatorBrightness(7)), initFailed()));
        EXPECT_TRUE(calls(board.journal(), Call::Write).empty());
        EXPECT_EQ(board.sandbox().openDescriptors(), 31);

        // A second init closes what the first opened before opening everything again.
        board.attribute(indicatorBrightness(7), "0");
        board.sandbox().clearJournal();
        log.clear();
        ASSERT_TRUE(face.init("ring"));
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), 31u);
        EXPECT_EQ(calls(board.journal(), Call::Open).size(), 40u);
        EXPECT_EQ(board.sandbox().openDescriptors(), 40);
        board.sandbox().clearJournal();
    }
    // The destructor closes all 40 files.
    EXPECT_EQ(calls(board.journal(), Call::Close).size(), 40u);
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);

    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().failCalls(statusBrightness(2), Call::Open, EINTR, 2);
    {
        MulticolorLedFace face;
        ASSERT_TRUE(face.init("ring"));
        const auto opens = calls(board.sandbox().journal(statusBrightness(2)), Call::Open);
        ASSERT_EQ(opens.size(), 3u);
        EXPECT_EQ(opens[0].error, EINTR);
        EXPECT_GT(opens[2].result, 0);
        EXPECT_THAT(log.records(), ElementsAre(infoLine(10, 4, 0, 0, 10)));
    }

    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().zeroDescriptor(indicatorIntensity(0));
    {
        ProbedFace face;
        EXPECT_FALSE(face.init("ring"));
        EXPECT_THAT(log.records(), ElementsAre(infoLine(10, 4, 0, 0, 10), openFailed(indicatorIntensity(0)), initFailed()));
        EXPECT_TRUE(face.wledFds.empty());
        EXPECT_EQ(face.rgbFds.size(), 1u);
        // Descriptor 0 counts as a failed open, but the face opened it: it is closed at once, and
        // nothing else is touched.
        const auto& journal = board.journal();
        ASSERT_EQ(journal.size(), 4u);
        EXPECT_EQ(journal[2].call, Call::Open);
        EXPECT_EQ(journal[2].path, indicatorIntensity(0));
        EXPECT_EQ(journal[2].result, 0);
        EXPECT_EQ(journal[3].call, Call::Close);
        EXPECT_EQ(journal[3].fd, 0);
        EXPECT_EQ(journal[3].result, 0);
        board.sandbox().clearJournal();
    }
    // The destructor closes the two files that did open, and descriptor 0 is not closed twice.
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 2u);
    EXPECT_EQ(closes[0].path, statusIntensity(0));
    EXPECT_EQ(closes[1].path, statusBrightness(0));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST(MulticolorLedFace, FailedBrightnessWriteFailsTheInit) {
    SimBoard board(0xA5A2);
    LogCapture log;
    ProbedFace face;
    board.sandbox().shortWrite(indicatorBrightness(11), 2);
    errno = 0;
    EXPECT_FALSE(face.init("ring"));
    const auto written = writes(board.journal());
    ASSERT_EQ(written.size(), 24u);
    EXPECT_EQ(written.back(), "indicator_11/brightness=255<short>");
    EXPECT_THAT(log.records(),
                ElementsAre(infoLine(12, 4, 0, 0, 12),
                            Expected{kSource, "initGPIO", 3, 0,
                                     "Failed to write '255' to proc entry " + hex(face.brightnessFds.back())},
                            initFailed()));
}
