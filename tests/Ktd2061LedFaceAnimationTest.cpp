// The running-light animation of the KTD20xx rings: the segment length from the density, one LED
// further per step, the background on the LEDs the segment leaves dark, frame by frame as the nodes
// hold it, and the writes each step costs. Every case runs in a child process.
#include <cstdint>
#include <memory>
#include <vector>

#include "AllocationCounter.h"
#include "Ktd2061LedFaceTestSupport.h"

using namespace orva::test;
using namespace orva::test::ktd;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The ring with len LEDs of fg from LED pos on (wrapping), the rest bg.
std::string segment(size_t count, size_t pos, size_t len, char fg, char bg) {
    std::string ring(count, bg);
    for (size_t k = 0; k < len; ++k) ring[(pos + k) % count] = fg;
    return ring;
}

// An initialised face with animation colours and density set and the journal cleared.
void startAnimation(SimBoard& board, Ktd2061LedFace& face, BaseLed::Color fg, BaseLed::Color bg, int density,
                    LogCapture* log = nullptr) {
    ASSERT_TRUE(face.init("ring"));
    if (log != nullptr) log->clear();
    ASSERT_TRUE(face.setAnimColor(fg, bg));
    ASSERT_TRUE(face.setAnimDensity(density));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setAnimEnable(true));
    EXPECT_THAT(board.journal(), IsEmpty());  // switching on draws nothing
}

}  // namespace

TEST(Ktd2061LedFaceAnimation, RedSegmentOverBlueMovesOneLedPerStepOnA598) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE, 50, &log);
        // 12 LEDs: density 50 / (100 / 11) = 5 red LEDs. The first step moves the segment to LED 1.
        ASSERT_TRUE(face.setAnimStep(0));
        EXPECT_EQ(colourRing(board, kA598), "BRRRRRBBBBBB");
        EXPECT_THAT(writes(board.journal()),
                    ElementsAre("61/C2 001\\0", "61/brightness 99\\0", "61/C1 100\\0", "61/C4 100\\0", "61/C3 100\\0",
                                "61/B4 100\\0", "61/B3 100\\0", "61/B2 001\\0", "61/B1 001\\0", "61/A4 001\\0",
                                "61/A3 001\\0", "61/A2 001\\0", "61/A1 001\\0"));
        // Next step: LED 1 (node C1) turns blue and LED 6 (node B2) red, nothing else is written.
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kA598), "BBRRRRRBBBBB");
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/C1 001\\0", "61/B2 100\\0"));
        // Round the ring: the segment wraps from LED 11 to LED 0.
        for (int step = 2; step <= 7; ++step) ASSERT_TRUE(face.setAnimStep(step));
        EXPECT_EQ(colourRing(board, kA598), "RBBBBBBBRRRR");
        for (int step = 8; step <= 11; ++step) ASSERT_TRUE(face.setAnimStep(step));
        EXPECT_EQ(colourRing(board, kA598), "RRRRRBBBBBBB");
        EXPECT_EQ(whiteRing(board, kA598), "............");
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFaceAnimation, FullRunsAtDensity0_50_100OnEveryBoard) {
    struct Case {
        Board layout;
        int density;
        size_t len;  // worked out by hand: density / (100 / (LEDs - 1)), kept within 1..LEDs - 1
    };
    const Case cases[] = {
        {kA575, 0, 1},  {kA575, 50, 2},  {kA575, 100, 4},   // 5 LEDs: step 25
        {kA598, 0, 1},  {kA598, 50, 5},  {kA598, 100, 11},  // 12 LEDs: step 9
        {kA5A4, 0, 1},  {kA5A4, 50, 5},  {kA5A4, 100, 11},
        {kA5A6, 0, 1},  {kA5A6, 50, 5},  {kA5A6, 100, 11},
        {kEc70, 0, 1},  {kEc70, 50, 25}, {kEc70, 100, 35},  // 36 LEDs: step 2
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.layout.sysid) + " density " + std::to_string(c.density));
        inFreshProcess([&c] {
            SimBoard board(c.layout.sysid);
            LogCapture log;
            Ktd2061LedFace face;
            startAnimation(board, face, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE, c.density, &log);
            const size_t count = c.layout.rgbPattern.size();
            ASSERT_TRUE(face.setAnimStep(100));
            EXPECT_EQ(colourRing(board, c.layout), segment(count, 1, c.len, 'G', 'B'));
            for (size_t frame = 2; frame <= count + 2; ++frame) {
                board.sandbox().clearJournal();
                ASSERT_TRUE(face.setAnimStep(static_cast<int>(100 + frame)));
                ASSERT_EQ(colourRing(board, c.layout), segment(count, frame % count, c.len, 'G', 'B')) << frame;
                // The LED the segment leaves turns blue, the LED it reaches turns green.
                EXPECT_EQ(writes(board.journal()).size(), 2u) << frame;
            }
            EXPECT_THAT(log.records(), IsEmpty());
        });
    }
}

TEST(Ktd2061LedFaceAnimation, DensityZeroLightsOneLedAndDensity100LeavesOneDark) {
    inFreshProcess([] {
        SimBoard board(0xEC70);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_RED, BaseLed::COLOR_BLACK, 0);
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kEc70), "." + std::string("R") + std::string(34, '.'));
        ASSERT_TRUE(face.setAnimDensity(100));
        ASSERT_TRUE(face.setAnimStep(2));
        EXPECT_EQ(colourRing(board, kEc70), "R." + std::string(34, 'R'));
        // Out-of-range densities stay within the ring as well.
        ASSERT_TRUE(face.setAnimDensity(-5));
        ASSERT_TRUE(face.setAnimStep(3));
        EXPECT_EQ(colourRing(board, kEc70), "...R" + std::string(32, '.'));
        ASSERT_TRUE(face.setAnimDensity(INT32_MAX));
        ASSERT_TRUE(face.setAnimStep(4));
        EXPECT_EQ(colourRing(board, kEc70), "RRR." + std::string(32, 'R'));
        EXPECT_EQ(colourRing(board, kEc70), segment(36, 4, 35, 'R', '.'));
    });
}

TEST(Ktd2061LedFaceAnimation, A575WhiteRingOfSixTakesTwoLedsAtDensity50) {
    inFreshProcess([] {
        SimBoard board(0xA575);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK, 50);
        // 6 white LEDs: 50 / (100 / 5) = 2. LEDs 1 and 2 are bits 2 and 1 of node C1.
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(whiteRing(board, kA575), ".ww...");
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/C1 110\\0", "61/brightness 99\\0"));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(2));
        EXPECT_EQ(whiteRing(board, kA575), "..ww..");
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/C1 010\\0", "61/C2 001\\0"));
        for (int step = 3; step <= 5; ++step) ASSERT_TRUE(face.setAnimStep(step));
        EXPECT_EQ(whiteRing(board, kA575), "w....w");
        ASSERT_TRUE(face.setAnimStep(6));
        EXPECT_EQ(whiteRing(board, kA575), "ww....");
        EXPECT_EQ(colourRing(board, kA575), ".....");
    });
}

TEST(Ktd2061LedFaceAnimation, Ktd2052WhiteNodesGetALevelPerLitChannel) {
    inFreshProcess([] {
        SimBoard board(0xA5A6);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK, 0);
        // One lit LED. LED 1 is bit 2 of LED1's node: levels are written bit 0 first.
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/LED1 0 0 99 \\0", "52/brightness 99\\0", "52/mode 2\\0"));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(2));  // LED 2: bit 1
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/LED1 0 99 0 \\0"));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(3));  // LED 3: bit 0 of the second node
        EXPECT_THAT(writes(board.journal()), ElementsAre("52/LED1 0 0 0 \\0", "52/LED2 99 0 0 \\0"));
        EXPECT_EQ(whiteRing(board, kA5A6), "...w........");
    });
}

TEST(Ktd2061LedFaceAnimation, WhiteSegmentOverColourBackgroundUsesBothModules) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_WHITE, BaseLed::COLOR_RED, 50);
        ASSERT_TRUE(face.setAnimStep(1));
        // White LEDs 1-5 lit; red on the colour LEDs the segment leaves dark (6-11 and 0).
        EXPECT_EQ(whiteRing(board, kA598), ".wwwww......");
        EXPECT_EQ(colourRing(board, kA598), "R.....RRRRRR");
        EXPECT_EQ(board.value(node("52/LED1")), "0 99 99 ");
        EXPECT_EQ(board.value(node("52/LED2")), "99 99 99 ");
        EXPECT_EQ(board.value(node("52/LED3")), "0 0 0 ");
        EXPECT_EQ(board.value(node("52/brightness")), "99");
        EXPECT_EQ(board.value(node("61/brightness")), "99");
        for (int step = 2; step <= 10; ++step) ASSERT_TRUE(face.setAnimStep(step));
        EXPECT_EQ(whiteRing(board, kA598), segment(12, 10, 5, 'w', '.'));
        EXPECT_EQ(colourRing(board, kA598), segment(12, 3, 7, 'R', '.'));
    });
}

TEST(Ktd2061LedFaceAnimation, ColourSegmentOverWhiteBackground) {
    inFreshProcess([] {
        SimBoard board(0xA5A4);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE, 100);
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kA5A4), ".BBBBBBBBBBB");
        EXPECT_EQ(whiteRing(board, kA5A4), "w...........");
        EXPECT_EQ(board.value(node("52/mode")), "2");
    });
}

TEST(Ktd2061LedFaceAnimation, EveryChangedStepMovesForwardWhateverItsNumber) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_RED, BaseLed::COLOR_BLACK, 0);
        ASSERT_TRUE(face.setAnimStep(5));
        ASSERT_TRUE(face.setAnimStep(4));
        ASSERT_TRUE(face.setAnimStep(3));
        EXPECT_EQ(colourRing(board, kA598), "...R........");
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(3));  // unchanged: no move, nothing written
        EXPECT_THAT(board.journal(), IsEmpty());
        ASSERT_TRUE(face.setAnimStep(INT32_MIN));
        ASSERT_TRUE(face.setAnimStep(INT32_MAX));
        EXPECT_EQ(colourRing(board, kA598), ".....R......");
        EXPECT_EQ(face.readAnimStep(), INT32_MAX);
    });
}

TEST(Ktd2061LedFaceAnimation, StepsDrawEvenWithTheAnimationSwitchedOff) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        ASSERT_FALSE(face.readAnimEnable());
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kA598), ".G..........");
    });
}

TEST(Ktd2061LedFaceAnimation, SwitchingOffRestoresTheStillPicture) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE));
        ASSERT_TRUE(face.setValue(50, false));
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setAnimDensity(50));
        ASSERT_TRUE(face.setAnimEnable(true));
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kA598), ".RRRRR......");
        EXPECT_EQ(board.value(node("61/brightness")), "99");
        ASSERT_TRUE(face.setAnimEnable(false));
        EXPECT_EQ(colourRing(board, kA598), "GGGGGGGGGGGG");
        EXPECT_EQ(board.value(node("61/brightness")), "49");
        // Off while dark shows the background at 99.
        ASSERT_TRUE(face.setValue(0, false));
        ASSERT_TRUE(face.setAnimEnable(true));
        ASSERT_TRUE(face.setAnimStep(2));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimEnable(false));
        EXPECT_EQ(colourRing(board, kA598), "BBBBBBBBBBBB");
        EXPECT_EQ(board.value(node("61/brightness")), "99");
        // Already off: nothing to redraw.
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimEnable(false));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(Ktd2061LedFaceAnimation, Ec70StepWritesOnlyTheTwoNodesThatChange) {
    inFreshProcess([] {
        SimBoard board(0xEC70);
        LogCapture log;
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE, 50, &log);
        ASSERT_TRUE(face.setAnimStep(1));
        // 36 LEDs, 25 red from LED 1 on.
        EXPECT_EQ(colourRing(board, kEc70), segment(36, 1, 25, 'R', 'B'));
        // Step to LED 2: LED 1 (61/A2) turns blue, LED 26 (60/A3) red; no brightness, no mode.
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(2));
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/A2 001\\0", "60/A3 100\\0"));
        for (int step = 3; step < 3 + 40; ++step) {
            board.sandbox().clearJournal();
            size_t allocations;
            {
                AllocationScope scope;
                ASSERT_TRUE(face.setAnimStep(step));
                allocations = scope.count();
            }
            const std::vector<JournalEntry> made = board.journal();
            EXPECT_EQ(calls(made, Call::Write).size(), 2u) << step;
            EXPECT_EQ(made.size(), 2u) << step;
            // Nothing beyond what the simulator spends journaling the two writes.
            EXPECT_EQ(allocations, simulatorCost(made)) << step;
        }
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(Ktd2061LedFaceAnimation, DefaultAnimationColoursDrawADarkRing) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        Ktd2061LedFace face;
        ASSERT_TRUE(face.init("ring"));
        ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(face.setValue(100, false));
        ASSERT_TRUE(face.setAnimStep(1));
        EXPECT_EQ(colourRing(board, kA598), "............");
        EXPECT_EQ(board.value(node("61/brightness")), "0");
    });
}

TEST(Ktd2061LedFaceAnimation, StepBeforeInitDrawsNothing) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        ASSERT_TRUE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_TRUE(face.setAnimStep(1));
        // The background is drawn at once, but no channel exists yet to draw it on.
        EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "updateAllLeds", 4, 0, "Not supported color 4"}));
    });
}

TEST(Ktd2061LedFaceAnimation, FailedStepWriteIsLoggedAndTheNextStepCatchesUp) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        LogCapture log;
        Ktd2061LedFace face;
        startAnimation(board, face, BaseLed::COLOR_RED, BaseLed::COLOR_BLACK, 0, &log);
        ASSERT_TRUE(face.setAnimStep(1));
        board.sandbox().failCalls(node("61/C4"), Call::Write, EIO);
        board.sandbox().clearJournal();
        EXPECT_FALSE(face.setAnimStep(2));  // LED 1 goes dark, LED 2 (C4) fails
        EXPECT_EQ(colourRing(board, kA598), "............");
        const auto attempts = calls(board.journal(), Call::Write);
        ASSERT_EQ(attempts.size(), 2u);
        EXPECT_EQ(attempts[1].path, node("61/C4"));
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "update", 3, EIO,
                                                        "Failed to write '100' to proc entry " + hex(attempts[1].fd)}));
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setAnimStep(3));
        EXPECT_EQ(colourRing(board, kA598), "...R........");
        EXPECT_THAT(writes(board.journal()), ElementsAre("61/C3 100\\0"));
    });
}

TEST(Ktd2061LedFaceAnimation, SegmentFillWrapsFromAnyStartAndKeepsBytes) {
    inFreshProcess([] {
        Ktd2061LedFace face;
        Ktd2061LedFace::LedsState state;
        state.len = 5;
        state.val = 0;
        state.vals = std::make_unique<uint8_t[]>(5);
        auto levels = [&state] {
            std::vector<int> all;
            for (int i = 0; i < state.len; ++i) all.push_back(state.vals[i]);
            return all;
        };
        // From LED 3, two LEDs: 3 and 4.
        EXPECT_TRUE(face.updatePosVals(state, 99, 3, 2));
        EXPECT_EQ(levels(), (std::vector<int>{0, 0, 0, 99, 99}));
        EXPECT_EQ(state.val, 99);
        // Wrapping past the end: 4, 0, 1.
        EXPECT_TRUE(face.updatePosVals(state, 50, 4, 3));
        EXPECT_EQ(levels(), (std::vector<int>{50, 50, 0, 0, 50}));
        // A start beyond the ring or before it lands on the ring.
        EXPECT_TRUE(face.updatePosVals(state, 7, 7, 1));
        EXPECT_EQ(levels(), (std::vector<int>{0, 0, 7, 0, 0}));
        EXPECT_TRUE(face.updatePosVals(state, 7, -1, 2));
        EXPECT_EQ(levels(), (std::vector<int>{7, 0, 0, 0, 7}));
        // More than the ring lights all of it; none or a negative count darkens it.
        EXPECT_TRUE(face.updatePosVals(state, 1, 0, 100));
        EXPECT_EQ(levels(), (std::vector<int>{1, 1, 1, 1, 1}));
        EXPECT_TRUE(face.updatePosVals(state, 1, 0, -3));
        EXPECT_EQ(levels(), (std::vector<int>{0, 0, 0, 0, 0}));
        // Levels are bytes: 300 is 44.
        EXPECT_TRUE(face.updateVals(300, state));
        EXPECT_EQ(levels(), (std::vector<int>{44, 44, 44, 44, 44}));
        EXPECT_EQ(state.val, 44);
        // An empty channel has nothing to fill.
        Ktd2061LedFace::LedsState empty{};
        EXPECT_TRUE(face.updatePosVals(empty, 99, 3, 2));
        EXPECT_TRUE(face.updateVals(99, empty));
        EXPECT_EQ(empty.val, 99);
    });
}

TEST(Ktd2061LedFaceAnimation, NegativeNodeCountsBuildAnEmptyModule) {
    inFreshProcess([] {
        Ktd2061LedFace face;
        Ktd2061LedFace::ktd20xxSysfsConfig_s config;
        const char* const names[] = {"61/A1"};
        EXPECT_TRUE(face.initConfig(config, names, -1, names, -128, names, -5, names, 1, names, -1, names, -1));
        EXPECT_EQ(config.module[0].brightness.num, 0);
        EXPECT_EQ(config.module[0].pattern.num, 0);
        EXPECT_EQ(config.module[0].numLeds, 0);
        EXPECT_EQ(config.module[1].brightness.num, 1);
        EXPECT_EQ(config.module[1].numLeds, 0);
        EXPECT_EQ(face.getSysId(config.module[1], 0), -1);
    });
}

TEST(Ktd2061LedFaceAnimation, RebuildingTheTableStartsBothSegmentsAtLedZeroAgain) {
    inFreshProcess([] {
        SimBoard board(0xA598);
        ProbedKtd first;
        startAnimation(board, first, BaseLed::COLOR_WHITE, BaseLed::COLOR_RED, 0);
        for (int step = 1; step <= 5; ++step) ASSERT_TRUE(first.setAnimStep(step));
        EXPECT_EQ(whiteRing(board, kA598), ".....w......");
        EXPECT_EQ(colourRing(board, kA598), "RRRRR.RRRRRR");
        EXPECT_EQ(ProbedKtd::sysfsConfig.animPos[0], 5);
        EXPECT_EQ(ProbedKtd::sysfsConfig.animPos[1], 5);

        // A second face builds the table again: both positions are back at 0, so its first step
        // draws the segment at LED 1.
        ProbedKtd second;
        startAnimation(board, second, BaseLed::COLOR_WHITE, BaseLed::COLOR_RED, 0);
        EXPECT_EQ(ProbedKtd::sysfsConfig.animPos[0], 0);
        EXPECT_EQ(ProbedKtd::sysfsConfig.animPos[1], 0);
        ASSERT_TRUE(second.setAnimStep(1));
        EXPECT_EQ(whiteRing(board, kA598), ".w..........");
        EXPECT_EQ(colourRing(board, kA598), "R.RRRRRRRRRR");
        // 52/LED1: LED 1 is bit 2 (levels bit 0 first); the colour ring's LED 1 is node C1.
        EXPECT_EQ(board.value(node("52/LED1")), "0 0 99 ");
        EXPECT_EQ(board.value(node("61/C1")), "000");
        EXPECT_EQ(board.value(node("61/C2")), "100");
    });
}

TEST(Ktd2061LedFaceAnimation, LedCountsAreSignedBytesAndLongRingsStillGetASegment) {
    inFreshProcess([] {
        ProbedKtd face;
        auto& config = ProbedKtd::sysfsConfig;
        std::vector<const char*> names(127, "61/A1");
        // 100 white nodes carry 300 LEDs, which a signed byte holds as 44; 43 nodes give 129, held as
        // -127, and such a module has no LED to light.
        EXPECT_TRUE(face.initConfig(config, names.data(), 1, names.data(), 100, nullptr, 0, names.data(), 1,
                                    names.data(), 127, nullptr, 0));
        EXPECT_EQ(config.module[0].numLeds, 44);
        EXPECT_EQ(config.module[1].numLeds, 127);
        EXPECT_EQ(face.getSysId(config.module[0], 43), 0);
        EXPECT_EQ(face.getSysId(config.module[1], 126), 0);
        EXPECT_EQ(face.getSysId(config.module[1], -1), 0);  // -1 / 127 truncates toward zero

        // 127 colour LEDs: 100 / 126 is 0, so the density counts LEDs one for one, within 1..126.
        signed char len = 0;
        ASSERT_TRUE(face.setAnimDensity(50));
        EXPECT_TRUE(face.getAnimLen(1, len));
        EXPECT_EQ(len, 50);
        ASSERT_TRUE(face.setAnimDensity(1000));
        EXPECT_TRUE(face.getAnimLen(1, len));
        EXPECT_EQ(len, 126);
        // 44 white LEDs: 100 / 43 = 2, so density 50 gives 25.
        ASSERT_TRUE(face.setAnimDensity(50));
        EXPECT_TRUE(face.getAnimLen(0, len));
        EXPECT_EQ(len, 25);

        EXPECT_TRUE(face.initConfig(config, names.data(), 1, names.data(), 43, nullptr, 0, names.data(), 1,
                                    names.data(), 1, nullptr, 0));
        EXPECT_EQ(config.module[0].numLeds, -127);
        EXPECT_EQ(face.getSysId(config.module[0], 5), -1);
        LogCapture log;
        EXPECT_FALSE(face.getAnimLen(0, len));
        EXPECT_FALSE(face.getAnimLen(1, len));
        EXPECT_EQ(len, 25);
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "getAnimLen", 3, 0, "error number of WLED : -127"},
                                               Expected{kSource, "getAnimLen", 3, 0, "error number of RGBLED : 1"}));
    });
}
