// The front light of board 0xA533 through the simulator: exact bytes at the kernel boundary.
#include <cerrno>
#include <fcntl.h>

#include "BoardFixture.h"
#include "orva_gpio_utils/LedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const std::string kBrightness = "/sys/class/backlight/3.pwm_bl/brightness";
const std::string kSource = "src/LedFace";
}  // namespace

TEST(LedFace, SetValue100WritesNinetyNineAndNulOnceWithoutReopening) {
    SimBoard board(0xA533);
    LogCapture log;
    {
        LedFace face;
        ASSERT_TRUE(face.init("front"));
        EXPECT_TRUE(face.setValue(100, false));
        EXPECT_TRUE(face.setValue(100, false));  // unchanged: nothing written

        const auto& journal = board.journal();
        ASSERT_EQ(journal.size(), 2u);
        EXPECT_EQ(journal[0].call, Call::Open);
        EXPECT_EQ(journal[0].path, kBrightness);
        EXPECT_EQ(journal[0].flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC);
        EXPECT_EQ(journal[0].mode, 0666u);
        EXPECT_GT(journal[0].result, 0);
        EXPECT_EQ(journal[1].call, Call::Write);
        EXPECT_EQ(journal[1].path, kBrightness);
        EXPECT_EQ(journal[1].fd, journal[0].result);
        EXPECT_EQ(journal[1].offset, 0);
        EXPECT_EQ(journal[1].bytes, withNul("99"));
        EXPECT_EQ(journal[1].result, 3);
        EXPECT_EQ(board.value(kBrightness), "99");
    }
    // The destructor closes the file it kept open.
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].path, kBrightness);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedFace, UserValuesScaleIntoZeroToNinetyNine) {
    SimBoard board(0xA533);
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    const std::pair<int, std::string> cases[] = {{1, "0"}, {2, "1"}, {40, "39"}, {50, "49"}, {0, "0"}, {100, "99"}};
    for (const auto& [user, device] : cases) {
        board.sandbox().clearJournal();
        ASSERT_TRUE(face.setValue(user, false)) << user;
        const auto writes = calls(board.journal(), Call::Write);
        ASSERT_EQ(writes.size(), 1u) << user;
        EXPECT_EQ(writes[0].bytes, withNul(device)) << user;
    }
}

TEST(LedFace, BrightnessReappliesTheValue) {
    SimBoard board(0xA533);
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    ASSERT_TRUE(face.setValue(80, false));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setBrightness(50));  // (99 * ((50 * 80) / 100)) / 100 = 39
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0].bytes, withNul("39"));
}

TEST(LedFace, OtherBoardsHaveNoFrontLight) {
    SimBoard board(0xA5A4);
    LogCapture log;
    {
        LedFace face;
        ASSERT_TRUE(face.init("front"));
        EXPECT_FALSE(face.exists());
        EXPECT_TRUE(face.setValue(40, false));
        EXPECT_TRUE(face.setBoolean(true));
        EXPECT_TRUE(face.setBrightness(10));
        EXPECT_TRUE(face.save());
        EXPECT_TRUE(face.restore());
        EXPECT_TRUE(calls(board.journal(), Call::Open).empty());
        EXPECT_TRUE(calls(board.journal(), Call::Write).empty());
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedFace, NeverInitialisedFaceClosesDescriptorZero) {
    SimBoard board(0xA533);
    { LedFace face; }
    const auto& journal = board.journal();
    ASSERT_EQ(journal.size(), 1u);
    EXPECT_EQ(journal[0].call, Call::Close);
    EXPECT_EQ(journal[0].fd, 0);
}

TEST(LedFace, ReadValueReturnsTheNumberAsStored) {
    SimBoard board(0xA533);
    board.sandbox().setValue(kBrightness, "250");
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    int value = -7;
    ASSERT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 250);  // no range check
    const auto reads = calls(board.journal(), Call::Read);
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_EQ(reads[0].count, 15u);
    EXPECT_EQ(reads[0].offset, 0);
    EXPECT_EQ(reads[0].bytes, "250\n");
}

TEST(LedFace, SaveReadsTheHardwareAndRestoreWritesItBack) {
    SimBoard board(0xA533);
    board.sandbox().setValue(kBrightness, "49");
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    ASSERT_TRUE(face.save());  // 49 of 0..99 is user 49
    ASSERT_TRUE(face.setValue(100, false));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.restore());
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0].bytes, withNul("48"));  // (99 * 49) / 100
}

TEST(LedFace, AutoModeIsNotSupported) {
    SimBoard board(0xA533);
    LedFace face;
    ASSERT_TRUE(face.init("front"));
    LogCapture log;
    bool enabled = true;
    EXPECT_FALSE(face.writeAutoMode());
    EXPECT_FALSE(face.readAutoMode(enabled));
    EXPECT_FALSE(face.setAutoMode());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"},
                                           Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
    EXPECT_FALSE(face.hasAutoMode());
    EXPECT_FALSE(face.isBinary());
    EXPECT_FALSE(face.isManagedByMcu());
    EXPECT_EQ(face.rangeMin(), 0);
    EXPECT_EQ(face.rangeMax(), 99);
}

TEST(LedFace, MissingBrightnessFileFailsInit) {
    SimBoard board(0xA533);
    board.sandbox().removeAttribute(kBrightness);
    LogCapture log;
    LedFace face;
    EXPECT_FALSE(face.init("front"));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + kBrightness + "'"},
                            Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(opens[0].error, EACCES);  // sysfs: missing attribute in an existing directory
    log.clear();
    EXPECT_FALSE(face.setValue(10, false));  // still not initialised
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
}
