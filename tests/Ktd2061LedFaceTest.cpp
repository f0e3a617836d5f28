// The KTD20xx status rings through the simulator: the node tables, the texts each node receives,
// colours and values, the mode of the KTD2052, failures at every call, and the steady-state cost.
// Every case runs in a child process (the node table and the last value are process-wide).
#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>

#include "AllocationCounter.h"
#include "Ktd2061LedFaceTestSupport.h"

using namespace orva::test;
using namespace orva::test::ktd;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::vector<std::string> kA598DarkWrites = {
    "52/LED1 0 0 0 \\0", "52/brightness 0\\0", "52/LED2 0 0 0 \\0", "52/LED3 0 0 0 \\0", "52/LED4 0 0 0 \\0",
    "61/C2 000\\0",      "61/brightness 0\\0", "61/C1 000\\0",      "61/C4 000\\0",      "61/C3 000\\0",
    "61/B4 000\\0",      "61/B3 000\\0",       "61/B2 000\\0",      "61/B1 000\\0",      "61/A4 000\\0",
    "61/A3 000\\0",      "61/A2 000\\0",       "61/A1 000\\0"};

// The twelve colour nodes of 0xA598 in LED order, each with text, the chip brightness after the first.
std::vector<std::string> a598ColourWrites(const std::string& pattern, const std::string& brightness) {
    std::vector<std::string> lines;
    for (const std::string& suffix : kA598.rgbPattern) {
        lines.push_back(suffix + " " + pattern + "\\0");
        if (lines.size() == 1) lines.push_back("61/brightness " + brightness + "\\0");
    }
    return lines;
}

std::vector<std::string> opens(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> paths;
    for (const JournalEntry& entry : calls(journal, Call::Open)) paths.push_back(entry.path);
    return paths;
}

}  // namespace

TEST(Ktd2061LedFace, InitOnA598OpensEveryNodeAndWritesTheRingDark) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));

        const auto openCalls = calls(board.journal(), Call::Open);
        ASSERT_EQ(openCalls.size(), 18u);
        std::vector<std::string> expectedPaths;
        for (const std::string& suffix : openOrder(kA598)) expectedPaths.push_back(node(suffix));
        EXPECT_EQ(opens(board.journal()), expectedPaths);
        for (const JournalEntry& open : openCalls) {
            EXPECT_EQ(open.flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC);
            EXPECT_EQ(open.mode, 0666u);
        }
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(kA598DarkWrites));
        for (const JournalEntry& write : calls(board.journal(), Call::Write)) {
            EXPECT_EQ(write.offset, 0);
            EXPECT_EQ(write.result, static_cast<long long>(write.bytes.size()));
            EXPECT_EQ(write.fd, openedFd(board.journal(), write.path));
        }
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), 0u);

        auto fd = [&](const std::string& suffix) { return std::to_string(openedFd(board.journal(), node(suffix))); };
        std::vector<Expected> expected = {
            {kSource, "initSysfs", 6, 0, "Num of LED sysfs node (brightness, pattern): WLED(1, 4), RGBLED(1, 12)"},
            {kSource, "initSysfs", 7, 0, ">>>>>>>> Dump sysfs node"},
            {kSource, "initSysfs", 6, 0, "         0)\tfd[" + fd("52/brightness") + "]\t/sys/class/leds/ktd2052/brightness"},
        };
        for (int i = 0; i < 4; ++i) {
            const std::string suffix = k52Leds[static_cast<size_t>(i)];
            expected.push_back({kSource, "initSysfs", 6, 0,
                                "         " + std::to_string(i) + ")\tfd[" + fd(suffix) + "]\t" + node(suffix)});
        }
        expected.push_back(
            {kSource, "initSysfs", 6, 0, "         0)\tfd[" + fd("61/brightness") + "]\t/sys/class/leds/ktd2061/brightness"});
        for (int i = 0; i < 12; ++i) {
            const std::string suffix = kA598.rgbPattern[static_cast<size_t>(i)];
            expected.push_back({kSource, "initSysfs", 6, 0,
                                "         " + std::to_string(i) + ")\tfd[" + fd(suffix) + "]\t" + node(suffix)});
        }
        EXPECT_THAT(log.records(), ElementsAreArray(expected));
    });
}

TEST(Ktd2061LedFace, EveryBoardOpensItsNodesInTableOrder) {
    const std::pair<Board, std::string> cases[] = {
        {kA575, "WLED(1, 2), RGBLED(1, 5)"},   {kA598, "WLED(1, 4), RGBLED(1, 12)"},
        {kA5A4, "WLED(1, 4), RGBLED(1, 12)"},  {kA5A6, "WLED(1, 4), RGBLED(1, 12)"},
        {kEc70, "WLED(1, 12), RGBLED(3, 36)"},
    };
    for (const auto& [layout, counts] : cases) {
        SCOPED_TRACE(std::to_string(layout.sysid));
        inFreshProcess([&, layout = layout, counts = counts] {
            SimBoard board(layout.sysid);
            LogCapture log;
            ProbedKtd face;
            ASSERT_TRUE(face.init("ring"));
            std::vector<std::string> expectedPaths;
            for (const std::string& suffix : openOrder(layout)) expectedPaths.push_back(node(suffix));
            EXPECT_EQ(opens(board.journal()), expectedPaths);
            ASSERT_GE(log.records().size(), 2u);
            EXPECT_EQ(log.records()[0], (Expected{kSource, "initSysfs", 6, 0,
                                                  "Num of LED sysfs node (brightness, pattern): " + counts}));
            EXPECT_EQ(log.records().size(), 2 + expectedPaths.size());
            // Every node starts dark, and the colour states are sized to their module.
            EXPECT_EQ(face.ledsStates.size(), 4u);
            EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_WHITE)->len, static_cast<int>(layout.wledPattern.size() * 3));
            for (const auto colour : {BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE}) {
                EXPECT_EQ(face.ledsStates.at(colour)->len, static_cast<int>(layout.rgbPattern.size()));
            }
            EXPECT_EQ(colourRing(board, layout), std::string(layout.rgbPattern.size(), '.'));
            EXPECT_EQ(whiteRing(board, layout), std::string(layout.wledPattern.size() * 3, '.'));
        });
    }
}

TEST(Ktd2061LedFace, A575SharesTheKtd2061BrightnessBetweenItsTwoModules) {
    inFreshProcess([] {
        SimBoard board(0xA575);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("61/C1 000\\0", "61/brightness 0\\0", "61/C2 000\\0", "61/A1 000\\0",
                                "61/brightness 0\\0", "61/A2 000\\0", "61/A3 000\\0", "61/A4 000\\0", "61/B1 000\\0"));
        // Two descriptors on one file: one per module.
        const auto openCalls = calls(board.journal(), Call::Open);
        ASSERT_EQ(openCalls.size(), 9u);
        EXPECT_EQ(openCalls[0].path, node("61/brightness"));
        EXPECT_EQ(openCalls[3].path, node("61/brightness"));
        EXPECT_NE(openCalls[0].result, openCalls[3].result);
    });
}

TEST(Ktd2061LedFace, A5A4AlsoWritesTheKtd2052ModeAtInit) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        board.attribute(node("52/mode"), "2");
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        const auto lines = writes(board.journal());
        ASSERT_EQ(lines.size(), 19u);
        EXPECT_EQ(lines[5], "61/C3 000\\0");
        EXPECT_EQ(lines.back(), "52/mode 0\\0");
        EXPECT_EQ(board.value(node("52/mode")), "0");
    });
}

TEST(Ktd2061LedFace, RangeIs0To80OnA575A5A4A5A6And0To99OnA598Ec70) {
    const std::pair<uint32_t, int> cases[] = {{0xA575, 80}, {0xA5A4, 80}, {0xA5A6, 80}, {0xA598, 99}, {0xEC70, 99}};
    for (const auto& [sysid, maximum] : cases) {
        inFreshProcess([sysid = sysid, maximum = maximum] {
            SimBoard board(sysid);
            Ktd2061LedFace face;
            EXPECT_EQ(face.rangeMax(), maximum) << std::hex << sysid;
            EXPECT_EQ(face.rangeMin(), 0);
            EXPECT_TRUE(face.exists());
            EXPECT_FALSE(face.isBinary());
            EXPECT_FALSE(face.hasAutoMode());
            EXPECT_FALSE(face.isManagedByMcu());
            EXPECT_TRUE(face.isAnimSupported());
        });
    }
}

TEST(Ktd2061LedFace, RangeFollowsTheBoardOnEveryCall) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace face;
        EXPECT_EQ(face.rangeMax(), 80);
        setInfo("sysid", 0xA598ULL);
        EXPECT_EQ(face.rangeMax(), 99);
    });
}

TEST(Ktd2061LedFace, UnknownBoardFailsToInitialiseAndOpensNothing) {
    inFreshProcess([] {
        SimBoard board(0xA533);
        LogCapture log;
        Ktd2061LedFace face;
        EXPECT_FALSE(face.init("ring"));
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "initSysfs", 3, 0, "Unknow sysid 42291 for ktd20xx leds"},
                                               Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}));
        // Not initialised: values are refused by the base class.
        log.clear();
        EXPECT_FALSE(face.setValue(50, false));
        EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
    });
}

TEST(Ktd2061LedFace, RedAtFullValueLightsEveryColourLedAtTheChipBrightness) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        // Dark: the black background has no LEDs of its own, so nothing changes.
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        EXPECT_THAT(board.journal(), IsEmpty());

        EXPECT_TRUE(face.setValue(100, false));
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(a598ColourWrites("100", "99")));
        // By hand: the first LED is node C2, lit red, and the chip brightness follows it.
        EXPECT_EQ(writes(board.journal())[0], "61/C2 100\\0");
        EXPECT_EQ(writes(board.journal())[1], "61/brightness 99\\0");
        EXPECT_EQ(colourRing(board, kA598), "RRRRRRRRRRRR");
        int value = -1;
        EXPECT_TRUE(face.readValue(value));
        EXPECT_EQ(value, 99);

        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setValue(0, false));
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(a598ColourWrites("000", "0")));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, BlueAndGreenTakeTheirOwnPatternBits) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        EXPECT_EQ(board.value(node("61/A1")), "001");
        EXPECT_EQ(board.value(node("61/brightness")), "80");
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        EXPECT_EQ(board.value(node("61/C4")), "010");
        EXPECT_EQ(colourRing(board, kA5A6), "GGGGGGGGGGGG");
    });
}

TEST(Ktd2061LedFace, Ktd2052NodesTakeTheModuleBrightnessForEachSetBit) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        // 50 % of 0..80 is 40: three channel levels per node, then the chip brightness and the mode.
        EXPECT_TRUE(face.setValue(50, false));
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("52/LED1 40 40 40 \\0", "52/brightness 40\\0", "52/LED2 40 40 40 \\0",
                                "52/LED3 40 40 40 \\0", "52/LED4 40 40 40 \\0", "52/mode 2\\0"));
        EXPECT_EQ(whiteRing(board, kA5A4), "wwwwwwwwwwww");

        // A new brightness leaves the pattern alone, so the KTD2052 nodes keep their old levels.
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setBrightness(50));
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/brightness 20\\0", "52/mode 2\\0"));
        EXPECT_EQ(board.value(node("52/LED1")), "40 40 40 ");

        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setValue(0, false));
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("52/LED1 0 0 0 \\0", "52/brightness 0\\0", "52/LED2 0 0 0 \\0", "52/LED3 0 0 0 \\0",
                                "52/LED4 0 0 0 \\0", "52/mode 0\\0"));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, AmberUsesItsColourCodeScaledByNinetyNine) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        ProbedKtd face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        // 99 * 255 / 99 = 255 red, 99 * 191 / 99 = 191 green: red and green bits, brightness 255.
        EXPECT_TRUE(face.setValue(100, false));
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(a598ColourWrites("110", "255")));
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_RED)->val, 255);
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_GREEN)->val, 191);
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_BLUE)->val, 0);
        // User 40 is device 39: red 39 * 255 / 99 = 100, green 39 * 191 / 99 = 75.
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setValue(40, false));
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/brightness 100\\0"));
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_GREEN)->val, 75);
        EXPECT_EQ(colourRing(board, kA598), "YYYYYYYYYYYY");
    });
}

TEST(Ktd2061LedFace, ExtremeDeviceValuesWrapInThirtyTwoBitsAndBytes) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        ProbedKtd face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
        // INT_MAX * 255 wraps to 0x7FFFFF01; / 99 = 21691751, whose low byte is 103. Green: 0x7FFFFF41
        // / 99 = 21691752, low byte 104.
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.writeValue(INT_MAX));
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_RED)->val, 103);
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_GREEN)->val, 104);
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(a598ColourWrites("110", "104")));
        // INT_MIN * 255 wraps to INT_MIN; / 99 = -21691754, low byte 150 (the same for green).
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.writeValue(INT_MIN));
        EXPECT_EQ(face.ledsStates.at(BaseLed::COLOR_RED)->val, 150);
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/brightness 150\\0"));
        // A plain colour keeps the low byte of the value: 256 is dark, 257 is 1.
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.writeValue(256));
        EXPECT_EQ(colourRing(board, kA598), "............");
        EXPECT_TRUE(face.writeValue(257));
        EXPECT_EQ(colourRing(board, kA598), "RRRRRRRRRRRR");
        EXPECT_EQ(board.value(node("61/brightness")), "1");
    });
}

TEST(Ktd2061LedFace, MixedColourWithoutCodeDarkensTheRingWithAWarning) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_BLACK));
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(a598ColourWrites("000", "0")));
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAllLeds", 4, 0, "Not supported color 5"}));
    });
}

TEST(Ktd2061LedFace, SetColorRedrawsTheForegroundWhileLitAndTheBackgroundWhileDark) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        // Dark: a new background is drawn at once at 99.
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
        EXPECT_EQ(colourRing(board, kA598), "GGGGGGGGGGGG");
        EXPECT_EQ(board.value(node("61/brightness")), "99");
        // Dark: a new foreground alone draws nothing.
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_GREEN));
        EXPECT_THAT(board.journal(), IsEmpty());
        // Lit: the foreground is drawn at the last value; a new background alone draws nothing.
        ASSERT_TRUE(face.setValue(50, false));
        EXPECT_EQ(colourRing(board, kA598), "BBBBBBBBBBBB");
        EXPECT_EQ(board.value(node("61/brightness")), "49");
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
        EXPECT_EQ(colourRing(board, kA598), "RRRRRRRRRRRR");
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
        EXPECT_THAT(board.journal(), IsEmpty());
        // Off shows the new background: white on the white module, the colour module dark.
        EXPECT_TRUE(face.setValue(0, false));
        EXPECT_EQ(colourRing(board, kA598), "............");
        EXPECT_EQ(whiteRing(board, kA598), "wwwwwwwwwwww");
        EXPECT_EQ(board.value(node("52/LED1")), "99 99 99 ");
        EXPECT_EQ(board.value(node("52/brightness")), "99");
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, InvalidColoursAreRefusedWithoutWrites) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_FALSE(face.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
        EXPECT_FALSE(face.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(16)));
        EXPECT_FALSE(face.setColor(static_cast<BaseLed::Color>(INT_MIN), BaseLed::COLOR_RED));
        EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_NONE));
        EXPECT_EQ(face.readFgColor(), BaseLed::COLOR_NONE);
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, UnchangedCallsMakeNoSystemCalls) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        ASSERT_TRUE(face.setValue(70, false));
        ASSERT_TRUE(face.setAnimDensity(50));
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        ASSERT_TRUE(face.setAnimStep(3));
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setValue(70, false));
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_TRUE(face.setAnimStep(3));
        EXPECT_TRUE(face.setAnimEnable(false));
        EXPECT_TRUE(face.service());
        EXPECT_TRUE(face.update(false));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, ValuesStepsAndServiceAllocateNothingAfterInit) {
    inFreshProcess([] {
        SimBoard board(0xEC70);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_WHITE));
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
        ASSERT_TRUE(face.setAnimDensity(30));
        // Each operation alone, so that the simulator's own journal is measured for the same writes.
        std::vector<std::function<bool()>> operations;
        for (int i = 0; i < 10; ++i) {
            operations.push_back([&face, i] { return face.setValue(i * 10 + 1, false); });
            operations.push_back([&face] { return face.setValue(0, false); });
        }
        for (int step = 0; step < 40; ++step) operations.push_back([&face, step] { return face.setAnimStep(step); });
        for (int i = 0; i < 10; ++i) {
            operations.push_back([&face, &board] {
                board.advanceMs(30000);
                return face.service();
            });
        }
        operations.push_back([&face] { return face.setAnimEnable(true); });
        operations.push_back([&face] { return face.setAnimEnable(false); });
        size_t written = 0;
        for (size_t k = 0; k < operations.size(); ++k) {
            board.sandbox().clearJournal();
            size_t allocations;
            {
                AllocationScope scope;
                ASSERT_TRUE(operations[k]());
                allocations = scope.count();
            }
            const std::vector<JournalEntry> made = board.journal();
            written += made.size();
            EXPECT_EQ(allocations, simulatorCost(made)) << "operation " << k;
        }
        EXPECT_GT(written, 100u);
    });
}

TEST(Ktd2061LedFace, OffModeIsReassertedOnlyAfterMoreThanAMinute) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));  // the mode was written now
        board.sandbox().clearJournal();
        board.advanceMs(60000);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(board.journal(), IsEmpty());
        board.advanceMs(1);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/mode 0\\0"));
        // The minute starts again from this write.
        board.sandbox().clearJournal();
        board.advanceMs(60000);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(board.journal(), IsEmpty());
        board.advanceMs(1);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/mode 0\\0"));
    });
}

TEST(Ktd2061LedFace, AFailedRebuildKeepsTheMinuteOfTheLastModeWrite) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace first;
        ASSERT_TRUE(first.init("ring"));  // the mode was written now
        board.advanceMs(30000);
        // A second face fails after the mode node was opened again: no mode was written, so the
        // minute still counts from the first init.
        board.sandbox().failCalls(node("61/B2"), Call::Open, EMFILE);
        Ktd2061LedFace second;
        ASSERT_FALSE(second.init("ring"));
        const int modeFd = openedFd(board.journal(), node("52/mode"));
        ASSERT_GT(modeFd, 0);
        board.sandbox().clearJournal();
        board.advanceMs(30000);
        EXPECT_TRUE(first.service());
        EXPECT_THAT(board.journal(), IsEmpty());
        board.advanceMs(1);
        EXPECT_TRUE(first.service());
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/mode 0\\0"));
        // Written through the descriptor the rebuild opened.
        EXPECT_EQ(board.journal().front().fd, modeFd);
    });
}

TEST(Ktd2061LedFace, ActiveModeIsNotReasserted) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        EXPECT_EQ(board.value(node("52/mode")), "2");
        board.sandbox().clearJournal();
        board.advanceMs(180000);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(board.journal(), IsEmpty());
        // Lit colour LEDs do not count: the mode follows the white module's brightness only.
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        EXPECT_EQ(board.value(node("52/mode")), "0");
        EXPECT_EQ(board.value(node("61/brightness")), "80");
    });
}

TEST(Ktd2061LedFace, BoardsWithoutModeNodesWriteNothingInService) {
    for (const uint32_t sysid : {0xA575u, 0xA598u, 0xEC70u}) {
        inFreshProcess([sysid] {
            SimBoard board(sysid);
            Ktd2061LedFace face;
            ASSERT_TRUE(face.init("ring"));
            board.sandbox().clearJournal();
            board.advanceMs(120000);
            EXPECT_TRUE(face.service());
            EXPECT_THAT(board.journal(), IsEmpty());
        });
    }
}

TEST(Ktd2061LedFace, ServiceBeforeInitWritesNothing) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace face;
        board.advanceMs(120000);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, FailedWriteStopsTheUpdateAndTheNextChangeWritesWhatStillDiffers) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        log.clear();
        board.sandbox().clearJournal();
        board.sandbox().failCalls(node("61/C4"), Call::Write, EIO);
        EXPECT_FALSE(face.setValue(100, false));
        const auto failed = calls(board.journal(), Call::Write);
        ASSERT_EQ(failed.size(), 4u);
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("61/C2 100\\0", "61/brightness 99\\0", "61/C1 100\\0", "61/C4 100\\0"));
        EXPECT_EQ(failed[3].result, -1);
        EXPECT_EQ(failed[3].error, EIO);
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "update", 3, EIO, "Failed to write '100' to proc entry " + hex(failed[3].fd)},
                                Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
        EXPECT_EQ(colourRing(board, kA598), "RR..........");

        // The last value was taken before the write: the same value again has nothing to do.
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.setValue(100, false));
        EXPECT_THAT(board.journal(), IsEmpty());

        // A new value writes the nodes that still differ and the new brightness, nothing else.
        EXPECT_TRUE(face.setValue(60, false));
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("61/brightness 59\\0", "61/C4 100\\0", "61/C3 100\\0", "61/B4 100\\0", "61/B3 100\\0",
                                "61/B2 100\\0", "61/B1 100\\0", "61/A4 100\\0", "61/A3 100\\0", "61/A2 100\\0",
                                "61/A1 100\\0"));
        EXPECT_EQ(colourRing(board, kA598), "RRRRRRRRRRRR");
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, WriteFailuresOfEveryKindAreLoggedWithTheTextAndDescriptor) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        const auto& journal = board.journal();
        const std::string brightnessFd = hex(openedFd(journal, node("52/brightness")));
        const std::string led1Fd = hex(openedFd(journal, node("52/LED1")));
        log.clear();

        // A short pattern write.
        board.sandbox().shortWrite(node("52/LED1"), 3);
        errno = 0;
        EXPECT_FALSE(face.writeValue(40));
        // A failed brightness write (the pattern before it went through).
        board.sandbox().failCalls(node("52/brightness"), Call::Write, ENOSPC);
        EXPECT_FALSE(face.writeValue(41));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "update", 3, 0, "Failed to write '40 40 40 ' to proc entry " + led1Fd},
                                Expected{kSource, "update", 3, ENOSPC, "Failed to write '41' to proc entry " + brightnessFd}));
        EXPECT_EQ(board.value(node("52/LED1")), "41 41 41 ");
        EXPECT_EQ(board.value(node("52/brightness")), "0");

        // Interrupted writes are repeated until they go through.
        log.clear();
        board.sandbox().failCalls(node("52/brightness"), Call::Write, EINTR, 3);
        board.sandbox().failCalls(node("52/LED2"), Call::Write, EINTR, 2);
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.writeValue(42));
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("52/brightness 42\\0", "52/brightness 42\\0", "52/brightness 42\\0",
                                "52/brightness 42\\0", "52/LED2 42 42 42 \\0", "52/LED2 42 42 42 \\0",
                                "52/LED2 42 42 42 \\0", "52/LED3 42 42 42 \\0", "52/LED4 42 42 42 \\0", "52/mode 2\\0"));
        EXPECT_EQ(board.value(node("52/brightness")), "42");
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, FailedModeWriteReportsThatTheModeCouldNotBeSet) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        const std::string modeFd = hex(openedFd(board.journal(), node("52/mode")));
        log.clear();
        board.sandbox().failCalls(node("52/mode"), Call::Write, EBUSY);
        EXPECT_FALSE(face.setValue(100, false));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "refreshMode", 3, EBUSY, "Failed to write '2' to proc entry " + modeFd},
                                Expected{kSource, "update", 3, 0, "Could not set mode for led WLED"},
                                Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
        // A failed refresh in service is logged and service still succeeds; the next minute retries.
        ASSERT_TRUE(face.setValue(0, false));
        log.clear();
        board.sandbox().clearJournal();
        board.sandbox().shortWrite(node("52/mode"), 1);
        board.advanceMs(60001);
        errno = 0;
        EXPECT_TRUE(face.service());
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "refreshMode", 3, 0, "Failed to write '0' to proc entry " + modeFd}));
        board.advanceMs(60000);
        EXPECT_TRUE(face.service());
        EXPECT_EQ(writes(board.journal()).size(), 1u);
        board.advanceMs(1);
        EXPECT_TRUE(face.service());
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/mode 0\\0", "52/mode 0\\0"));
    });
}

TEST(Ktd2061LedFace, OpenFailuresStopInitialisation) {
    struct Case {
        std::string what;
        std::function<void(SimBoard&)> fault;
        int error;
        long long result;  // what the open of 61/B2 returned
    };
    const Case cases[] = {
        {"missing node", [](SimBoard& b) { b.sandbox().removeAttribute(node("61/B2")); }, EACCES, -1},
        {"open error", [](SimBoard& b) { b.sandbox().failCalls(node("61/B2"), Call::Open, EMFILE); }, EMFILE, -1},
        {"descriptor 0", [](SimBoard& b) { b.sandbox().zeroDescriptor(node("61/B2")); }, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        inFreshProcess([&c] {
            SimBoard board(0xA598);
            c.fault(board);
            LogCapture log;
            Ktd2061LedFace face;
            errno = 0;
            EXPECT_FALSE(face.init("ring"));
            const auto& journal = board.journal();
            // The white module's five nodes, the colour brightness and the colour nodes up to B2.
            const auto openCalls = calls(journal, Call::Open);
            ASSERT_EQ(openCalls.size(), 13u);
            EXPECT_EQ(openCalls.back().path, node("61/B2"));
            EXPECT_EQ(openCalls.back().result, c.result);
            const auto closes = calls(journal, Call::Close);
            if (c.result == 0) {
                // Descriptor 0 counts as a failed open, but the face opened it: it is closed at once.
                ASSERT_EQ(closes.size(), 1u);
                EXPECT_EQ(closes[0].fd, 0);
                EXPECT_EQ(closes[0].result, 0);
                EXPECT_EQ(journal.back().call, Call::Close);
            } else {
                EXPECT_THAT(closes, IsEmpty());
                EXPECT_EQ(journal.back().path, node("61/B2"));
            }
            EXPECT_EQ(board.sandbox().openDescriptors(), 12);
            EXPECT_THAT(writes(journal), IsEmpty());
            const auto& records = log.records();
            ASSERT_EQ(records.size(), 2u + 12u + 2u);
            EXPECT_EQ(records[records.size() - 2],
                      (Expected{kSource, "initSysfs", 3, c.error, "Failed to open proc entry '" + node("61/B2") + "'"}));
            EXPECT_EQ(records.back(), (Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}));
        });
    }
}

TEST(Ktd2061LedFace, InitAgainAfterAFailedOpenClosesWhatTheFailedInitOpened) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        board.sandbox().failCalls(node("61/B2"), Call::Open, EMFILE);
        LogCapture log;
        Ktd2061LedFace face;
        EXPECT_FALSE(face.init("ring"));
        ASSERT_EQ(board.sandbox().openDescriptors(), 12);
        std::vector<int> firstFds;
        for (const JournalEntry& open : calls(board.journal(), Call::Open)) {
            if (open.result > 0) firstFds.push_back(static_cast<int>(open.result));
        }
        ASSERT_EQ(firstFds.size(), 12u);
        board.sandbox().clearJournal();
        log.clear();

        // The fault is gone: the second init closes the twelve descriptors of the first before it
        // opens every node again, and writes the ring dark.
        EXPECT_TRUE(face.init("ring"));
        const auto& journal = board.journal();
        const auto closes = calls(journal, Call::Close);
        ASSERT_EQ(closes.size(), 12u);
        for (size_t k = 0; k < closes.size(); ++k) {
            EXPECT_EQ(closes[k].fd, firstFds[k]) << k;
            EXPECT_EQ(closes[k].result, 0) << k;
        }
        EXPECT_EQ(journal.front().call, Call::Close);
        EXPECT_EQ(calls(journal, Call::Open).size(), 18u);
        EXPECT_EQ(board.sandbox().openDescriptors(), 18);
        EXPECT_THAT(writes(journal), ElementsAreArray(kA598DarkWrites));
        EXPECT_EQ(log.records().size(), 2u + 18u);
    });
}

TEST(Ktd2061LedFace, MissingDriverDirectoryFailsWithNoSuchFile) {
    inFreshProcess([] {
        // The KTD2061 is not probed: its class devices do not exist.
        orva::sim::BoardProfile profile = orva::sim::BoardProfile::load(0xA5A4);
        auto& attributes = profile.attributes;
        attributes.erase(std::remove_if(attributes.begin(), attributes.end(),
                                        [](const auto& a) { return a.path.rfind(node("61/"), 0) == 0; }),
                         attributes.end());
        SimBoard board(profile);
        LogCapture log;
        Ktd2061LedFace face;
        EXPECT_FALSE(face.init("ring"));
        const auto& records = log.records();
        ASSERT_GE(records.size(), 2u);
        EXPECT_EQ(records[records.size() - 2], (Expected{kSource, "initSysfs", 3, ENOENT,
                                                         "Failed to open proc entry '/sys/class/leds/ktd2061/brightness'"}));
    });
}

TEST(Ktd2061LedFace, InterruptedOpensAreRepeated) {
    inFreshProcess([] {
        SimBoard board(0xA575);
        board.sandbox().failCalls(node("61/A3"), Call::Open, EINTR, 2);
        LogCapture log;
        Ktd2061LedFace face;
        EXPECT_TRUE(face.init("ring"));
        EXPECT_EQ(calls(board.journal(), Call::Open).size(), 11u);
        EXPECT_EQ(log.records().size(), 2u + 9u);
    });
}

TEST(Ktd2061LedFace, ASecondFaceRebuildsTheTableWithoutKeepingTheOldDescriptors) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace first;
        ASSERT_TRUE(first.init("ring"));
        ASSERT_TRUE(first.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(first.setValue(100, false));
        EXPECT_EQ(board.sandbox().openDescriptors(), 18);
        board.sandbox().clearJournal();
        Ktd2061LedFace second;
        ASSERT_TRUE(second.init("ring"));
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), 18u);
        EXPECT_EQ(calls(board.journal(), Call::Open).size(), 18u);
        EXPECT_EQ(board.sandbox().openDescriptors(), 18);
        // The rebuilt table starts dark and is written dark.
        EXPECT_THAT(writes(board.journal()), ElementsAreArray(kA598DarkWrites));
        // The last value is shared: the first face's value is the second's.
        int value = 0;
        EXPECT_TRUE(second.readValue(value));
        EXPECT_EQ(value, 99);
        // Both faces draw through the one table.
        EXPECT_TRUE(first.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        EXPECT_EQ(colourRing(board, kA598), "BBBBBBBBBBBB");
    });
}

TEST(Ktd2061LedFace, DestroyingTheFaceKeepsTheNodesOpen) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        {
            Ktd2061LedFace face;
            ASSERT_TRUE(face.init("ring"));
        }
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), 0u);
        EXPECT_EQ(board.sandbox().openDescriptors(), 19);
    });
}

TEST(Ktd2061LedFace, DamagedPatternTextIsWrittenAgainInsteadOfEndingTheProcess) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        ProbedKtd face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        log.clear();
        board.sandbox().clearJournal();
        char(&text)[4] = ProbedKtd::sysfsConfig.module[1].pattern.vals[3].pattern;
        text[1] = 'x';
        EXPECT_TRUE(face.update(false));
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/C3 100\\0"));
        EXPECT_STREQ(text, "100");
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "update", 4, 0,
                                                        "Stored pattern of " + node("61/C3") +
                                                            " is damaged, writing it again"}));
        // Healed: nothing more to write.
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.update(false));
        EXPECT_THAT(board.journal(), IsEmpty());
        // Text without its NUL: unknown as well. The node is written with the pattern it must hold,
        // even where that pattern is what the damaged text seems to say.
        char(&white)[4] = ProbedKtd::sysfsConfig.module[0].pattern.vals[0].pattern;
        memcpy(white, "0000", 4);
        log.clear();
        EXPECT_TRUE(face.update(false));
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/LED1 0 0 0 \\0"));
        EXPECT_STREQ(white, "000");
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "update", 4, 0,
                                                        "Stored pattern of " + node("52/LED1") +
                                                            " is damaged, writing it again"}));
        // A failed rewrite keeps the text damaged: the next update warns and writes again.
        white[0] = '\xff';
        board.sandbox().failCalls(node("52/LED1"), Call::Write, EIO);
        board.sandbox().clearJournal();
        log.clear();
        EXPECT_FALSE(face.update(false));
        EXPECT_EQ(white[0], '\xff');
        const auto attempts = calls(board.journal(), Call::Write);
        ASSERT_EQ(attempts.size(), 1u);
        EXPECT_EQ(attempts[0].path, node("52/LED1"));
        const std::string led1Fd = hex(attempts[0].fd);
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "update", 4, 0,
                                         "Stored pattern of " + node("52/LED1") + " is damaged, writing it again"},
                                Expected{kSource, "update", 3, EIO, "Failed to write '0 0 0 ' to proc entry " + led1Fd}));
        board.sandbox().clearJournal();
        log.clear();
        EXPECT_TRUE(face.update(false));
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/LED1 0 0 0 \\0"));
        EXPECT_STREQ(white, "000");
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "update", 4, 0,
                                                        "Stored pattern of " + node("52/LED1") +
                                                            " is damaged, writing it again"}));
    });
}

TEST(Ktd2061LedFace, AutoModeIsNotImplemented) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        bool enabled = true;
        EXPECT_FALSE(face.writeAutoMode());
        EXPECT_FALSE(face.readAutoMode(enabled));
        EXPECT_TRUE(enabled);
        EXPECT_FALSE(face.setAutoMode());
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "writeAutoMode", 4, 0, "Function writeAutoMode not yet implemented"},
                                Expected{kSource, "readAutoMode", 4, 0, "Function readAutoMode not yet implemented"},
                                Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, SaveReadsTheLastValueAndRestoreWritesIt) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(80, false));
        ASSERT_TRUE(face.save());
        ASSERT_TRUE(face.setValue(10, false));
        board.sandbox().clearJournal();
        EXPECT_TRUE(face.restore());
        EXPECT_EQ(board.value(node("61/brightness")), "79");
        EXPECT_EQ(calls(board.journal(), Call::Read).size(), 0u);
    });
}

TEST(Ktd2061LedFace, SaveOfAFreshFaceReadsTheSharedLastValue) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace first;
        ASSERT_TRUE(first.init("ring"));
        ASSERT_TRUE(first.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(first.setValue(50, false));  // device 99 * 50 / 100 = 49
        LogCapture log;
        Ktd2061LedFace second;
        ASSERT_TRUE(second.init("ring"));
        ASSERT_TRUE(second.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        log.clear();
        // The second face has written no value: save reads the last device value (49, no file is
        // read) and converts it back, 100 * 49 / 99 = 49.
        board.sandbox().clearJournal();
        ASSERT_TRUE(second.save());
        EXPECT_THAT(board.journal(), IsEmpty());
        ASSERT_TRUE(second.setValue(100, false));
        board.sandbox().clearJournal();
        // Restoring user 49 writes device 99 * 49 / 100 = 48 in the second face's colour.
        EXPECT_TRUE(second.restore());
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/brightness 48\\0"));
        EXPECT_EQ(colourRing(board, kA598), "BBBBBBBBBBBB");
        int value = -1;
        EXPECT_TRUE(first.readValue(value));
        EXPECT_EQ(value, 48);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, ColourLed12OfEc70IsGovernedByTheKtd2059Brightness) {
    inFreshProcess([] {
        SimBoard board(0xEC70);
        ProbedKtd face;
        ASSERT_TRUE(face.init("ring"));
        const auto& rgb = ProbedKtd::sysfsConfig.module[1];
        EXPECT_EQ(rgb.brightness.paths[static_cast<size_t>(face.getSysId(rgb, 12))], node("59/brightness"));
        EXPECT_EQ(face.getSysId(rgb, 0), 0);
        EXPECT_EQ(face.getSysId(rgb, 11), 0);
        EXPECT_EQ(face.getSysId(rgb, 12), 1);
        EXPECT_EQ(face.getSysId(rgb, 23), 1);
        EXPECT_EQ(face.getSysId(rgb, 24), 2);
        EXPECT_EQ(face.getSysId(rgb, 35), 2);
        EXPECT_EQ(face.getSysId(ProbedKtd::sysfsConfig.module[0], 35), 0);

        // Each chip's brightness is written after its first LED's pattern.
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_CYAN, BaseLed::COLOR_RED));
        const auto lines = writes(board.journal());
        const std::vector<std::string> tail(lines.end() - 39, lines.end());
        EXPECT_EQ(tail[0], "61/A1 100\\0");
        EXPECT_EQ(tail[1], "61/brightness 99\\0");
        EXPECT_EQ(tail[13], "59/A1 100\\0");
        EXPECT_EQ(tail[14], "59/brightness 99\\0");
        EXPECT_EQ(tail[26], "60/A1 100\\0");
        EXPECT_EQ(tail[27], "60/brightness 99\\0");
        EXPECT_EQ(tail[38], "60/C4 100\\0");
    });
}

TEST(Ktd2061LedFace, ModuleWithoutBrightnessNodesHasNoBrightnessIndex) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        ProbedKtd face;
        Ktd2061LedFace::ktd20xxSysfsConfig_s config;
        const char* const patterns[] = {"61/A1", "61/A2"};
        EXPECT_TRUE(face.initConfig(config, nullptr, 0, patterns, 2, nullptr, 0, nullptr, 0, patterns, 2, nullptr, 0));
        EXPECT_EQ(config.module[0].numLeds, 6);
        EXPECT_EQ(config.module[1].numLeds, 2);
        EXPECT_EQ(config.module[0].pattern.owner, &config.module[0]);
        EXPECT_EQ(config.module[1].brightness.owner, &config.module[1]);
        EXPECT_EQ(face.getSysId(config.module[0], 3), -1);
        EXPECT_EQ(face.getSysId(config.module[1], 1), -1);
        EXPECT_STREQ(config.module[0].typeName, "WLED");
        EXPECT_STREQ(config.module[1].typeName, "RGBLED");
        EXPECT_EQ(config.channelBits[0][0], 1);
        EXPECT_EQ(config.channelBits[0][1], 4);
        EXPECT_EQ(config.channelBits[0][2], 2);
        EXPECT_EQ(config.channelBits[1][0], 4);
        EXPECT_EQ(config.channelBits[1][1], 2);
        EXPECT_EQ(config.channelBits[1][2], 1);
        EXPECT_STREQ(config.module[1].pattern.vals[1].pattern, "000");
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(Ktd2061LedFace, BrokenBrightnessIndexStopsTheUpdate) {
    inFreshProcess([] {
        SimBoard board(0xEC70);
        LogCapture log;
        ProbedKtd face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        // Fewer LEDs than brightness nodes: no LED maps to a node.
        ProbedKtd::sysfsConfig.module[1].numLeds = 2;
        EXPECT_FALSE(face.update(true));
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "update", 3, 0, "RGBLED get brightness sysfs index fail"}));
    });
}

TEST(Ktd2061LedFace, RefreshModeAndAnimationLengthRejectUnknownModules) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        LogCapture log;
        Ktd2061LedFace face;
        signed char len = 7;
        // Before init no module has LEDs.
        EXPECT_FALSE(face.getAnimLen(0, len));
        EXPECT_FALSE(face.getAnimLen(1, len));
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_FALSE(face.getAnimLen(2, len));
        EXPECT_FALSE(face.getAnimLen(255, len));
        EXPECT_EQ(len, 7);
        EXPECT_FALSE(face.refreshMode(2, 5000));
        EXPECT_FALSE(face.refreshMode(-1, 5000));
        EXPECT_TRUE(face.refreshMode(1, 5000));
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_TRUE(face.refreshMode(0, 5000));
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/mode 0\\0"));
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "getAnimLen", 3, 0, "wrong type 2"},
                                               Expected{kSource, "getAnimLen", 3, 0, "wrong type 255"},
                                               Expected{kSource, "refreshMode", 3, 0, "Wrong led type number (2)"},
                                               Expected{kSource, "refreshMode", 3, 0, "Wrong led type number (-1)"}));
    });
}

TEST(Ktd2061LedFace, AnimationLengthWithoutLedsIsAnError) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        LogCapture log;
        Ktd2061LedFace face;
        signed char len = 7;
        EXPECT_FALSE(face.getAnimLen(0, len));
        EXPECT_FALSE(face.getAnimLen(1, len));
        EXPECT_EQ(len, 7);
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "getAnimLen", 3, 0, "error number of WLED : 0"},
                                               Expected{kSource, "getAnimLen", 3, 0, "error number of RGBLED : 0"}));
    });
}

TEST(Ktd2061LedFace, AnimationCallsAreRefusedWhenADerivedFaceHasNoAnimation) {
    inFreshProcess([] {
        struct StillKtd : Ktd2061LedFace {
            bool isAnimSupported() override { return false; }
        };
        SimBoard board(0xA598);
        LogCapture log;
        StillKtd face;
        ASSERT_TRUE(face.init("ring"));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_FALSE(face.setAnimEnable(true));
        EXPECT_FALSE(face.setAnimStep(4));
        EXPECT_EQ(face.readFgAnimColor(), BaseLed::COLOR_NONE);
        EXPECT_FALSE(face.readAnimEnable());
        EXPECT_EQ(face.readAnimStep(), -1);
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setAnimColor", 3, 0, "Not supported"},
                                               Expected{kSource, "setAnimEnable", 3, 0, "Not supported"},
                                               Expected{kSource, "setAnimStep", 3, 0, "Not supported"}));
    });
}
