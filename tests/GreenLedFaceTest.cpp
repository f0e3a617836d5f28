// The green status LED through the simulator: the one brightness file, the green share of the
// foreground and background colours, the value as the cross-fade between them, the colour-code
// walk, amber on 0xA574, every failing system call and the steady state.
#include <cerrno>
#include <climits>
#include <fcntl.h>

#include <gmock/gmock.h>

#include "FaceJournalSupport.h"
#include "orva/platform.h"
#include "orva_gpio_utils/GreenLedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/GreenLedFace";
const std::string kGreen = "/sys/class/leds/G/brightness";

class ProbedGreen : public GreenLedFace {
public:
    using BaseLed::colorCodes;
    using GreenLedFace::fd;
    using GreenLedFace::value;
};

Expected initFailed() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected openFailed() { return Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + kGreen + "'"}; }
Expected writeFailed(const char* function, const std::string& text, int fd, int error) {
    char line[128];
    snprintf(line, sizeof(line), "Failed to write '%s' to proc entry 0x%x", text.c_str(), static_cast<unsigned>(fd));
    return Expected{kSource, function, 3, error, line};
}

std::vector<std::string> writtenTexts(const SimBoard& board) {
    std::vector<std::string> texts;
    for (const JournalEntry& write : calls(board.journal(), Call::Write)) texts.push_back(write.bytes);
    return texts;
}

}  // namespace

// ---- construction and fixed answers ----

TEST(GreenLedFace, ConstructionLeavesTheFileClosedAndTouchesNothing) {
    SimBoard board(0xA571);
    {
        ProbedGreen led;
        EXPECT_EQ(led.fd, -1);
        EXPECT_EQ(led.value, 0);
        EXPECT_TRUE(led.colorCodes.empty());
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(GreenLedFace, FixedAnswersAndNoAutoMode) {
    SimBoard board(0xA571);
    LogCapture log;
    GreenLedFace led;
    EXPECT_TRUE(led.exists());
    EXPECT_FALSE(led.isBinary());
    EXPECT_FALSE(led.hasAutoMode());
    EXPECT_FALSE(led.isManagedByMcu());
    EXPECT_EQ(led.rangeMin(), 0);
    EXPECT_EQ(led.rangeMax(), 255);
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"}));
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(GreenLedFace, ExistsWithoutAskingTheBoard) {
    CameraInfo::instance().Free();
    GreenLedFace led;
    EXPECT_TRUE(led.exists());
}

// ---- init ----

TEST(GreenLedFace, InitOpensTheFileOnceAndWritesNothing) {
    SimBoard board(0xA571);
    LogCapture log;
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    EXPECT_GT(led.fd, 0);
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{openOf(kGreen, led.fd)}));
    const auto opens = calls(board.journal(), Call::Open);
    EXPECT_EQ(opens[0].flags, O_RDWR | O_CREAT | O_TRUNC);
    EXPECT_EQ(opens[0].mode, 0666u);
    EXPECT_THAT(log.records(), IsEmpty());
    // Amber keeps the colour-code BaseLed gives it.
    ASSERT_EQ(led.colorCodes.size(), 1u);
    const BaseLed::ColorCode amber = led.colorCodes.at(BaseLed::COLOR_AMBER);
    EXPECT_EQ(amber.red, 255);
    EXPECT_EQ(amber.green, 191);
    EXPECT_EQ(amber.blue, 0);
}

TEST(GreenLedFace, On0xA574AmberTakesADimmerGreen) {
    SimBoard board(0xA574);
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_EQ(led.colorCodes.size(), 1u);
    const BaseLed::ColorCode amber = led.colorCodes.at(BaseLed::COLOR_AMBER);
    EXPECT_EQ(amber.red, 255);
    EXPECT_EQ(amber.green, 72);
    EXPECT_EQ(amber.blue, 0);
}

TEST(GreenLedFace, On0xA574InitGpioAloneInsertsAZeroAmberWithItsGreen) {
    SimBoard board(0xA574);
    ProbedGreen led;
    ASSERT_TRUE(led.initGPIO());
    const BaseLed::ColorCode amber = led.colorCodes.at(BaseLed::COLOR_AMBER);
    EXPECT_EQ(amber.red, 0);
    EXPECT_EQ(amber.green, 72);
    EXPECT_EQ(amber.blue, 0);
}

TEST(GreenLedFace, MissingFileFailsInit) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedGreen led;
    EXPECT_FALSE(led.init("green"));
    EXPECT_EQ(led.fd, -1);
    EXPECT_THAT(log.records(), ElementsAre(openFailed(), initFailed()));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(opens[0].error, ENOENT);
}

TEST(GreenLedFace, OpenErrorFailsInitAndLeavesTheColourCodes) {
    SimBoard board(0xA574);
    board.sandbox().failCalls(kGreen, Call::Open, EACCES);
    LogCapture log;
    ProbedGreen led;
    EXPECT_FALSE(led.init("green"));
    EXPECT_THAT(log.records(), ElementsAre(openFailed(), initFailed()));
    EXPECT_EQ(led.colorCodes.at(BaseLed::COLOR_AMBER).green, 191);
}

TEST(GreenLedFace, OpenIsRetriedOnEintr) {
    SimBoard board(0xA571);
    board.sandbox().failCalls(kGreen, Call::Open, EINTR, 2);
    LogCapture log;
    GreenLedFace led;
    EXPECT_TRUE(led.init("green"));
    EXPECT_EQ(calls(board.journal(), Call::Open).size(), 3u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(GreenLedFace, DescriptorZeroCountsAsAFailedOpen) {
    SimBoard board(0xA571);
    board.sandbox().zeroDescriptor(kGreen);
    LogCapture log;
    {
        ProbedGreen led;
        EXPECT_FALSE(led.init("green"));
        EXPECT_EQ(led.fd, 0);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(), initFailed()));
        board.sandbox().clearJournal();
    }
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].fd, 0);
}

TEST(GreenLedFace, ASecondInitAfterADescriptorZeroClosesItBeforeOpeningAgain) {
    SimBoard board(0xA571);
    board.sandbox().zeroDescriptor(kGreen);
    LogCapture log;
    {
        ProbedGreen led;
        EXPECT_FALSE(led.init("green"));
        EXPECT_EQ(led.fd, 0);
        board.sandbox().clearJournal();
        ASSERT_TRUE(led.init("green"));
        EXPECT_GT(led.fd, 0);
        // The descriptor 0 is closed (it was never a sandbox file, so no path is journaled).
        EXPECT_EQ(fileCalls(board.journal()),
                  (std::vector<FileCall>{FileCall{Call::Close, "", "", 0}, openOf(kGreen, led.fd)}));
        const auto closes = calls(board.journal(), Call::Close);
        ASSERT_EQ(closes.size(), 1u);
        EXPECT_EQ(closes[0].fd, 0);
        EXPECT_EQ(board.sandbox().openDescriptors(), 1);
        board.sandbox().clearJournal();
    }
    // The destructor closes the second descriptor; nothing is left open.
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{closeOf(kGreen)}));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), ElementsAre(openFailed(), initFailed()));
}

TEST(GreenLedFace, MissingSysidIsFatalOnlyAfterTheFileWasOpened) {
    SimBoard board(0xA571);
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    GreenLedFace led;
    // The file opens, then the lookup ends the process.
    EXPECT_DEATH(
        {
            led.initGPIO();
        },
        "camerainfo:sysid:[0-9]+: Key \"sysid\" not available(.|\n)*forceCrash called");
    // A board whose file cannot be opened fails before the lookup.
    board.sandbox().removeAttribute(kGreen);
    LogCapture log;
    EXPECT_FALSE(led.initGPIO());
    EXPECT_THAT(log.records(), ElementsAre(openFailed()));
}

TEST(GreenLedFace, DestructorClosesTheFile) {
    SimBoard board(0xA571);
    {
        GreenLedFace led;
        ASSERT_TRUE(led.init("green"));
        board.sandbox().clearJournal();
    }
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{closeOf(kGreen)}));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST(GreenLedFace, AFailingCloseIsNotReported) {
    SimBoard board(0xA574);
    LogCapture log;
    {
        GreenLedFace led;
        ASSERT_TRUE(led.init("green"));
        board.sandbox().failCalls(kGreen, Call::Close, EIO);
        board.sandbox().clearJournal();
    }
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].error, EIO);
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- the colour rule ----

TEST(GreenLedFace, GreenForegroundShowsTheValue) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.writeValue(200));
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kGreen, "200")}));
    EXPECT_EQ(board.value(kGreen), "200");
}

TEST(GreenLedFace, GreenBackgroundShowsTheComplement) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.writeValue(200));
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kGreen, "55")}));
}

TEST(GreenLedFace, NoGreenInEitherColourIsDarkWhateverTheValue) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    board.sandbox().clearJournal();
    for (const int value : {0, 200, 255, -1, INT_MAX}) ASSERT_TRUE(led.writeValue(value));
    EXPECT_EQ(writtenTexts(board), std::vector<std::string>(5, withNul("0")));
}

TEST(GreenLedFace, GreenInBothColoursIsFullyOn) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_CYAN, BaseLed::COLOR_WHITE_GREEN));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.writeValue(0));
    ASSERT_TRUE(led.writeValue(17));
    EXPECT_EQ(writtenTexts(board), (std::vector<std::string>{withNul("255"), withNul("255")}));
}

TEST(GreenLedFace, AmberAtFullValueIs72On0xA574And191Elsewhere) {
    const std::pair<uint32_t, std::string> cases[] = {{0xA574, "72"}, {0xA571, "191"}};
    for (const auto& c : cases) {
        SimBoard board(c.first);
        GreenLedFace led;
        ASSERT_TRUE(led.init("green"));
        ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        ASSERT_TRUE(led.setValue(100, false));  // 255 on the device
        EXPECT_EQ(writtenTexts(board), (std::vector<std::string>{withNul(c.second)})) << std::hex << c.first;
    }
}

TEST(GreenLedFace, GreenForegroundOverAmberBackgroundIsScaledByAmbersGreen) {
    const std::pair<uint32_t, std::string> cases[] = {{0xA574, "72"}, {0xA571, "191"}};
    for (const auto& c : cases) {
        SimBoard board(c.first);
        GreenLedFace led;
        ASSERT_TRUE(led.init("green"));
        board.sandbox().clearJournal();
        // Both colours have green: full level, scaled by amber's entry although green was chosen.
        ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_AMBER));
        EXPECT_EQ(writtenTexts(board), (std::vector<std::string>{withNul(c.second)})) << std::hex << c.first;
    }
}

TEST(GreenLedFace, TheLowestColourInTheMapDecidesWhicheverSideItIsOn) {
    SimBoard board(0xA571);
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    led.colorCodes[BaseLed::COLOR_GREEN] = BaseLed::ColorCode{0, 100, 0};
    // Green (3) comes before amber (6): green's entry decides as background too.
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_GREEN));
    EXPECT_EQ(led.getColorCodeBrightness(255), 100);
    EXPECT_EQ(led.getColorCodeBrightness(51), 20);
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_AMBER));
    EXPECT_EQ(led.getColorCodeBrightness(255), 100);
    // Neither colour in the map: full scale.
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_CYAN, BaseLed::COLOR_BLACK));
    EXPECT_EQ(led.getColorCodeBrightness(255), 255);
    EXPECT_EQ(led.getColorCodeBrightness(-3), -3);
    // Integer division rounds down: 254 * 191 / 255 = 190.25.
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    EXPECT_EQ(led.getColorCodeBrightness(254), 190);
}

TEST(GreenLedFace, LedBrightnessTextFollowsTheColoursAndValue) {
    SimBoard board(0xA571);
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    EXPECT_EQ(led.getLedBrightness(), "0");  // no colours chosen yet
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE_GREEN, BaseLed::COLOR_RED));
    led.value = 123;
    EXPECT_EQ(led.getLedBrightness(), "123");
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_WHITE_YELLOW));
    EXPECT_EQ(led.getLedBrightness(), "132");
}

TEST(GreenLedFace, ExtremeValuesAreScaledExactlyAndRoundedDown) {
    SimBoard board(0xA571);
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    // level x 191 / 255 with the whole product, whatever the value: never a wrapped product.
    const std::pair<int, std::string> cases[] = {
        {INT_MAX, "1608507359"}, {INT_MIN, "-1608507360"}, {0x01000000, "12566463"},
        // Rounded down below zero as above it: -191/255 is -0.75, -48896/255 is -191.75.
        {-1, "-1"}, {-255, "-191"}, {-256, "-192"}};
    for (const auto& c : cases) {
        led.value = c.first;
        EXPECT_EQ(led.getLedBrightness(), c.second) << c.first;
        EXPECT_EQ(led.getColorCodeBrightness(c.first), std::stoi(c.second)) << c.first;
    }
    // Green in the background: 255 - value, which for INT_MIN wraps in 32 bits to -2147483393.
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_AMBER));
    led.value = INT_MIN;
    EXPECT_EQ(led.getLedBrightness(), "-1608507169");
    led.value = INT_MAX;
    EXPECT_EQ(led.getLedBrightness(), "-1608507169");  // (255 - INT_MAX) x 191 / 255 = -1608507168.13
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    led.value = INT_MIN;
    EXPECT_EQ(led.getLedBrightness(), "-2147483393");
    // An entry whose green level is 255 or 0 gives the level itself or 0.
    led.colorCodes[BaseLed::COLOR_GREEN] = BaseLed::ColorCode{0, 255, 0};
    EXPECT_EQ(led.getColorCodeBrightness(INT_MIN), INT_MIN);
    EXPECT_EQ(led.getColorCodeBrightness(INT_MAX), INT_MAX);
    led.colorCodes[BaseLed::COLOR_GREEN] = BaseLed::ColorCode{0, 0, 0};
    EXPECT_EQ(led.getColorCodeBrightness(INT_MIN), 0);
    EXPECT_EQ(led.getColorCodeBrightness(INT_MAX), 0);
}

// ---- setColor and writeValue ----

TEST(GreenLedFace, AChangedPairReRendersTheLastValue) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(led.writeValue(200));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_GREEN));
    EXPECT_EQ(writtenTexts(board), (std::vector<std::string>{withNul("200"), withNul("55")}));
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_BLUE);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_GREEN);
}

TEST(GreenLedFace, AnUnchangedPairWritesNothing) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    AllocationScope allocations;
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(GreenLedFace, InvalidColoursAreRefusedWithoutAWrite) {
    SimBoard board(0xA571);
    LogCapture log;
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    board.sandbox().clearJournal();
    // The stored pair is (0, 0): asking for it again is the unchanged case, and still refused.
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_NONE));
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_GREEN, static_cast<BaseLed::Color>(16)));
    EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(-1), BaseLed::COLOR_GREEN));
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_NONE);
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(GreenLedFace, ReadValueGivesTheLastWrittenValueWithoutReadingTheFile) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.writeValue(77));
    board.sandbox().setValue(kGreen, "3");
    board.sandbox().clearJournal();
    int value = 0;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 77);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(GreenLedFace, SaveAndRestoreUseTheRememberedValue) {
    SimBoard board(0xA571);
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.writeValue(102));  // 40 %
    ASSERT_TRUE(led.save());
    ASSERT_TRUE(led.setValue(100, false));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.restore());
    EXPECT_EQ(writtenTexts(board), (std::vector<std::string>{withNul("102")}));
}

TEST(GreenLedFace, AFailedWriteKeepsTheValueAndIsReported) {
    SimBoard board(0xA571);
    LogCapture log;
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    board.sandbox().failCalls(kGreen, Call::Write, EIO);
    EXPECT_FALSE(led.writeValue(200));
    EXPECT_EQ(led.value, 200);
    board.sandbox().shortWrite(kGreen, 1);
    errno = 0;  // a short write sets no errno: the record carries whatever errno held
    EXPECT_FALSE(led.writeValue(201));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("writeValue", "200", led.fd, EIO),
                                           writeFailed("writeValue", "201", led.fd, 0)));
}

TEST(GreenLedFace, AFailedColourWriteKeepsTheNewColours) {
    SimBoard board(0xA571);
    LogCapture log;
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.writeValue(200));
    board.sandbox().failCalls(kGreen, Call::Write, ENXIO);
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_BLACK);
    EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_GREEN);
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("setColor", "55", led.fd, ENXIO)));
    // The pair is stored, so asking again writes nothing.
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_GREEN));
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(GreenLedFace, WritesAreRetriedOnEintr) {
    SimBoard board(0xA571);
    LogCapture log;
    GreenLedFace led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    board.sandbox().failCalls(kGreen, Call::Write, EINTR, 2);
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(9));
    EXPECT_EQ(writtenTexts(board), std::vector<std::string>(3, withNul("9")));
    EXPECT_EQ(board.value(kGreen), "9");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(GreenLedFace, BeforeInitWritesGoToNoFileAndFail) {
    SimBoard board(0xA571);
    LogCapture log;
    GreenLedFace led;
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    EXPECT_FALSE(led.writeValue(5));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("setColor", "0", -1, EBADF),
                                           writeFailed("writeValue", "5", -1, EBADF)));
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- steady state ----

TEST(GreenLedFace, OneWritePerChangedValueNoneWhenUnchangedAndNoAllocations) {
    SimBoard board(0xA571);
    ProbedGreen led;
    ASSERT_TRUE(led.init("green"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    // Room in the journal, so that its growth does not count.
    for (int i = 0; i < 64; ++i) ASSERT_TRUE(led.setValue(i % 2 == 0 ? 10 : 20, false));
    board.sandbox().clearJournal();
    const size_t simulatorCost = simulatorAllocationsPerWrite(led.fd, withNul("95"));
    board.sandbox().clearJournal();

    AllocationScope changed;
    ASSERT_TRUE(led.setValue(50, false));  // 127 on the device, 127 * 191 / 255 = 95
    EXPECT_EQ(changed.count(), simulatorCost);
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kGreen, "95")}));

    board.sandbox().clearJournal();
    AllocationScope unchanged;
    ASSERT_TRUE(led.setValue(50, false));
    EXPECT_EQ(unchanged.count(), 0u);
    EXPECT_THAT(board.journal(), IsEmpty());
    // Opened once, never again.
    EXPECT_EQ(board.sandbox().openDescriptors(), 1);
}
