// The microcontroller's LEDs through "/usr/bin/uartcli" and the white LED through
// "/proc/gpio/white_led": the frames each operation sends (as the argument vector and decoded), the
// white LED's bytes, every failure of the tool and of the file, and the steady-state cost.
#include <cerrno>
#include <climits>
#include <csignal>

#include <gmock/gmock.h>

#include "SysfsTestSupport.h"
#include "orva/sim/Uartcli.h"
#include "orva_gpio_utils/UartcliLedFace.h"

using namespace orva::test;
using namespace orva::test::sysfs;
using orva::sim::ProgramOutcome;
using orva::sim::Sandbox;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/UartcliLedFace";
const std::string kUartcli = "/usr/bin/uartcli";
const std::string kWhiteLed = "/proc/gpio/white_led";
const std::string kTakeControl = "\\x81\\x01\\x04\\xFE\\xF9\\x00\\xFF";
const std::string kReleaseControl = "\\x81\\x01\\x04\\xFE\\xF9\\x01\\xFF";

std::string setColorFrame(const std::string& code) {
    return "\\x81\\x01\\x04\\xFE\\x06\\x01\\" + code + "\\x02\\x00\\x00\\x00\\xFF";
}

std::vector<std::string> arguments(const std::string& frame) {
    return {"-s", "5", "-r", "100", "-H", "-i", frame, "-o", "3"};
}

// What the microcontroller was told, in words.
std::vector<std::string> told() {
    std::vector<std::string> words;
    for (const auto& frame : orva::sim::uartcliFrames()) words.push_back(frame.description);
    return words;
}

// Journal lines, with each run of the tool as "exec" and its frame in words.
std::vector<std::string> steps(const std::vector<JournalEntry>& journal) {
    std::vector<std::string> lines;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Exec) {
            lines.push_back("exec " + orva::sim::decodeUartcliRun(entry.arguments).description);
        } else {
            lines.push_back(trace({entry})[0]);
        }
    }
    return lines;
}

Expected mcuFailed(const char* function) {
    return Expected{kSource, function, 3, 0, "Failed to set for LED color to MCU"};
}
Expected foreground(int color) { return Expected{kSource, "setColor", 6, 0, "Set Foreground Color to: " + std::to_string(color)}; }
Expected background(int color) { return Expected{kSource, "setColor", 6, 0, "Set Background Color to: " + std::to_string(color)}; }
Expected openFailed(const char* function) {
    return Expected{kSource, function, 3, 0, "Failed to open proc entry '/proc/gpio/white_led'"};
}

// A board with the white LED and the tool's stand-in.
struct Board {
    explicit Board(int exitCode = 0) : sim(0xA574) { orva::sim::registerUartcli(exitCode); }
    SimBoard sim;
    Sandbox& sandbox() { return sim.sandbox(); }
};

}  // namespace

// ---- control of the LEDs ----

TEST(UartcliLedFace, ConstructionTakesControlAndDestructionGivesItBack) {
    Board board;
    LogCapture log;
    {
        UartcliLedFace led;
        EXPECT_EQ(orva::sim::programRuns(kUartcli), (std::vector<std::vector<std::string>>{arguments(kTakeControl)}));
        ASSERT_TRUE(led.init("status"));
        EXPECT_THAT(told(), ElementsAre("take control"));
    }
    EXPECT_EQ(orva::sim::programRuns(kUartcli),
              (std::vector<std::vector<std::string>>{arguments(kTakeControl), arguments(kReleaseControl)}));
    EXPECT_THAT(told(), ElementsAre("take control", "release control"));
    // No file is touched.
    EXPECT_EQ(board.sim.journal().size(), 2u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(UartcliLedFace, EveryObjectSendsItsOwnPair) {
    Board board;
    {
        UartcliLedFace first;
        UartcliLedFace second;
        ASSERT_TRUE(first.init("first"));
        ASSERT_TRUE(second.init("second"));
    }
    EXPECT_THAT(told(), ElementsAre("take control", "take control", "release control", "release control"));
}

TEST(UartcliLedFace, FixedAnswers) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    EXPECT_TRUE(led.exists());
    EXPECT_FALSE(led.isBinary());
    EXPECT_FALSE(led.hasAutoMode());
    EXPECT_FALSE(led.isManagedByMcu());
    EXPECT_TRUE(led.initGPIO());
    EXPECT_EQ(led.rangeMin(), 0);
    EXPECT_EQ(led.rangeMax(), 512);
    int value = 33;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 33);
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"}));
    EXPECT_THAT(told(), ElementsAre("take control"));
}

// ---- values ----

TEST(UartcliLedFace, WriteValueSendsTheForegroundCodeWhenOnAndAllOffAtZero) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    log.clear();
    EXPECT_TRUE(led.writeValue(0));
    EXPECT_TRUE(led.writeValue(37));
    EXPECT_EQ(orva::sim::programRuns(kUartcli), (std::vector<std::vector<std::string>>{
                                                    arguments(setColorFrame("x00")), arguments(setColorFrame("x01"))}));
    EXPECT_THAT(told(), ElementsAre("set colour 0x00 (off)", "set colour 0x01 (red)"));
    board.sandbox().clearJournal();
    // Any non-zero value is on: 50 % of 512, a negative value, the largest.
    EXPECT_TRUE(led.setValue(50, false));
    EXPECT_TRUE(led.writeValue(-1));
    EXPECT_TRUE(led.writeValue(INT_MIN));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(INT_MAX));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(1));
    EXPECT_TRUE(led.writeValue(0));
    EXPECT_THAT(steps(board.sim.journal()), ElementsAre("exec set colour 0x04 (blue)", "exec set colour 0x00 (off)"));
    EXPECT_THAT(log.records(), ElementsAre(foreground(3), foreground(4)));
}

TEST(UartcliLedFace, AValueInRedGoesThroughOneRunOfTheTool) {
    Board board;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setValue(50, false));
    EXPECT_TRUE(led.setValue(-1, false));
    EXPECT_TRUE(led.setValue(1, false));
    EXPECT_THAT(steps(board.sim.journal()), ElementsAre("exec set colour 0x01 (red)", "exec set colour 0x01 (red)"));
}

TEST(UartcliLedFace, ForegroundWithoutACodeAlwaysSendsAllOff) {
    Board board;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    EXPECT_TRUE(led.writeValue(5));  // no foreground yet
    for (const BaseLed::Color color : {BaseLed::COLOR_BLACK, BaseLed::COLOR_YELLOW, BaseLed::COLOR_AMBER,
                                       BaseLed::COLOR_CYAN, BaseLed::COLOR_MAGENTA, BaseLed::COLOR_WHITE_RED,
                                       BaseLed::COLOR_WHITE_MAGENTA}) {
        ASSERT_TRUE(led.setColor(color, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.writeValue(5));
        EXPECT_THAT(orva::sim::programRuns(kUartcli), ElementsAre(arguments(setColorFrame("x00")))) << color;
        EXPECT_THAT(calls(board.sim.journal(), Call::Open), IsEmpty());
    }
}

TEST(UartcliLedFace, InWhiteTheValueSwitchesOnlyTheWhiteLed) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    log.clear();
    EXPECT_TRUE(led.writeValue(5));
    EXPECT_TRUE(led.writeValue(0));
    EXPECT_TRUE(led.writeValue(-1));
    EXPECT_THAT(trace(board.sim.journal()),
                ElementsAreArray(joined({plainWrite(kWhiteLed, "1"), plainWrite(kWhiteLed, "0"), plainWrite(kWhiteLed, "1")})));
    const auto opens = calls(board.sim.journal(), Call::Open);
    EXPECT_EQ(opens[0].flags, O_RDWR | O_CREAT | O_TRUNC);
    EXPECT_EQ(opens[0].mode, 0666u);
    const auto writes = calls(board.sim.journal(), Call::Write);
    EXPECT_EQ(writes[0].bytes, withNul("1"));
    EXPECT_EQ(writes[0].offset, 0);
    EXPECT_EQ(board.sim.value(kWhiteLed), "1");
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- colours ----

TEST(UartcliLedFace, WhiteTurnsTheMicrocontrollerOffAndTheWhiteLedOnAndBack) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(steps(board.sim.journal()), ElementsAreArray(joined({{"exec set colour 0x00 (off)"}, plainWrite(kWhiteLed, "1")})));
    EXPECT_EQ(orva::sim::programRuns(kUartcli)[0], arguments(setColorFrame("x00")));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    EXPECT_THAT(steps(board.sim.journal()), ElementsAreArray(joined({{"exec set colour 0x02 (green)"}, plainWrite(kWhiteLed, "0")})));
    EXPECT_EQ(orva::sim::programRuns(kUartcli)[0], arguments(setColorFrame("x02")));
    EXPECT_THAT(log.records(), ElementsAre(foreground(9), background(1), foreground(3)));
}

TEST(UartcliLedFace, ANewColourIsLitEvenAfterAValueOfZero) {
    Board board;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(0, false));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(told(), ElementsAre("set colour 0x04 (blue)"));
}

TEST(UartcliLedFace, ANewBackgroundAloneSendsNothingAndIsOnlyLogged) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    log.clear();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_THAT(board.sim.journal(), IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(background(4)));
    // The same pair again: nothing at all.
    log.clear();
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_THAT(board.sim.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(UartcliLedFace, InvalidColoursAreRejectedAndSendNothing) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    board.sandbox().clearJournal();
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_NONE));
    EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(16), BaseLed::COLOR_BLACK));
    EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(-5), BaseLed::COLOR_BLACK));
    EXPECT_THAT(board.sim.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- failures of the tool ----

TEST(UartcliLedFace, AMissingToolIsLoggedAndTheWhiteLedStillWorks) {
    SimBoard board(0xA574);
    orva::sim::registerUartcli(ProgramOutcome::notStarted(ENOENT));
    LogCapture log;
    {
        UartcliLedFace led;
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "UartcliLedFace", 3, 0, "Failed to get LEDs contorl"}));
        ASSERT_TRUE(led.init("status"));
        log.clear();
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        EXPECT_EQ(board.value(kWhiteLed), "1");
        EXPECT_TRUE(led.setValue(0, false));
        EXPECT_EQ(board.value(kWhiteLed), "0");
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        EXPECT_TRUE(led.writeValue(3));
        EXPECT_THAT(log.records(), ElementsAre(mcuFailed("setColor"), foreground(9), background(1), mcuFailed("setColor"),
                                               foreground(2), mcuFailed("writeValue")));
        log.clear();
    }
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "~UartcliLedFace", 3, 0, "Failed to free LEDs control"}));
    for (const auto& frame : orva::sim::uartcliFrames()) EXPECT_EQ(frame.exitCode, -1);
}

TEST(UartcliLedFace, AFailingToolNeverChangesAResult) {
    for (const ProgramOutcome outcome : {ProgramOutcome::exited(1), ProgramOutcome::exited(127), ProgramOutcome::killed(SIGSEGV)}) {
        SimBoard board(0xA574);
        orva::sim::registerUartcli(outcome);
        LogCapture log;
        {
            UartcliLedFace led;
            ASSERT_TRUE(led.init("status"));
            EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
            EXPECT_TRUE(led.setValue(20, false));
            EXPECT_EQ(board.value(kWhiteLed), "0");
        }
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "UartcliLedFace", 3, 0, "Failed to get LEDs contorl"},
                                               mcuFailed("setColor"), foreground(4), background(1), mcuFailed("writeValue"),
                                               Expected{kSource, "~UartcliLedFace", 3, 0, "Failed to free LEDs control"}));
        EXPECT_THAT(told(), ElementsAre("take control", "set colour 0x04 (blue)", "set colour 0x04 (blue)", "release control"));
    }
}

// ---- failures of the white LED ----

TEST(UartcliLedFace, WhiteLedOpenFailureFailsSetColorAfterTheFrame) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    board.sandbox().clearJournal();
    board.sandbox().removeAttribute(kWhiteLed);
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(steps(board.sim.journal()), ElementsAre("exec set colour 0x00 (off)", "open " + kWhiteLed + " -> -1"));
    EXPECT_EQ(calls(board.sim.journal(), Call::Open)[0].error, EACCES);
    // The colours were recorded before the white LED failed, and the background is not logged.
    EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_WHITE);
    EXPECT_THAT(log.records(), ElementsAre(openFailed("setColor")));
}

TEST(UartcliLedFace, WhiteLedWriteFailuresInSetColor) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    board.sandbox().failCalls(kWhiteLed, Call::Write, EIO);
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    const int fd = static_cast<int>(calls(board.sim.journal(), Call::Open).back().result);
    EXPECT_EQ(trace(board.sim.journal()).back(), "close " + kWhiteLed);
    board.sandbox().shortWrite(kWhiteLed, 1);
    errno = 0;
    EXPECT_FALSE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    const int second = static_cast<int>(calls(board.sim.journal(), Call::Open).back().result);
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "setColor", 3, EIO, "Failed to write '1' to proc entry " + hex(fd)},
                            Expected{kSource, "setColor", 3, 0, "Failed to write '0' to proc entry " + hex(second)}));
}

TEST(UartcliLedFace, WhiteLedFailuresInWriteValue) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    board.sandbox().clearJournal();
    log.clear();
    board.sandbox().failCalls(kWhiteLed, Call::Open, EIO);
    EXPECT_FALSE(led.setValue(10, false));
    board.sandbox().zeroDescriptor(kWhiteLed);
    EXPECT_FALSE(led.writeValue(1));
    board.sandbox().failCalls(kWhiteLed, Call::Write, ENOSPC);
    EXPECT_FALSE(led.writeValue(1));
    const int fd = static_cast<int>(calls(board.sim.journal(), Call::Open).back().result);
    board.sandbox().shortWrite(kWhiteLed, 0);
    errno = 0;
    EXPECT_FALSE(led.writeValue(0));
    const int last = static_cast<int>(calls(board.sim.journal(), Call::Open).back().result);
    EXPECT_THAT(trace(board.sim.journal()),
                ElementsAre("open " + kWhiteLed + " -> -1", "open " + kWhiteLed + " -> 0", "close ", "open " + kWhiteLed,
                            "write " + kWhiteLed + " 1\\0 -> -1", "close " + kWhiteLed, "open " + kWhiteLed,
                            "write " + kWhiteLed + " 0\\0", "close " + kWhiteLed));
    EXPECT_EQ(calls(board.sim.journal(), Call::Write).back().result, 0);
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_THAT(log.records(),
                ElementsAre(openFailed("writeValue"), Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"},
                            openFailed("writeValue"),
                            Expected{kSource, "writeValue", 3, ENOSPC, "Failed to write '1' to proc entry " + hex(fd)},
                            Expected{kSource, "writeValue", 3, 0, "Failed to write '0' to proc entry " + hex(last)}));
}

TEST(UartcliLedFace, WhiteLedCallsAreRetriedWhileInterrupted) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    board.sandbox().failCalls(kWhiteLed, Call::Open, EINTR, 2);
    board.sandbox().failCalls(kWhiteLed, Call::Write, EINTR, 1);
    EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    EXPECT_THAT(steps(board.sim.journal()),
                ElementsAre("exec take control", "exec set colour 0x00 (off)", "open " + kWhiteLed + " -> -1",
                            "open " + kWhiteLed + " -> -1", "open " + kWhiteLed, "write " + kWhiteLed + " 1\\0 -> -1",
                            "write " + kWhiteLed + " 1\\0", "close " + kWhiteLed));
    EXPECT_THAT(log.records(), ElementsAre(foreground(9), background(1)));
}

// ---- steady state ----

TEST(UartcliLedFaceSteadyState, UnchangedValueAndColourCostNoCallAndNoAllocation) {
    Board board;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(40, false));
    board.sandbox().clearJournal();
    AllocationScope allocations;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(led.setValue(40, false));
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        EXPECT_TRUE(led.setBrightness(100));
        int value = 0;
        EXPECT_TRUE(led.readValue(value));
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_THAT(board.sim.journal(), IsEmpty());
}

// A value in a microcontroller colour is one run of the tool. Beyond what running it costs the
// platform and the simulator, the face allocates the frame text, the argument vector and the
// program's path: three allocations.
TEST(UartcliLedFaceSteadyState, ARepeatedValueInAColourIsOneRunOfTheTool) {
    Board board;
    LogCapture log;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(40, true));
    log.clear();
    const std::string program = kUartcli;
    const std::vector<std::string> vector = arguments(setColorFrame("x01"));
    for (int i = 0; i < 3; ++i) {
        board.sandbox().clearJournal();
        size_t cost;
        {
            AllocationScope allocations;
            ASSERT_TRUE(led.setValue(40, true));
            cost = allocations.count();
        }
        EXPECT_EQ(board.sim.journal().size(), 1u);
        EXPECT_EQ(orva::sim::programRuns(kUartcli), (std::vector<std::vector<std::string>>{vector}));
        board.sandbox().clearJournal();
        size_t baseline;
        {
            AllocationScope allocations;
            ASSERT_EQ(orva::utils::sysExecSimple(program, vector), 0);
            baseline = allocations.count();
        }
        EXPECT_EQ(cost, baseline + 3);
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

// In white a value opens, writes and closes the white LED's file and allocates nothing beyond what
// the simulator's handling of those calls costs.
TEST(UartcliLedFaceSteadyState, ARepeatedValueInWhiteIsOneWriteOfTheWhiteLed) {
    Board board;
    UartcliLedFace led;
    ASSERT_TRUE(led.init("status"));
    ASSERT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
    ASSERT_TRUE(led.setValue(40, true));
    for (int i = 0; i < 3; ++i) {
        board.sandbox().clearJournal();
        size_t cost;
        {
            AllocationScope allocations;
            ASSERT_TRUE(led.setValue(40, true));
            cost = allocations.count();
        }
        const std::vector<JournalEntry> made = board.sim.journal();
        EXPECT_THAT(trace(made), ElementsAreArray(plainWrite(kWhiteLed, "1")));
        board.sandbox().clearJournal();
        EXPECT_EQ(cost, simulatorCost(made));
    }
}
