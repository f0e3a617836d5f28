// The AV colour LED with its single-colour channels through the simulator: the channel files of
// every board, the AV LED files and trigger, value writes and reads, colour changes with the light
// on and off, every failing system call, the descriptors closed at destruction, and the steady-state
// cost of a call.
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <utility>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "AvLedTestSupport.h"
#include "orva/platform.h"
#include "orva_gpio_utils/CompoundLedFace.h"

using namespace orva::test;
using namespace orva::test::av;
using orva::sim::BoardProfile;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/CompoundLedFace";
const std::string kBusBacklight1 = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
const std::string kBusBacklight2 = "/sys/class/backlight/bogus_bus:pwm_bl@2/brightness";
const std::string kKtd1 = "/sys/class/leds/ktd-ch1/brightness";
const std::string kKtd2 = "/sys/class/leds/ktd-ch2/brightness";
const std::string kKtd3 = "/sys/class/leds/ktd-ch3/brightness";
const std::string kKtd4 = "/sys/class/leds/ktd-ch4/brightness";

// CompoundLedFace with its members visible.
class ProbedFace : public CompoundLedFace {
public:
    using CompoundLedFace::brightnessFd;
    using CompoundLedFace::channelFds;
    using CompoundLedFace::colorBgFd;
    using CompoundLedFace::colorFgFd;
    using CompoundLedFace::currentValue_;
    using CompoundLedFace::hasAvLed;
};

using Channels = std::vector<std::pair<BaseLed::Color, std::string>>;

// The channel files of each board, white, red, green, blue, and whether it has the AV LED.
struct Row {
    uint32_t sysid;
    std::string variant;
    bool avLed;
    Channels channels;
};

const Row kRows[] = {
    {0xA573, "", true, {{BaseLed::COLOR_WHITE, kBusBacklight1}, {BaseLed::COLOR_BLUE, kBusBacklight2}}},
    {0xA590, "", true, {{BaseLed::COLOR_WHITE, pwm(3)}, {BaseLed::COLOR_BLUE, pwm(2)}}},
    {0xA592, "", false,
     {{BaseLed::COLOR_WHITE, pwm(7)}, {BaseLed::COLOR_RED, pwm(4)}, {BaseLed::COLOR_GREEN, pwm(5)}, {BaseLed::COLOR_BLUE, pwm(6)}}},
    {0xA59A, "", false,
     {{BaseLed::COLOR_WHITE, pwm(7)}, {BaseLed::COLOR_RED, pwm(4)}, {BaseLed::COLOR_GREEN, pwm(5)}, {BaseLed::COLOR_BLUE, pwm(6)}}},
    {0xA59C, "", false,
     {{BaseLed::COLOR_WHITE, pwm(7)}, {BaseLed::COLOR_RED, pwm(4)}, {BaseLed::COLOR_GREEN, pwm(5)}, {BaseLed::COLOR_BLUE, pwm(6)}}},
    {0xA593, "", false,
     {{BaseLed::COLOR_WHITE, pwm(3)}, {BaseLed::COLOR_RED, pwm(1)}, {BaseLed::COLOR_GREEN, pwm(5)}, {BaseLed::COLOR_BLUE, pwm(2)}}},
    {0xA595, "", true, {{BaseLed::COLOR_WHITE, pwm(3)}, {BaseLed::COLOR_BLUE, pwm(2)}}},
    {0xA595, "ap6256", true, {{BaseLed::COLOR_WHITE, pwm(7)}, {BaseLed::COLOR_BLUE, pwm(6)}}},
    {0xA59B, "", false,
     {{BaseLed::COLOR_WHITE, pwm(4)}, {BaseLed::COLOR_RED, pwm(6)}, {BaseLed::COLOR_GREEN, pwm(7)}, {BaseLed::COLOR_BLUE, pwm(5)}}},
    {0xA5A5, "", false,
     {{BaseLed::COLOR_WHITE, kKtd4}, {BaseLed::COLOR_RED, kKtd2}, {BaseLed::COLOR_GREEN, kKtd3}, {BaseLed::COLOR_BLUE, kKtd1}}},
};

// What a successful initGPIO does on a board with these channels.
std::vector<std::string> initCalls(const Channels& channels, bool avLed) {
    std::vector<std::string> lines;
    for (const auto& channel : channels) {
        lines.push_back(opened(channel.second));
        lines.push_back(wrote(channel.second, "0"));
    }
    if (avLed) {
        for (const std::string& path : {kAvBrightness, kAvColorFg, kAvColorBg, kAvTrigger}) lines.push_back(opened(path));
        lines.push_back(wrote(kAvTrigger, "none"));
        lines.push_back(closed(kAvTrigger));
    }
    return lines;
}

Expected failedOpen(const std::string& path, int error) {
    return Expected{kSource, "initGPIO", 3, error, "Failed to open proc entry '" + path + "'"};
}
Expected failedInit() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected failedWrite(const std::string& function, int error, const std::string& text, int fd) {
    return Expected{kSource, function, 3, error, "Failed to write '" + text + "' to proc entry " + hex(fd)};
}
Expected notSupported(const std::string& function) { return Expected{kSource, function, 3, 0, "Not supported"}; }
Expected ap6203Line() { return Expected{kSource, "initGPIO", 6, 0, "It's Q7-Mini with WiFi AP6203 board"}; }
Expected ap6256Line() { return Expected{kSource, "initGPIO", 6, 0, "It's Q7-Mini with WiFi AP6256 board"}; }

// A 0xA573 face, initialised, with the journal and log cleared.
struct A573 {
    SimBoard board{0xA573};
    LogCapture log;
    ProbedFace face;
    std::vector<JournalEntry> init;  // the journal of init
    A573() {
        EXPECT_TRUE(face.init("av"));
        init = board.journal();
        board.sandbox().clearJournal();
        log.clear();
    }
    std::vector<std::string> journal() const { return described(board.journal()); }
    void clear() {
        board.sandbox().clearJournal();
        log.clear();
    }
    int fd(const std::string& path) const { return openedFd(init, path); }
};

}  // namespace

// ---- construction and fixed answers ----

TEST(CompoundLedFace, ConstructionOpensNothingAndDestructionClosesNothing) {
    SimBoard board(0xA573);
    {
        ProbedFace face;
        EXPECT_EQ(face.brightnessFd, -1);
        EXPECT_EQ(face.colorFgFd, -1);
        EXPECT_EQ(face.colorBgFd, -1);
        EXPECT_FALSE(face.hasAvLed);
        EXPECT_TRUE(face.channelFds.empty());
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(CompoundLedFace, FixedAnswersAndNeitherAnimationNorAutoMode) {
    SimBoard board(0xA573);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    board.sandbox().clearJournal();
    LogCapture log;
    EXPECT_TRUE(face.exists());
    EXPECT_FALSE(face.isBinary());
    EXPECT_FALSE(face.hasAutoMode());
    EXPECT_FALSE(face.isManagedByMcu());
    EXPECT_FALSE(face.isAnimSupported());
    EXPECT_EQ(face.rangeMin(), 0);
    EXPECT_EQ(face.rangeMax(), 99);
    bool enabled = true;
    EXPECT_FALSE(face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_FALSE(face.setAnimDensity(3));
    EXPECT_FALSE(face.setAnimEnable(true));
    EXPECT_FALSE(face.setAnimStep(2));
    EXPECT_FALSE(face.writeAutoMode());
    EXPECT_FALSE(face.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_FALSE(face.setAutoMode());
    EXPECT_THAT(log.records(),
                ElementsAre(notSupported("setAnimColor"), notSupported("setAnimDensity"), notSupported("setAnimEnable"),
                            notSupported("setAnimStep"), notSupported("writeAutoMode"), notSupported("readAutoMode"),
                            Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
    // Nothing is recorded either.
    EXPECT_EQ(face.readFgAnimColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(face.readAnimDensity(), 0);
    EXPECT_FALSE(face.readAnimEnable());
    EXPECT_EQ(face.readAnimStep(), -1);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(CompoundLedFace, DeviceColorNamesWithBlackForMixturesAndAnythingOutOfRange) {
    const std::pair<int, std::string> names[] = {
        {0, "black"},  {1, "black"},  {2, "red"},    {3, "green"},   {4, "blue"},    {5, "yellow"},
        {6, "amber"},  {7, "cyan"},   {8, "magenta"}, {9, "white"},  {10, "black"},  {11, "black"},
        {12, "black"}, {13, "black"}, {14, "black"},  {15, "black"}, {16, "black"},  {17, "black"},
        {255, "black"}, {INT_MAX, "black"}, {-1, "black"}, {INT_MIN, "black"}};
    for (const auto& [value, name] : names) {
        EXPECT_EQ(CompoundLedFace::ColorToDeviceColor(static_cast<BaseLed::Color>(value)), name) << value;
    }
}

// ---- the channel table ----

TEST(CompoundLedFace, EveryBoardOpensItsChannelsDarkThenItsAvLed) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.sysid << " " << row.variant);
        SimBoard board(BoardProfile::load(row.sysid, row.variant));
        LogCapture log;
        {
            ProbedFace face;
            ASSERT_TRUE(face.init("av"));
            EXPECT_THAT(described(board.journal()), ElementsAreArray(initCalls(row.channels, row.avLed)));
            for (const auto& [color, path] : row.channels) {
                EXPECT_EQ(board.value(path), "0") << path;
                EXPECT_TRUE(face.isPwmLed(color)) << path;
                EXPECT_EQ(face.channelFds.at(color), openedFd(board.journal(), path)) << path;
            }
            EXPECT_EQ(face.channelFds.size(), row.channels.size());
            for (int color = 0; color <= 16; ++color) {
                bool listed = false;
                for (const auto& channel : row.channels) listed = listed || channel.first == color;
                EXPECT_EQ(face.isPwmLed(static_cast<BaseLed::Color>(color)), listed) << color;
            }
            EXPECT_EQ(face.hasAvLed, row.avLed);
            if (row.avLed) {
                EXPECT_EQ(face.brightnessFd, openedFd(board.journal(), kAvBrightness));
                EXPECT_EQ(face.colorFgFd, openedFd(board.journal(), kAvColorFg));
                EXPECT_EQ(face.colorBgFd, openedFd(board.journal(), kAvColorBg));
                EXPECT_EQ(board.value(kAvTrigger), "none");
            } else {
                EXPECT_EQ(face.brightnessFd, -1);
                EXPECT_EQ(face.colorFgFd, -1);
                EXPECT_EQ(face.colorBgFd, -1);
            }
            for (const JournalEntry& open : calls(board.journal(), Call::Open)) {
                EXPECT_EQ(open.flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC);
                EXPECT_EQ(open.mode, 0666u);
            }
            if (row.sysid == 0xA595) {
                EXPECT_THAT(log.records(), ElementsAre(row.variant.empty() ? ap6203Line() : ap6256Line()));
            } else {
                EXPECT_THAT(log.records(), IsEmpty());
            }
            board.sandbox().clearJournal();
        }
        // The destructor closes the AV LED files, then the channels in colour order.
        std::vector<std::string> closes;
        if (row.avLed) closes = {closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg)};
        for (const BaseLed::Color color : {BaseLed::COLOR_RED, BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE}) {
            for (const auto& channel : row.channels) {
                if (channel.first == color) closes.push_back(closed(channel.second));
            }
        }
        EXPECT_THAT(described(board.journal()), ElementsAreArray(closes));
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(CompoundLedFace, TheWifiModuleKeyPicksTheChannelsOf0xA595) {
    // The key, not the profile, decides: the AP6203 profile with the key turned false.
    SimBoard board(0xA595);
    CameraInfo::instance()["isMark7sWithAP6203"] = false;
    board.sandbox().addAttribute(pwm(6), "0");
    board.sandbox().addAttribute(pwm(7), "0");
    LogCapture log;
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    EXPECT_THAT(described(board.journal()),
                ElementsAreArray(initCalls({{BaseLed::COLOR_WHITE, pwm(7)}, {BaseLed::COLOR_BLUE, pwm(6)}}, true)));
    EXPECT_THAT(log.records(), ElementsAre(ap6256Line()));
}

TEST(CompoundLedFaceDeathTest, TheWifiModuleKeyOf0xA595IsRequiredAsABool) {
    {
        SimBoard board(0xA595);
        ASSERT_TRUE(CameraInfo::instance().HasKey("isMark7sWithAP6203"));
        SimBoard::fillCameraInfo([] {
            BoardProfile profile = BoardProfile::load(0xA595);
            std::vector<BoardProfile::InfoKey> kept;
            for (const auto& key : profile.info) {
                if (key.key != "isMark7sWithAP6203") kept.push_back(key);
            }
            profile.info = kept;
            return profile;
        }());
        CompoundLedFace face;
        EXPECT_DEATH(face.init("av"), fatalPattern("isMark7sWithAP6203", "Key \"isMark7sWithAP6203\" not available"));
        CameraInfo::instance()["isMark7sWithAP6203"] = 1ULL;
        EXPECT_DEATH(face.init("av"),
                     fatalPattern("isMark7sWithAP6203", "Key \"isMark7sWithAP6203\" has a different type than expected"));
    }
    {
        SimBoard board(0xA573);
        CameraInfo::instance().Free();
        CameraInfo::instance().IsArray(false);
        CompoundLedFace face;
        EXPECT_DEATH(face.init("av"), fatalPattern("sysid", "Key \"sysid\" not available"));
    }
}

TEST(CompoundLedFace, TheKeyIsOnlyReadOn0xA595) {
    SimBoard board(0xA590);
    ASSERT_FALSE(CameraInfo::instance().HasKey("isMark7sWithAP6203"));
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    EXPECT_FALSE(CameraInfo::instance().HasKey("isMark7sWithAP6203"));
}

TEST(CompoundLedFace, BoardsOutsideTheTableHaveNeitherChannelsNorAvLed) {
    for (const uint32_t sysid : {0xA533u, 0xA563u}) {
        SCOPED_TRACE(testing::Message() << std::hex << sysid);
        SimBoard board(sysid);
        LogCapture log;
        {
            ProbedFace face;
            ASSERT_TRUE(face.init("av"));
            EXPECT_FALSE(face.hasAvLed);
            EXPECT_TRUE(face.channelFds.empty());
            int value = -7;
            EXPECT_TRUE(face.readValue(value));
            EXPECT_EQ(value, -7);
            EXPECT_TRUE(face.setValue(100, false));
            EXPECT_TRUE(face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
            EXPECT_TRUE(face.setValue(0, false));
            EXPECT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
            EXPECT_TRUE(face.save());
            EXPECT_TRUE(face.restore());
            EXPECT_EQ(face.readFgColor(), BaseLed::COLOR_RED);
            EXPECT_EQ(face.readBgColor(), BaseLed::COLOR_GREEN);
        }
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    }
}

// ---- values ----

TEST(CompoundLedFace, AValueLightsTheAvLedAndTheForegroundChannelAndDarkensTheBackgroundChannel) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(0, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.clear();
    ASSERT_TRUE(t.face.setValue(50, false));  // (99 * 50) / 100 = 49
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1"), wrote(kBusBacklight2, "49"), wrote(kBusBacklight1, "0")));
    t.clear();
    ASSERT_TRUE(t.face.setValue(0, false));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "0"), wrote(kBusBacklight2, "0"), wrote(kBusBacklight1, "99")));
    EXPECT_EQ(t.board.value(kBusBacklight1), "99");
    EXPECT_EQ(t.board.value(kAvBrightness), "0");
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, TheDarkBackgroundChannelTakesFullAtTheCurrentBrightness) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(0, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(t.face.setBrightness(50));
    t.clear();
    ASSERT_TRUE(t.face.writeValue(0));  // convertUserToGPIO(100) at 50 % = 49
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "0"), wrote(kBusBacklight2, "49")));
    t.clear();
    ASSERT_TRUE(t.face.writeValue(7));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1"), wrote(kBusBacklight2, "0")));
}

TEST(CompoundLedFace, ColoursWithoutChannelsOnlySwitchTheAvLed) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(0, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    t.clear();
    ASSERT_TRUE(t.face.writeValue(99));
    ASSERT_TRUE(t.face.writeValue(0));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1"), wrote(kAvBrightness, "0")));
}

TEST(CompoundLedFace, WithoutAvLedOnlyTheChannelsAreWritten) {
    SimBoard board(0xA592);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setValue(0, false));  // no colour with a channel yet: nothing written
    EXPECT_THAT(described(board.journal()), ElementsAreArray(initCalls(kRows[2].channels, false)));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setValue(100, false));
    ASSERT_TRUE(face.setValue(0, false));
    EXPECT_THAT(described(board.journal()), ElementsAre(wrote(pwm(4), "99"), wrote(pwm(5), "0"), wrote(pwm(4), "0"),
                                                        wrote(pwm(5), "99")));
}

TEST(CompoundLedFace, TheSameChannelForBothColoursEndsDark) {
    SimBoard board(0xA592);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_RED));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.writeValue(60));
    ASSERT_TRUE(face.writeValue(0));
    EXPECT_THAT(described(board.journal()),
                ElementsAre(wrote(pwm(4), "60"), wrote(pwm(4), "0"), wrote(pwm(4), "0"), wrote(pwm(4), "99")));
}

TEST(CompoundLedFace, ReadValueReadsTheForegroundChannelThenTheAvLedThenNothing) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(0, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.board.sandbox().setValue(kBusBacklight2, "42");
    t.board.sandbox().setValue(kAvBrightness, "1");
    t.clear();
    int value = -7;
    ASSERT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 42);
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));  // red has no channel
    t.clear();
    ASSERT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 1);
    EXPECT_THAT(t.journal(), ElementsAre("read " + kAvBrightness + " ->2"));
    const auto reads = calls(t.board.journal(), Call::Read);
    EXPECT_EQ(reads[0].count, 15u);
    EXPECT_EQ(reads[0].bytes, "1\n");
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, WithoutChannelAndAvLedReadValueLeavesTheValueAlone) {
    SimBoard board(0xA592);  // no AV LED: a colour without a channel reads nothing
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_RED));
    board.sandbox().clearJournal();
    int value = -7;
    EXPECT_TRUE(face.readValue(value));
    EXPECT_EQ(value, -7);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(CompoundLedFace, SaveReadsTheForegroundChannelAndRestoreWritesItBack) {
    A573 t;
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_RED));
    t.board.sandbox().setValue(kBusBacklight2, "49");
    t.clear();
    ASSERT_TRUE(t.face.save());  // 49 of 0..99 is user 49
    ASSERT_TRUE(t.face.setValue(100, false));
    t.clear();
    ASSERT_TRUE(t.face.restore());
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1"), wrote(kBusBacklight2, "48")));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, ReadFailuresAreLoggedWithErrnoAndInterruptedReadsRetried) {
    A573 t;
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.board.sandbox().setValue(kBusBacklight2, "17");
    const int fd = t.fd(kBusBacklight2);
    t.clear();
    int value = -7;
    t.board.sandbox().failCalls(kBusBacklight2, Call::Read, EIO);
    EXPECT_FALSE(t.face.readValue(value));
    t.board.sandbox().emptyRead(kBusBacklight2);
    errno = 0;
    EXPECT_FALSE(t.face.readValue(value));
    EXPECT_EQ(value, -7);
    EXPECT_THAT(t.log.records(),
                ElementsAre(Expected{kSource, "readValue", 3, EIO, "Failed to read from proc entry " + hex(fd) + ", num bytes read -1"},
                            Expected{kSource, "readValue", 3, 0, "Failed to read from proc entry " + hex(fd) + ", num bytes read 0"}));
    t.clear();
    t.board.sandbox().failCalls(kBusBacklight2, Call::Read, EINTR, 2);
    EXPECT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 17);
    EXPECT_THAT(t.journal(), ElementsAre("read " + kBusBacklight2 + " !4", "read " + kBusBacklight2 + " !4",
                                         "read " + kBusBacklight2 + " ->3"));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, OfALongTextOnlyTheFirstFifteenBytesAreRead) {
    A573 t;
    t.board.sandbox().setValue(kAvBrightness, "000000000000042999");
    int value = 0;
    ASSERT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 42);
    EXPECT_THAT(t.journal(), ElementsAre("read " + kAvBrightness + " ->15"));
}

TEST(CompoundLedFace, ValueWriteFailuresStopAtOnceAndKeepTheOldValue) {
    const std::string files[] = {kAvBrightness, kBusBacklight2, kBusBacklight1};
    const std::string texts[] = {"1", "99", "0"};
    for (int failing = 0; failing < 3; ++failing) {
        SCOPED_TRACE(files[failing]);
        A573 t;
        ASSERT_TRUE(t.face.setValue(0, false));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
        const int fd = t.fd(files[failing]);
        t.clear();
        t.board.sandbox().failCalls(files[failing], Call::Write, EIO);
        EXPECT_FALSE(t.face.setValue(100, false));
        EXPECT_EQ(t.face.currentValue_, 0);
        std::vector<std::string> expected;
        for (int i = 0; i <= failing; ++i) expected.push_back(wrote(files[i], texts[i]) + (i == failing ? " !5" : ""));
        EXPECT_THAT(t.journal(), ElementsAreArray(expected));
        EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("writeValue", EIO, texts[failing], fd),
                                                 Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
        // A short write fails the same way, with the errno of the last failed call (none).
        t.clear();
        t.board.sandbox().shortWrite(files[failing], 1);
        errno = 0;
        EXPECT_FALSE(t.face.writeValue(99));
        EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("writeValue", 0, texts[failing], fd)));
        // Interrupted writes are repeated with the same bytes.
        t.clear();
        t.board.sandbox().failCalls(files[failing], Call::Write, EINTR, 2);
        EXPECT_TRUE(t.face.setValue(100, false));
        expected.clear();
        for (int i = 0; i < 3; ++i) {
            const int tries = i == failing ? 3 : 1;
            for (int k = 0; k < tries; ++k) expected.push_back(wrote(files[i], texts[i]) + (k + 1 < tries ? " !4" : ""));
        }
        EXPECT_THAT(t.journal(), ElementsAreArray(expected));
        EXPECT_THAT(t.log.records(), IsEmpty());
    }
}

// ---- colours ----

TEST(CompoundLedFace, ColourChangeWithTheLightOnUsesTheChannelWhereThereIsOne) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1")));
    // Red has no channel on this board: the AV LED shows it.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "red"), wrote(kAvColorBg, "black")));
    // Blue has one: the AV LED's foreground goes black and the blue channel takes the value.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"), wrote(kBusBacklight2, "99")));
    // From one channel to another: the old one goes dark first.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(),
                ElementsAre(wrote(kBusBacklight2, "0"), wrote(kAvColorFg, "black"), wrote(kBusBacklight1, "99")));
    // A background with a channel stays dark while the light is on.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLUE));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorBg, "black"), wrote(kBusBacklight2, "0")));
    // Back to a colour without a channel.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_CYAN, BaseLed::COLOR_MAGENTA));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kBusBacklight1, "0"), wrote(kAvColorFg, "cyan"), wrote(kAvColorBg, "magenta")));
    EXPECT_EQ(t.board.value(kAvColorFg), "cyan");
    EXPECT_EQ(t.board.value(kAvColorBg), "magenta");
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, ColourChangeWithTheLightOffLightsTheBackgroundChannel) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(0, false));
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "red"), wrote(kAvColorBg, "black"), wrote(kBusBacklight2, "99")));
    // The background leaves its channel: dark first.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kBusBacklight2, "0"), wrote(kAvColorBg, "green")));
    // A foreground with a channel takes the value 0 while off.
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_GREEN));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"), wrote(kBusBacklight1, "0")));
    // The background channel follows the brightness.
    ASSERT_TRUE(t.face.setBrightness(40));
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLUE));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorBg, "black"), wrote(kBusBacklight2, "39")));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, ColourChangeWithoutAvLedOnlyTouchesChannels) {
    SimBoard board(0xA59B);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    ASSERT_TRUE(face.setValue(80, false));  // (99 * 80) / 100 = 79
    board.sandbox().clearJournal();
    LogCapture log;
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    EXPECT_THAT(described(board.journal()), ElementsAre(wrote(pwm(6), "79"), wrote(pwm(7), "0")));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_GREEN));  // no channel, no AV LED
    EXPECT_THAT(described(board.journal()), ElementsAre(wrote(pwm(6), "0")));
    ASSERT_TRUE(face.setValue(0, false));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_WHITE));
    EXPECT_THAT(described(board.journal()), ElementsAre(wrote(pwm(7), "0"), wrote(pwm(4), "99")));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(CompoundLedFace, WhiteMixturesAreBlackOnTheAvLed) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_RED, BaseLed::COLOR_WHITE_MAGENTA));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"), wrote(kAvColorBg, "black")));
    for (int color = BaseLed::COLOR_WHITE_GREEN; color <= BaseLed::COLOR_WHITE_CYAN; ++color) {
        t.clear();
        ASSERT_TRUE(t.face.setColor(static_cast<BaseLed::Color>(color), BaseLed::COLOR_WHITE_MAGENTA));
        EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"))) << color;
    }
}

TEST(CompoundLedFace, UnchangedColoursWriteNothing) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.clear();
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    EXPECT_THAT(t.board.journal(), IsEmpty());
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_RED));  // foreground unchanged
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorBg, "red")));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, BeforeAnyValueTheColourChangeTakesTheLightAsOff) {
    // The current value is still unknown (-1): the conversion refuses it and yields 0.
    A573 t;
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"), wrote(kBusBacklight2, "0"),
                                         wrote(kAvColorBg, "black"), wrote(kBusBacklight1, "99")));
    EXPECT_THAT(t.log.records(), ElementsAre(Expected{"src/BaseLed", "convertUserToGPIO", 3, 0, "Validation failed, value=-1"}));
}

TEST(CompoundLedFace, InvalidColoursFailAfterTheOldChannelWentDark) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    t.clear();
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kBusBacklight2, "0")));
    EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_BLUE);
    EXPECT_EQ(t.face.readBgColor(), BaseLed::COLOR_BLACK);
    t.clear();
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(16)));
    EXPECT_FALSE(t.face.setColor(static_cast<BaseLed::Color>(INT_MIN), BaseLed::COLOR_RED));
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(INT_MAX)));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kBusBacklight2, "0"), wrote(kBusBacklight2, "0"), wrote(kBusBacklight2, "0")));
    EXPECT_THAT(t.log.records(), IsEmpty());
    EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_MAGENTA, BaseLed::COLOR_BLACK));
}

TEST(CompoundLedFace, AFailedColourWriteStopsAtOnceAndARetryWritesNothing) {
    struct Case {
        std::string failing;
        BaseLed::Color fg;
        BaseLed::Color bg;
        int value;
        std::vector<std::string> before;  // the writes up to and including the failing one
        std::string text;
        bool stored;  // whether BaseLed holds the new colours afterwards
    };
    const Case cases[] = {
        // The old foreground channel going dark (lit): nothing stored.
        {kBusBacklight2, BaseLed::COLOR_RED, BaseLed::COLOR_BLACK, 100, {wrote(kBusBacklight2, "0")}, "0", false},
        // The old background channel going dark (off): nothing stored.
        {kBusBacklight1, BaseLed::COLOR_BLUE, BaseLed::COLOR_RED, 0, {wrote(kBusBacklight1, "0")}, "0", false},
        // The AV LED's foreground name.
        {kAvColorFg, BaseLed::COLOR_GREEN, BaseLed::COLOR_WHITE, 0, {wrote(kAvColorFg, "green")}, "green", true},
        // The new foreground channel.
        {kBusBacklight1, BaseLed::COLOR_WHITE, BaseLed::COLOR_WHITE, 100,
         {wrote(kBusBacklight2, "0"), wrote(kAvColorFg, "black"), wrote(kBusBacklight1, "99")}, "99", true},
        // The AV LED's background name.
        {kAvColorBg, BaseLed::COLOR_BLUE, BaseLed::COLOR_YELLOW, 100, {wrote(kAvColorBg, "yellow")}, "yellow", true},
        // The new background channel.
        {kBusBacklight2, BaseLed::COLOR_RED, BaseLed::COLOR_BLUE, 0,
         {wrote(kBusBacklight1, "0"), wrote(kAvColorFg, "red"), wrote(kAvColorBg, "black"), wrote(kBusBacklight2, "99")},
         "99", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.failing + " " + c.text);
        A573 t;
        // Start from blue on white (both with channels).
        ASSERT_TRUE(t.face.setValue(c.value, false));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
        const int fd = t.fd(c.failing);
        t.clear();
        t.board.sandbox().failCalls(c.failing, Call::Write, EIO);
        EXPECT_FALSE(t.face.setColor(c.fg, c.bg));
        std::vector<std::string> expected = c.before;
        expected.back() += " !5";
        EXPECT_THAT(t.journal(), ElementsAreArray(expected));
        EXPECT_THAT(t.log.records(), ElementsAre(failedWrite(c.failing.find("orva::av") != std::string::npos ? "setAvledColor" : "setColor", EIO,
                                                 c.text, fd)));
        EXPECT_EQ(t.face.readFgColor(), c.stored ? c.fg : BaseLed::COLOR_BLUE);
        EXPECT_EQ(t.face.readBgColor(), c.stored ? c.bg : BaseLed::COLOR_WHITE);
        if (c.stored) {
            t.clear();
            EXPECT_TRUE(t.face.setColor(c.fg, c.bg));
            EXPECT_THAT(t.board.journal(), IsEmpty());
        }
    }
}

TEST(CompoundLedFace, ShortAndInterruptedColourWrites) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    const int fd = t.fd(kAvColorFg);
    t.clear();
    t.board.sandbox().shortWrite(kAvColorFg, 3);
    errno = 0;
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "magenta") + " ->3"));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setAvledColor", 0, "magenta", fd)));
    t.clear();
    t.board.sandbox().failCalls(kAvColorBg, Call::Write, EINTR, 1);
    EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_AMBER));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorBg, "amber") + " !4", wrote(kAvColorBg, "amber")));
    EXPECT_EQ(t.board.value(kAvColorBg), "amber");
    EXPECT_THAT(t.log.records(), IsEmpty());
}

// ---- init failures ----

TEST(CompoundLedFace, EveryFailedOpenStopsInitWithItsErrno) {
    const std::string files[] = {kBusBacklight1, kBusBacklight2, kAvBrightness, kAvColorFg, kAvColorBg, kAvTrigger};
    const auto all = initCalls(kRows[0].channels, true);
    // Index of each file's open in the successful sequence.
    const size_t openAt[] = {0, 2, 4, 5, 6, 7};
    for (size_t failing = 0; failing < 6; ++failing) {
        SCOPED_TRACE(files[failing]);
        SimBoard board(0xA573);
        LogCapture log;
        board.sandbox().failCalls(files[failing], Call::Open, ENODEV);
        {
            CompoundLedFace face;
            EXPECT_FALSE(face.init("av"));
            std::vector<std::string> expected(all.begin(), all.begin() + static_cast<long>(openAt[failing]));
            expected.push_back(opened(files[failing]) + " !19");
            EXPECT_THAT(described(board.journal()), ElementsAreArray(expected));
            EXPECT_THAT(log.records(), ElementsAre(failedOpen(files[failing], ENODEV), failedInit()));
            board.sandbox().clearJournal();
        }
        // What did open stays open until destruction.
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), failing);
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(CompoundLedFace, MissingFilesFailInitAsTheKernelRefusesThem) {
    {
        SimBoard board(0xA573);
        board.sandbox().removeAttribute(kAvColorBg);  // missing attribute: EACCES
        LogCapture log;
        CompoundLedFace face;
        EXPECT_FALSE(face.init("av"));
        EXPECT_THAT(log.records(), ElementsAre(failedOpen(kAvColorBg, EACCES), failedInit()));
    }
    {
        SimBoard board(BoardProfile::load(0xA595, "ap6256"));
        CameraInfo::instance()["isMark7sWithAP6203"] = true;  // wrong key for this hardware: no pwm3 device
        LogCapture log;
        CompoundLedFace face;
        EXPECT_FALSE(face.init("av"));
        EXPECT_THAT(log.records(), ElementsAre(ap6203Line(), failedOpen(pwm(3), ENOENT), failedInit()));
    }
}

TEST(CompoundLedFace, DescriptorZeroIsAFailedOpenWithoutErrnoThatTheDestructorStillCloses) {
    for (const std::string& path : {kBusBacklight2, kAvColorFg, kAvTrigger}) {
        SCOPED_TRACE(path);
        SimBoard board(0xA573);
        LogCapture log;
        board.sandbox().zeroDescriptor(path);
        {
            ProbedFace face;
            errno = EIO;
            EXPECT_FALSE(face.init("av"));
            EXPECT_THAT(log.records(), ElementsAre(failedOpen(path, 0), failedInit()));
            if (path == kBusBacklight2) {
                EXPECT_EQ(face.channelFds.at(BaseLed::COLOR_BLUE), 0);
            }
            if (path == kAvColorFg) {
                EXPECT_EQ(face.colorFgFd, 0);
            }
            board.sandbox().clearJournal();
        }
        const auto closes = described(board.journal());
        if (path == kBusBacklight2) {
            EXPECT_THAT(closes, ElementsAre("close #0", closed(kBusBacklight1)));  // blue before white
        } else if (path == kAvColorFg) {
            EXPECT_THAT(closes, ElementsAre(closed(kAvBrightness), "close #0", closed(kBusBacklight2), closed(kBusBacklight1)));
        } else {
            EXPECT_THAT(closes, ElementsAre(closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg),
                                            closed(kBusBacklight2), closed(kBusBacklight1)));
        }
    }
}

TEST(CompoundLedFace, TriggerDescriptorZeroIsClosedAtOnce) {
    SimBoard board(0xA573);
    LogCapture log;
    board.sandbox().zeroDescriptor(kAvTrigger);
    CompoundLedFace face;
    EXPECT_FALSE(face.init("av"));
    const auto lines = described(board.journal());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], opened(kAvTrigger) + " ->0");
    EXPECT_EQ(lines.back(), "close #0");
}

TEST(CompoundLedFace, FailedDarkWritesAndTriggerWriteStopInit) {
    const std::string files[] = {kBusBacklight1, kBusBacklight2, kAvTrigger};
    const std::string texts[] = {"0", "0", "none"};
    const size_t writeAt[] = {1, 3, 8};
    const auto all = initCalls(kRows[0].channels, true);
    for (size_t failing = 0; failing < 3; ++failing) {
        SCOPED_TRACE(files[failing]);
        SimBoard board(0xA573);
        LogCapture log;
        board.sandbox().failCalls(files[failing], Call::Write, EIO);
        {
            CompoundLedFace face;
            EXPECT_FALSE(face.init("av"));
            std::vector<std::string> expected(all.begin(), all.begin() + static_cast<long>(writeAt[failing]));
            expected.push_back(wrote(files[failing], texts[failing]) + " !5");
            if (files[failing] == kAvTrigger) expected.push_back(closed(kAvTrigger));  // the trigger is never kept
            EXPECT_THAT(described(board.journal()), ElementsAreArray(expected));
            EXPECT_THAT(log.records(),
                        ElementsAre(failedWrite("initGPIO", EIO, texts[failing], openedFd(board.journal(), files[failing])),
                                    failedInit()));
        }
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(CompoundLedFace, InterruptedOpensAndWritesAtInitAreRetried) {
    SimBoard board(0xA590);
    LogCapture log;
    board.sandbox().failCalls(pwm(3), Call::Open, EINTR, 2);
    board.sandbox().failCalls(kAvTrigger, Call::Open, EINTR, 1);
    board.sandbox().failCalls(pwm(2), Call::Write, EINTR, 1);
    board.sandbox().failCalls(kAvTrigger, Call::Write, EINTR, 3);
    CompoundLedFace face;
    EXPECT_TRUE(face.init("av"));
    EXPECT_THAT(described(board.journal()),
                ElementsAre(opened(pwm(3)) + " !4", opened(pwm(3)) + " !4", opened(pwm(3)), wrote(pwm(3), "0"), opened(pwm(2)),
                            wrote(pwm(2), "0") + " !4", wrote(pwm(2), "0"), opened(kAvBrightness), opened(kAvColorFg),
                            opened(kAvColorBg), opened(kAvTrigger) + " !4", opened(kAvTrigger), wrote(kAvTrigger, "none") + " !4",
                            wrote(kAvTrigger, "none") + " !4", wrote(kAvTrigger, "none") + " !4", wrote(kAvTrigger, "none"),
                            closed(kAvTrigger)));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(CompoundLedFace, AShortTriggerWriteStopsInit) {
    SimBoard board(0xA590);
    LogCapture log;
    board.sandbox().shortWrite(kAvTrigger, 2);
    CompoundLedFace face;
    errno = 0;
    EXPECT_FALSE(face.init("av"));
    const auto lines = described(board.journal());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], wrote(kAvTrigger, "none") + " ->2");
    EXPECT_EQ(lines.back(), closed(kAvTrigger));
    EXPECT_THAT(log.records(), ElementsAre(failedWrite("initGPIO", 0, "none", openedFd(board.journal(), kAvTrigger)), failedInit()));
}

// ---- steady state ----

TEST(CompoundLedFace, UnchangedValueAndColoursCostNoCallAndNoAllocation) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(60, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.clear();
    AllocationScope allocations;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(t.face.setValue(60, false));
        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
        EXPECT_TRUE(t.face.setBrightness(100));
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_THAT(t.board.journal(), IsEmpty());
    EXPECT_THAT(t.log.records(), IsEmpty());
}

// A changed value or colour costs its writes and nothing more: no allocation beyond what the
// simulator spends on the same calls.
TEST(CompoundLedFace, ChangesCostExactlyTheirWritesAndNoAllocation) {
    A573 t;
    ASSERT_TRUE(t.face.setValue(100, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_WHITE));
    t.clear();
    size_t cost;
    {
        AllocationScope allocations;
        ASSERT_TRUE(t.face.setValue(60, false));  // 59
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE_BLUE));
        ASSERT_TRUE(t.face.setValue(0, false));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLUE));
        int value = -1;
        ASSERT_TRUE(t.face.readValue(value));
        EXPECT_EQ(value, 0);
        cost = allocations.count();
    }
    const std::vector<JournalEntry> made = t.board.journal();
    EXPECT_THAT(described(made),
                ElementsAre(wrote(kAvBrightness, "1"), wrote(kBusBacklight2, "59"), wrote(kBusBacklight1, "0"),
                            wrote(kBusBacklight2, "0"), wrote(kAvColorFg, "red"), wrote(kAvColorBg, "black"),
                            wrote(kAvBrightness, "0"), wrote(kAvColorFg, "black"), wrote(kBusBacklight1, "0"),
                            wrote(kAvColorBg, "black"), wrote(kBusBacklight2, "99"), "read " + kBusBacklight1 + " ->2"));
    t.board.sandbox().clearJournal();
    EXPECT_EQ(cost, simulatorCost(made));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(CompoundLedFace, ASecondInitGpioClosesWhatTheFirstOpened) {
    SimBoard board(0xA573);
    CompoundLedFace face;
    ASSERT_TRUE(face.init("av"));
    board.sandbox().clearJournal();
    ASSERT_TRUE(face.initGPIO());
    std::vector<std::string> expected = {closed(kBusBacklight2), closed(kBusBacklight1), opened(kBusBacklight1),
                                         wrote(kBusBacklight1, "0"), opened(kBusBacklight2), wrote(kBusBacklight2, "0"),
                                         closed(kAvBrightness), opened(kAvBrightness), closed(kAvColorFg), opened(kAvColorFg),
                                         closed(kAvColorBg), opened(kAvColorBg), opened(kAvTrigger), wrote(kAvTrigger, "none"),
                                         closed(kAvTrigger)};
    EXPECT_THAT(described(board.journal()), ElementsAreArray(expected));
    EXPECT_EQ(board.sandbox().openDescriptors(), 5);
}

TEST(CompoundLedFace, ASecondInitAfterAFailedOneClosesWhatTheFirstOpenedBeforeOpeningAgain) {
    SimBoard board(0xA573);
    LogCapture log;
    board.sandbox().failCalls(kAvColorBg, Call::Open, ENODEV);
    {
        ProbedFace face;
        ASSERT_FALSE(face.init("av"));
        board.sandbox().clearJournal();
        log.clear();
        ASSERT_TRUE(face.init("av"));
        EXPECT_THAT(described(board.journal()),
                    ElementsAre(closed(kBusBacklight2), closed(kBusBacklight1), opened(kBusBacklight1),
                                wrote(kBusBacklight1, "0"), opened(kBusBacklight2), wrote(kBusBacklight2, "0"),
                                closed(kAvBrightness), opened(kAvBrightness), closed(kAvColorFg), opened(kAvColorFg),
                                opened(kAvColorBg), opened(kAvTrigger), wrote(kAvTrigger, "none"), closed(kAvTrigger)));
        EXPECT_EQ(board.sandbox().openDescriptors(), 5);
        EXPECT_EQ(face.colorBgFd, openedFd(board.journal(), kAvColorBg));
        EXPECT_THAT(log.records(), IsEmpty());
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST(CompoundLedFace, AFailingCloseDoesNotStopTheDestructor) {
    SimBoard board(0xA573);
    LogCapture log;
    {
        CompoundLedFace face;
        ASSERT_TRUE(face.init("av"));
        board.sandbox().clearJournal();
        board.sandbox().failCalls(kAvBrightness, Call::Close, EIO);
        board.sandbox().failCalls(kBusBacklight2, Call::Close, EINTR);
    }
    EXPECT_THAT(described(board.journal()),
                ElementsAre(closed(kAvBrightness) + " !5", closed(kAvColorFg), closed(kAvColorBg), closed(kBusBacklight2) + " !4",
                            closed(kBusBacklight1)));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), IsEmpty());
}
