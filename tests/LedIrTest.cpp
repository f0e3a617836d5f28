// The infrared light through the simulator: which files each board opens, what init reads, the
// plain (unfaded) writes, the factory tool of the early 0xA532 revisions, path selection, direct PWM,
// IR brightness, the white light, and every failing system call.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>

#include <gmock/gmock.h>

#include "LedIrTestSupport.h"
#include "orva/sim/Programs.h"

using namespace orva::test;
using namespace orva::test::ir;
using orva::sim::ProgramOutcome;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Expected rangeRecord(int step) {
    return Expected{kSource, "initGPIO", 6, 0, "IR led range is [0 99], step " + std::to_string(step)};
}

Expected initFailedRecord() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }

Expected openFailedRecord(const std::string& path) {
    return Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}

// A device-information map with only the keys given (no board profile behind it).
void bareInfo(uint32_t sysid, signed char featureLedIr) {
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    setInfo("sysid", static_cast<unsigned long long>(sysid));
    setInfo("feature_led_ir", featureLedIr);
}

// What the host logger prints for a lookup fault, then the crash.
std::string fatalPattern(const std::string& key, const std::string& text) {
    return "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:" + key + ":[0-9]+: " + text +
           "\n(.|\n)*forceCrash called";
}

}  // namespace

// ---- construction and fixed answers ----

TEST(LedIr, ConstructionSetsEveryMemberAndTouchesNothing) {
    SimBoard board(0xA598);
    {
        ProbedLedIr led;
        EXPECT_EQ(led.maxValue, 99);
        EXPECT_EQ(led.minValue, 0);
        EXPECT_EQ(led.pathFd, -1);
        EXPECT_EQ(led.primaryFd, -1);
        EXPECT_EQ(led.secondaryFd, -1);
        EXPECT_EQ(led.accessoryIrFd, -1);
        EXPECT_EQ(led.whiteLedFd, -1);
        EXPECT_EQ(led.lastPrimaryValue, -1);
        EXPECT_EQ(led.lastSecondaryValue, -1);
        EXPECT_EQ(led.fadeStep, 0);
        EXPECT_EQ(led.irBrightness, 255);
        EXPECT_FALSE(led.directPwm);
        EXPECT_FALSE(led.fadeEnabled);
        EXPECT_EQ(led.whiteLedLevel, 0);
        EXPECT_FALSE(static_cast<bool>(led.accessoryIrHandler));
        EXPECT_FALSE(static_cast<bool>(led.whiteLedHandler));
    }
    // Nothing was opened, so the destructor closes nothing.
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedIr, FixedAnswersAndNoAutoMode) {
    SimBoard board(0xA533);
    LogCapture log;
    LedIr led;
    EXPECT_TRUE(led.exists());
    EXPECT_FALSE(led.isBinary());
    EXPECT_FALSE(led.hasAutoMode());
    EXPECT_FALSE(led.isManagedByMcu());
    EXPECT_EQ(led.rangeMin(), 0);
    EXPECT_EQ(led.rangeMax(), 99);
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                           Expected{kSource, "readAutoMode", 3, 0, "Not supported"}));
}

TEST(LedIr, HandlersThrowBadFunctionCallUntilInitBindsThem) {
    SimBoard board(0xA598);
    LedIr led;
    EXPECT_THROW(led.setWhiteLedOn(true), std::bad_function_call);
    EXPECT_THROW(led.accessoryIrOn(true), std::bad_function_call);
    EXPECT_THROW(led.setWhiteLedOn(false), std::bad_function_call);
    EXPECT_THROW(led.accessoryIrOn(false), std::bad_function_call);
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedIr, ExistsOnlyWhenFeatureLedIrIsOne) {
    for (const signed char feature : {static_cast<signed char>(0), static_cast<signed char>(2),
                                      static_cast<signed char>(-1)}) {
        SimBoard board(0xA5A4);
        LogCapture log;
        setInfo("feature_led_ir", feature);
        ProbedLedIr led;
        EXPECT_FALSE(led.exists()) << int(feature);
        ASSERT_TRUE(led.init("ir"));
        EXPECT_TRUE(led.setValue(50, false));
        EXPECT_TRUE(led.setBoolean(true));
        EXPECT_EQ(led.pathFd, -1);
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    }
}

// ---- the board table ----

namespace {

struct BoardCase {
    uint32_t sysid;
    std::string primary;
    std::string secondary;  // "" = none
    std::string accessoryIr;
    std::string whiteLed;
    bool fade;
    int step;
    int whiteLedLevel;
};

void PrintTo(const BoardCase& c, std::ostream* os) { *os << std::hex << "0x" << c.sysid; }

class IrBoardTable : public testing::TestWithParam<BoardCase> {};

}  // namespace

TEST_P(IrBoardTable, InitOpensTheBoardFilesInOrderAndReadsChannelOne) {
    const BoardCase& c = GetParam();
    SimBoard board(c.sysid);
    LogCapture log;
    board.sandbox().setValue(c.primary, "12");
    std::vector<std::string> expected;
    std::vector<std::string> opened;
    for (const std::string* path : {&c.primary, &c.secondary, &c.accessoryIr, &c.whiteLed}) {
        if (path->empty()) continue;
        expected.push_back("open " + *path);
        opened.push_back(*path);
    }
    expected.push_back("read " + c.primary);
    {
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        EXPECT_THAT(callsAndPaths(board.journal()), testing::ElementsAreArray(expected));
        for (const JournalEntry& entry : calls(board.journal(), Call::Open)) {
            EXPECT_EQ(entry.flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC) << entry.path;
            EXPECT_EQ(entry.mode, 0666u) << entry.path;
            EXPECT_GT(entry.result, 0) << entry.path;
        }
        const auto reads = calls(board.journal(), Call::Read);
        ASSERT_EQ(reads.size(), 1u);
        EXPECT_EQ(reads[0].offset, 0);
        EXPECT_EQ(reads[0].count, 15u);
        EXPECT_EQ(reads[0].bytes, "12\n");

        const auto& journal = board.journal();
        EXPECT_EQ(led.primaryFd, openedFd(journal, c.primary));
        EXPECT_EQ(led.pathFd, led.primaryFd);
        EXPECT_EQ(led.secondaryFd, c.secondary.empty() ? -1 : openedFd(journal, c.secondary));
        EXPECT_EQ(led.accessoryIrFd, c.accessoryIr.empty() ? -1 : openedFd(journal, c.accessoryIr));
        EXPECT_EQ(led.whiteLedFd, c.whiteLed.empty() ? -1 : openedFd(journal, c.whiteLed));
        EXPECT_EQ(led.lastPrimaryValue, 12);
        EXPECT_EQ(led.lastSecondaryValue, -1);
        EXPECT_EQ(led.fadeEnabled, c.fade);
        EXPECT_EQ(led.fadeStep, c.step);
        EXPECT_EQ(led.whiteLedLevel, c.whiteLedLevel);
        EXPECT_TRUE(static_cast<bool>(led.accessoryIrHandler));
        EXPECT_TRUE(static_cast<bool>(led.whiteLedHandler));
        EXPECT_THAT(log.records(), ElementsAre(rangeRecord(c.step)));
        board.sandbox().clearJournal();
    }
    // The destructor closes each file once, in the order they were opened; pathFd is only a copy.
    std::vector<std::string> closes;
    for (const JournalEntry& entry : calls(board.journal(), Call::Close)) closes.push_back(entry.path);
    EXPECT_EQ(closes, opened);
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    EveryBoard, IrBoardTable,
    testing::Values(BoardCase{0xA533, kBacklight0, "", "", "", false, 1, 0},
                    BoardCase{0xA598, kBacklight0, kPwm9, kPwm1, kPwm0, false, 1, 14900},
                    BoardCase{0xA59A, kBacklight0, "", "", kPwm1, false, 1, 100},
                    BoardCase{0xA59B, kPwm2, "", "", kPwm1, false, 0, 75},
                    BoardCase{0xA5A4, kBacklight0, kBusBacklight1, "", "", true, 1, 0},
                    BoardCase{0xA5A5, kBusBacklight0, kBusBacklight1, "", "", false, 1, 0},
                    BoardCase{0xA5A6, kBusBacklight1, "", "", kBusBacklight0, false, 1, 218}),
    [](const testing::TestParamInfo<BoardCase>& param) {
        char name[16];
        snprintf(name, sizeof(name), "Board%04X", param.param.sysid);
        return std::string(name);
    });

TEST(LedIr, UnlistedBoardUsesTheDefaultBacklight) {
    SimBoard board(0xA533);
    setInfo("sysid", 0xB123ULL);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("open " + kBacklight0, "read " + kBacklight0));
    EXPECT_EQ(led.whiteLedLevel, 0);
}

TEST(LedIr, WrongPathsShowUpAsFailedOpens) {
    // 0xA59B has no backlight: a table that sent it there would fail here.
    SimBoard board(0xA59B);
    LogCapture log;
    board.sandbox().removeAttribute(kPwm2);
    ProbedLedIr led;
    EXPECT_FALSE(led.init("ir"));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(opens[0].error, EACCES);
    EXPECT_THAT(log.records(), ElementsAre(openFailedRecord(kPwm2), initFailedRecord()));
}

TEST(LedIr, AbsentIsSStarIsInsertedAsFalse) {
    SimBoard board(0xA533);
    ASSERT_FALSE(CameraInfo::instance().HasKey("isSStar"));
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    ASSERT_TRUE(CameraInfo::instance().HasKey("isSStar"));
    EXPECT_EQ(static_cast<orva::variant::VariantType>(CameraInfo::instance()["isSStar"]), orva::variant::VT_BOOL);
    EXPECT_FALSE(static_cast<bool>(CameraInfo::instance()["isSStar"]));
    EXPECT_FALSE(led.fadeEnabled);
}

TEST(LedIr, IsSStarTurnsTheFadeOnWithTheRangeStep) {
    for (const uint32_t sysid : {0xA533u, 0xA59Bu, 0xA598u}) {
        SimBoard board(sysid);
        LogCapture log;
        setInfo("isSStar", true);
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        EXPECT_TRUE(led.fadeEnabled) << std::hex << sysid;
        EXPECT_EQ(led.fadeStep, 1) << std::hex << sysid;  // 0xA59B's 0 is replaced too
        EXPECT_THAT(log.records(), ElementsAre(rangeRecord(1)));
    }
}

TEST(LedIr, RangeStepIsOneFiftiethOfAWideRange) {
    const std::pair<int, int> cases[] = {{99, 1}, {50, 1}, {51, 1}, {100, 2}, {149, 2}, {255, 5}, {10, 1}};
    for (const auto& [maxValue, step] : cases) {
        SimBoard board(0xA533);
        LogCapture log;
        ProbedLedIr led;
        led.maxValue = maxValue;
        ASSERT_TRUE(led.init("ir"));
        EXPECT_EQ(led.fadeStep, step) << maxValue;
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "initGPIO", 6, 0,
                                                        "IR led range is [0 " + std::to_string(maxValue) +
                                                            "], step " + std::to_string(step)}));
    }
}

// ---- failures while opening ----

TEST(LedIr, FailedOpenStopsInitAndLeavesTheEarlierFilesOpenUntilDestruction) {
    const std::string files[] = {kBacklight0, kPwm9, kPwm1, kPwm0};
    for (size_t failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(files[failing]);
        SimBoard board(0xA598);
        LogCapture log;
        board.sandbox().failCalls(files[failing], Call::Open, ENODEV);
        {
            ProbedLedIr led;
            EXPECT_FALSE(led.init("ir"));
            std::vector<std::string> expected;
            for (size_t i = 0; i <= failing; ++i) expected.push_back("open " + files[i]);
            EXPECT_THAT(callsAndPaths(board.journal()), testing::ElementsAreArray(expected));
            EXPECT_THAT(log.records(), ElementsAre(openFailedRecord(files[failing]), initFailedRecord()));
            int* fields[] = {&led.primaryFd, &led.secondaryFd, &led.accessoryIrFd, &led.whiteLedFd};
            EXPECT_EQ(*fields[failing], -1);
            for (size_t i = failing + 1; i < 4; ++i) EXPECT_EQ(*fields[i], -1);
            EXPECT_EQ(led.pathFd, failing == 0 ? -1 : led.primaryFd);
            // isSStar is read only after every file opened, and the handlers stay unbound.
            EXPECT_FALSE(CameraInfo::instance().HasKey("isSStar"));
            EXPECT_THROW(led.setWhiteLedOn(true), std::bad_function_call);
            EXPECT_THROW(led.accessoryIrOn(true), std::bad_function_call);
            EXPECT_EQ(led.whiteLedLevel, 0);
            board.sandbox().clearJournal();
        }
        std::vector<std::string> closes;
        for (const JournalEntry& entry : calls(board.journal(), Call::Close)) closes.push_back(entry.path);
        EXPECT_EQ(closes, std::vector<std::string>(files, files + failing));
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(LedIr, InitRetriedAfterAFailedOpenKeepsNoDescriptorOfTheFirstAttempt) {
    SimBoard board(0xA598);
    LogCapture log;
    board.sandbox().failCalls(kPwm0, Call::Open, ENODEV);
    {
        ProbedLedIr led;
        EXPECT_FALSE(led.init("ir"));
        EXPECT_EQ(board.sandbox().openDescriptors(), 3);
        board.sandbox().clearJournal();
        ASSERT_TRUE(led.init("ir"));
        // The three files of the failed attempt are closed before they are opened again.
        std::vector<std::string> closes;
        for (const JournalEntry& entry : calls(board.journal(), Call::Close)) closes.push_back(entry.path);
        EXPECT_EQ(closes, (std::vector<std::string>{kBacklight0, kPwm9, kPwm1}));
        EXPECT_EQ(board.sandbox().openDescriptors(), 4);
        EXPECT_EQ(led.pathFd, led.primaryFd);
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST(LedIr, DescriptorZeroIsAFailedOpenThatTheDestructorStillCloses) {
    SimBoard board(0xA598);
    LogCapture log;
    board.sandbox().zeroDescriptor(kPwm1);
    {
        ProbedLedIr led;
        EXPECT_FALSE(led.init("ir"));
        EXPECT_EQ(led.accessoryIrFd, 0);
        EXPECT_EQ(led.whiteLedFd, -1);
        EXPECT_THAT(log.records(), ElementsAre(openFailedRecord(kPwm1), initFailedRecord()));
        board.sandbox().clearJournal();
    }
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 3u);
    EXPECT_EQ(closes[0].path, kBacklight0);
    EXPECT_EQ(closes[1].path, kPwm9);
    EXPECT_EQ(closes[2].fd, 0);
}

TEST(LedIr, FailingCloseDoesNotStopTheDestructor) {
    SimBoard board(0xA598);
    LogCapture log;
    {
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        log.clear();
        board.sandbox().clearJournal();
        board.sandbox().failCalls(kBacklight0, Call::Close, EIO);
        board.sandbox().failCalls(kPwm1, Call::Close, EIO);
    }
    std::vector<std::string> closes;
    for (const JournalEntry& entry : calls(board.journal(), Call::Close)) closes.push_back(entry.path);
    EXPECT_THAT(closes, ElementsAre(kBacklight0, kPwm9, kPwm1, kPwm0));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedIr, InterruptedOpensAreRetried) {
    SimBoard board(0xA5A6);
    LogCapture log;
    board.sandbox().failCalls(kBusBacklight1, Call::Open, EINTR, 2);
    board.sandbox().failCalls(kBusBacklight0, Call::Open, EINTR, 1);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    EXPECT_THAT(callsAndPaths(board.journal()),
                ElementsAre("open " + kBusBacklight1, "open " + kBusBacklight1, "open " + kBusBacklight1,
                            "open " + kBusBacklight0, "open " + kBusBacklight0, "read " + kBusBacklight1));
    EXPECT_THAT(log.records(), ElementsAre(rangeRecord(1)));
}

TEST(LedIr, InitFailsWhenTheCurrentValueCannotBeRead) {
    SimBoard board(0xA5A5);
    LogCapture log;
    board.sandbox().emptyRead(kBusBacklight0);
    ProbedLedIr led;
    errno = 0;
    EXPECT_FALSE(led.init("ir"));
    EXPECT_EQ(led.lastPrimaryValue, -1);
    const int fd = openedFd(board.journal(), kBusBacklight0);
    EXPECT_THAT(log.records(),
                ElementsAre(rangeRecord(1),
                            Expected{kSource, "readValue", 3, 0,
                                     "Failed to read from proc entry " + hex(fd) + ", num bytes read 0"},
                            initFailedRecord()));
}

// ---- fatal device information ----

TEST(LedIrDeathTest, MissingOrMistypedKeysAreFatal) {
    {
        SimBoard board(0xA533);
        CameraInfo::instance().Free();
        CameraInfo::instance().IsArray(false);
        setInfo("sysid", 0xA533ULL);
        LedIr led;
        EXPECT_DEATH(led.exists(), fatalPattern("feature_led_ir", "Key \"feature_led_ir\" not available"));
        CameraInfo::instance()["feature_led_ir"] = "1";
        EXPECT_DEATH(led.exists(), fatalPattern("feature_led_ir", "Key \"feature_led_ir\" has a different type than expected"));
        CameraInfo::instance()["feature_led_ir"] = true;
        EXPECT_DEATH(led.exists(), fatalPattern("feature_led_ir", "Key \"feature_led_ir\" has a different type than expected"));
    }
    {
        SimBoard board(0xA5A4);
        bareInfo(0xA5A4, 1);
        LedIr led;
        EXPECT_DEATH(led.isStatusLight(), fatalPattern("feature_led_status", "Key \"feature_led_status\" not available"));
        CameraInfo::instance()["feature_led_status"] = "0";
        EXPECT_DEATH(led.isStatusLight(),
                     fatalPattern("feature_led_status", "Key \"feature_led_status\" has a different type than expected"));
    }
    {
        SimBoard board(0xA532);
        bareInfo(0xA532, 1);
        LedIr led;
        EXPECT_DEATH(led.init("ir"), fatalPattern("hwrev", "Key \"hwrev\" not available"));
        CameraInfo::instance()["hwrev"] = "8";
        EXPECT_DEATH(led.init("ir"), fatalPattern("hwrev", "Key \"hwrev\" has a different type than expected"));
    }
    {
        SimBoard board(0xA533);
        CameraInfo::instance()["isSStar"] = 1ULL;
        LedIr led;
        EXPECT_DEATH(led.init("ir"), fatalPattern("isSStar", "Key \"isSStar\" has a different type than expected"));
    }
    {
        SimBoard board(0xA533);
        CameraInfo::instance().Free();
        CameraInfo::instance().IsArray(false);
        setInfo("feature_led_ir", static_cast<signed char>(1));
        LedIr led;
        EXPECT_DEATH(led.init("ir"), fatalPattern("sysid", "Key \"sysid\" not available"));
    }
}

TEST(LedIr, HwrevIsOnlyReadOnTheFactoryToolBoard) {
    SimBoard board(0xA533);
    bareInfo(0xA533, 1);
    setInfo("isSStar", false);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    EXPECT_TRUE(led.setValue(50, false));
    int value = 0;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 49);
    EXPECT_FALSE(CameraInfo::instance().HasKey("hwrev"));
}

// ---- status light ----

TEST(LedIr, IsStatusLightWhereTheBoardHasNoStatusLed) {
    {
        SimBoard board(0xA5A4);  // feature_led_status 1
        LedIr led;
        EXPECT_FALSE(led.isStatusLight());
        setInfo("feature_led_status", static_cast<signed char>(0));
        EXPECT_TRUE(led.isStatusLight());
        setInfo("feature_led_status", static_cast<signed char>(2));
        EXPECT_TRUE(led.isStatusLight());
        setInfo("feature_led_ir", static_cast<signed char>(0));
        EXPECT_FALSE(led.isStatusLight());
    }
    {
        // 0xA533 always: feature_led_status is not even read.
        SimBoard board(0xA533);
        bareInfo(0xA533, 1);
        LedIr led;
        EXPECT_TRUE(led.isStatusLight());
        setInfo("feature_led_status", static_cast<signed char>(1));
        EXPECT_TRUE(led.isStatusLight());
        setInfo("feature_led_ir", static_cast<signed char>(0));
        EXPECT_FALSE(led.isStatusLight());
    }
    {
        // Without an IR light, feature_led_status is not read.
        SimBoard board(0xA5A4);
        bareInfo(0xA5A4, 0);
        LedIr led;
        EXPECT_FALSE(led.isStatusLight());
    }
}

// ---- plain writes and reads ----

TEST(LedIr, WithoutFadeAValueIsWrittenAtOnceAndSecondIsIgnored) {
    SimBoard board(0xA5A5);
    LogCapture log;
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.setValue(40, false));
    EXPECT_TRUE(led.writeValue(10, 77));
    EXPECT_TRUE(led.writeValue(10, -1));  // written again: no comparison without fade
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 3u);
    for (const auto& write : writes) {
        EXPECT_EQ(write.path, kBusBacklight0);
        EXPECT_EQ(write.offset, 0);
    }
    EXPECT_EQ(writes[0].bytes, withNul("39"));
    EXPECT_EQ(writes[1].bytes, withNul("10"));
    EXPECT_EQ(writes[2].bytes, withNul("10"));
    EXPECT_EQ(led.lastPrimaryValue, 10);
    EXPECT_EQ(led.lastSecondaryValue, -1);
    EXPECT_EQ(board.value(kBusBacklight1), "0");
    EXPECT_THAT(calls(board.journal(), Call::Sleep), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedIr, PlainWriteFailuresAreLoggedWithErrno) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    ASSERT_TRUE(led.writeValue(20));
    log.clear();
    const int fd = openedFd(board.journal(), kBacklight0);

    board.sandbox().failCalls(kBacklight0, Call::Write, EIO);
    EXPECT_FALSE(led.writeValue(30));
    EXPECT_EQ(led.lastPrimaryValue, 20);
    board.sandbox().shortWrite(kBacklight0, 2);
    errno = 0;
    EXPECT_FALSE(led.writeValue(31));
    EXPECT_EQ(led.lastPrimaryValue, 20);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "writeValue", 3, EIO, "Failed to write '30' to proc entry " + hex(fd)},
                            Expected{kSource, "writeValue", 3, 0, "Failed to write '31' to proc entry " + hex(fd)}));

    // Interrupted writes are repeated with the same bytes.
    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().failCalls(kBacklight0, Call::Write, EINTR, 2);
    EXPECT_TRUE(led.writeValue(32));
    EXPECT_EQ(led.lastPrimaryValue, 32);
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 3u);
    for (const auto& write : writes) EXPECT_EQ(write.bytes, withNul("32"));
    EXPECT_EQ(writes[0].error, EINTR);
    EXPECT_EQ(writes[2].result, 3);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedIr, ReadValueReadsTheSelectedPath) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    const int fd = openedFd(board.journal(), kBacklight0);
    board.sandbox().setValue(kBacklight0, " 57 ");
    board.sandbox().failCalls(kBacklight0, Call::Read, EINTR, 2);
    int value = 0;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 57);

    board.sandbox().failCalls(kBacklight0, Call::Read, EIO);
    value = 3;
    EXPECT_FALSE(led.readValue(value));
    EXPECT_EQ(value, 3);
    board.sandbox().emptyRead(kBacklight0);
    errno = 0;
    EXPECT_FALSE(led.readValue(value));
    EXPECT_THAT(log.records(),
                ElementsAre(rangeRecord(1),
                            Expected{kSource, "readValue", 3, EIO,
                                     "Failed to read from proc entry " + hex(fd) + ", num bytes read -1"},
                            Expected{kSource, "readValue", 3, 0,
                                     "Failed to read from proc entry " + hex(fd) + ", num bytes read 0"}));
}

TEST(LedIr, WithoutAPathNothingIsReadOrWritten) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;  // never initialised
    int value = 8;
    EXPECT_FALSE(led.readValue(value));
    EXPECT_EQ(value, 8);
    EXPECT_FALSE(led.writeValue(5));
    EXPECT_FALSE(led.writeValue(5, 6));
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- the factory tool of the early 0xA532 revisions ----

TEST(LedIr, EarlyA532RunsTheFactoryToolForEveryValue) {
    SimBoard board(0xA532);  // hwrev 8
    LogCapture log;
    orva::sim::registerProgram(kFactoryTool, 0);
    board.attribute(kBacklight0, "33");
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    // The IR light cannot be read back: init opens the backlight but reads nothing.
    EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("open " + kBacklight0));
    EXPECT_EQ(led.lastPrimaryValue, -1);
    board.sandbox().clearJournal();

    EXPECT_TRUE(led.writeValue(0));
    EXPECT_TRUE(led.writeValue(57, 3));
    EXPECT_TRUE(led.setValue(100, false));
    EXPECT_EQ(orva::sim::programRuns(kFactoryTool),
              std::vector<std::vector<std::string>>(3, kFactoryToolArguments));
    EXPECT_THAT(calls(board.journal(), Call::Write), IsEmpty());
    EXPECT_EQ(led.lastPrimaryValue, -1);

    int value = 77;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 77);
    EXPECT_THAT(calls(board.journal(), Call::Read), IsEmpty());
    EXPECT_EQ(board.value(kBacklight0), "33");
    EXPECT_THAT(log.records(), ElementsAre(rangeRecord(1)));
}

TEST(LedIr, FactoryToolFailuresAreReported) {
    SimBoard board(0xA532);
    LogCapture log;
    orva::sim::registerProgram(kFactoryTool, 3);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    EXPECT_FALSE(led.writeValue(40));
    orva::sim::registerProgram(kFactoryTool, [](const std::vector<std::string>&) {
        return ProgramOutcome::notStarted(ENOENT);
    });
    EXPECT_FALSE(led.writeValue(40));
    orva::sim::registerProgram(kFactoryTool, [](const std::vector<std::string>&) {
        return ProgramOutcome::killed(SIGSEGV);
    });
    EXPECT_FALSE(led.setValue(40, false));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeValue", 3, 0, "Failed to run fac_cmd, ret=3"},
                                           Expected{kSource, "writeValue", 3, 0, "Failed to run fac_cmd, ret=-1"},
                                           Expected{kSource, "writeValue", 3, 0, "Failed to run fac_cmd, ret=-1"},
                                           Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
    EXPECT_EQ(orva::sim::programRuns(kFactoryTool).size(), 3u);
}

TEST(LedIr, A532FromHwrevNineUsesTheBacklight) {
    for (const unsigned long long hwrev : {9ULL, 12ULL}) {
        SimBoard board(0xA532);
        setInfo("hwrev", hwrev);
        board.attribute(kBacklight0, "33");
        ProbedLedIr led;
        ASSERT_TRUE(led.init("ir"));
        EXPECT_EQ(led.lastPrimaryValue, 33);
        EXPECT_TRUE(led.writeValue(57));
        EXPECT_THAT(writesTo(board.journal(), kBacklight0), ElementsAre(withNul("57")));
        EXPECT_THAT(calls(board.journal(), Call::Exec), IsEmpty());
    }
}

// ---- path selection ----

TEST(LedIr, PathIndexMovesALitLightToTheOtherChannel) {
    SimBoard board(0xA5A5);
    LogCapture log;
    board.attribute(kBusBacklight0, "40");
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    board.sandbox().clearJournal();
    EXPECT_EQ(led.setPathIndex(2), 0);
    EXPECT_EQ(led.pathFd, led.secondaryFd);
    EXPECT_THAT(callsAndPaths(board.journal()),
                ElementsAre("read " + kBusBacklight0, "write " + kBusBacklight0, "write " + kBusBacklight1));
    const auto writes = calls(board.journal(), Call::Write);
    EXPECT_EQ(writes[0].bytes, withNul("0"));
    EXPECT_EQ(writes[1].bytes, withNul("40"));
    int value = 0;
    EXPECT_TRUE(led.readValue(value));  // now from channel 2
    EXPECT_EQ(value, 40);

    board.sandbox().clearJournal();
    EXPECT_EQ(led.setPathIndex(1), 0);
    EXPECT_EQ(led.pathFd, led.primaryFd);
    EXPECT_THAT(callsAndPaths(board.journal()),
                ElementsAre("read " + kBusBacklight1, "write " + kBusBacklight1, "write " + kBusBacklight0));
    EXPECT_EQ(board.value(kBusBacklight0), "40");
    EXPECT_EQ(board.value(kBusBacklight1), "0");
    EXPECT_THAT(log.records(), ElementsAre(rangeRecord(1)));
}

TEST(LedIr, PathIndexOfADarkLightOnlySwitchesThePath) {
    SimBoard board(0xA5A5);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    board.sandbox().clearJournal();
    EXPECT_EQ(led.setPathIndex(2), 0);
    EXPECT_EQ(led.pathFd, led.secondaryFd);
    EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("read " + kBusBacklight0));
}

TEST(LedIr, InvalidPathIndexSwitchesTheLightOffAndKeepsThePath) {
    SimBoard board(0xA5A5);
    LogCapture log;
    board.attribute(kBusBacklight0, "40");
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    board.sandbox().clearJournal();
    for (const int index : {3, 0, -1}) {
        EXPECT_EQ(led.setPathIndex(index), -1);
        EXPECT_EQ(led.pathFd, led.primaryFd);
    }
    // The first call switched the light off; the others find it off.
    EXPECT_THAT(callsAndPaths(board.journal()),
                ElementsAre("read " + kBusBacklight0, "write " + kBusBacklight0, "read " + kBusBacklight0,
                            "read " + kBusBacklight0));
    EXPECT_EQ(board.value(kBusBacklight0), "0");
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setPathIndex", 4, 0, "Invalid index 3"},
                                           Expected{kSource, "setPathIndex", 4, 0, "Invalid index 0"},
                                           Expected{kSource, "setPathIndex", 4, 0, "Invalid index -1"}));
}

TEST(LedIr, PathIndexNeedsTheCurrentValue) {
    SimBoard board(0xA5A5);
    LogCapture log;
    board.attribute(kBusBacklight0, "40");
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    board.sandbox().clearJournal();
    board.sandbox().failCalls(kBusBacklight0, Call::Read, EIO);
    EXPECT_EQ(led.setPathIndex(2), -1);
    EXPECT_EQ(led.pathFd, led.primaryFd);
    EXPECT_THAT(calls(board.journal(), Call::Write), IsEmpty());
    const int fd = led.primaryFd;
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "readValue", 3, EIO,
                                     "Failed to read from proc entry " + hex(fd) + ", num bytes read -1"},
                            Expected{kSource, "setPathIndex", 3, 0, "Failed to read current value"}));
}

TEST(LedIr, SelectingAMissingChannelLeavesNoPath) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    EXPECT_EQ(led.setPathIndex(2), 0);
    EXPECT_EQ(led.pathFd, -1);
    EXPECT_FALSE(led.writeValue(10));
    // Without a path the current value cannot be read, so there is no way back.
    EXPECT_EQ(led.setPathIndex(1), -1);
    EXPECT_EQ(led.pathFd, -1);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "setPathIndex", 3, 0, "Failed to read current value"}));
}

TEST(LedIr, PathIndexOnEarlyA532OnlySwitchesThePath) {
    SimBoard board(0xA532);
    orva::sim::registerProgram(kFactoryTool, 0);
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    board.sandbox().clearJournal();
    EXPECT_EQ(led.setPathIndex(2), 0);
    EXPECT_EQ(led.pathFd, -1);
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- direct PWM and IR brightness ----

TEST(LedIr, DirectPwmWriteIsRefusedUnlessTheFlagIsSet) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    board.sandbox().clearJournal();
    EXPECT_FALSE(led.directPwmWrite(50, -1));
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "directPwmWrite", 3, 0, "Not Support directPwmWrite()"}));
}

TEST(LedIr, DirectPwmWriteValidatesAndWrites) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    led.directPwm = true;
    EXPECT_FALSE(led.directPwmWrite(50, -1));  // no path yet
    ASSERT_TRUE(led.init("ir"));
    board.sandbox().clearJournal();
    EXPECT_FALSE(led.directPwmWrite(100, -1));
    EXPECT_FALSE(led.directPwmWrite(-1, -1));
    EXPECT_TRUE(led.directPwmWrite(99, 5));
    EXPECT_TRUE(led.directPwmWrite(0, -1));
    EXPECT_THAT(writesTo(board.journal(), kBacklight0), ElementsAre(withNul("99"), withNul("0")));
    setInfo("feature_led_ir", static_cast<signed char>(0));
    EXPECT_FALSE(led.directPwmWrite(10, -1));
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "directPwmWrite", 3, 0, "Internal error"},
                                           rangeRecord(1),
                                           Expected{kSource, "directPwmWrite", 3, 0, "Validation failed, value=100"},
                                           Expected{kSource, "directPwmWrite", 3, 0, "Validation failed, value=-1"},
                                           Expected{kSource, "directPwmWrite", 3, 0, "Internal error"}));
}

TEST(LedIr, IrBrightnessBecomesThePercentBrightness) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedIr led;
    EXPECT_FALSE(led.irSetBrightness(100));  // no path yet
    ASSERT_TRUE(led.init("ir"));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.irSetBrightness(255));  // unchanged
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_FALSE(led.irSetBrightness(256));
    EXPECT_FALSE(led.irSetBrightness(-1));
    EXPECT_EQ(led.irBrightness, 255);

    EXPECT_TRUE(led.irSetBrightness(128));  // no value yet: nothing to re-apply
    EXPECT_EQ(led.irBrightness, 128);
    EXPECT_THAT(board.journal(), IsEmpty());
    ASSERT_TRUE(led.setValue(100, false));  // at 50 %: 49
    EXPECT_TRUE(led.irSetBrightness(255));  // 100 %: 99
    EXPECT_TRUE(led.irSetBrightness(2));    // 200 / 255 = 0 %: 0
    EXPECT_TRUE(led.irSetBrightness(2));
    EXPECT_THAT(writesTo(board.journal(), kBacklight0), ElementsAre(withNul("49"), withNul("99"), withNul("0")));

    setInfo("feature_led_ir", static_cast<signed char>(0));
    EXPECT_FALSE(led.irSetBrightness(10));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "irSetBrightness", 3, 0, "Internal error"}, rangeRecord(1),
                            Expected{kSource, "irSetBrightness", 3, 0, "Validation failed, brightness=256"},
                            Expected{kSource, "irSetBrightness", 3, 0, "Validation failed, brightness=-1"},
                            Expected{kSource, "irSetBrightness", 3, 0, "Internal error"}));
}

TEST(LedIr, IrBrightnessWithDirectPwmOnlyStoresTheScale) {
    SimBoard board(0xA533);
    ProbedLedIr led;
    led.directPwm = true;
    ASSERT_TRUE(led.init("ir"));
    ASSERT_TRUE(led.setValue(100, false));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.irSetBrightness(128));
    EXPECT_EQ(led.irBrightness, 128);
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- white light and accessory IR (the once-per-process lookups are in LedIrOncePerProcessTest) ----

TEST(LedIr, WhiteLightSwitchesBetweenTheBoardLevelAndZero) {
    const std::tuple<uint32_t, std::string, std::string> cases[] = {
        {0xA598, kPwm0, "14900"}, {0xA59A, kPwm1, "100"}, {0xA59B, kPwm1, "75"}, {0xA5A6, kBusBacklight0, "218"}};
    for (const auto& [sysid, path, level] : cases) {
        SCOPED_TRACE(path);
        SimBoard board(sysid);
        LogCapture log;
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setWhiteLedOn(true));
        EXPECT_TRUE(led.setWhiteLedOn(false));
        EXPECT_TRUE(led.setWhiteLedOnFd(true));
        EXPECT_THAT(callsAndPaths(board.journal()), ElementsAre("write " + path, "write " + path, "write " + path));
        EXPECT_THAT(writesTo(board.journal(), path), ElementsAre(withNul(level), withNul("0"), withNul(level)));
        EXPECT_EQ(board.value(path), level);
        EXPECT_THAT(log.records(), ElementsAre(rangeRecord(sysid == 0xA59B ? 0 : 1)));
    }
}

TEST(LedIr, MissingWhiteLightAndAccessoryIrAreSuccessfulNoOps) {
    for (const uint32_t sysid : {0xA533u, 0xA5A4u, 0xA5A5u, 0xA59Au, 0xA59Bu, 0xA5A6u}) {
        SimBoard board(sysid);
        LogCapture log;
        LedIr led;
        ASSERT_TRUE(led.init("ir"));
        log.clear();
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.accessoryIrOn(true));
        EXPECT_TRUE(led.accessoryIrOn(false));
        if (sysid == 0xA533 || sysid == 0xA5A4 || sysid == 0xA5A5) {
            EXPECT_TRUE(led.setWhiteLedOn(true));
            EXPECT_TRUE(led.setMaxWhiteLedLevel(5));
        }
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    }
}

TEST(LedIr, WhiteLightWriteFailureIsLogged) {
    SimBoard board(0xA59A);
    LogCapture log;
    LedIr led;
    ASSERT_TRUE(led.init("ir"));
    log.clear();
    const int fd = openedFd(board.journal(), kPwm1);
    board.sandbox().failCalls(kPwm1, Call::Write, EIO);
    EXPECT_FALSE(led.setWhiteLedOn(true));
    board.sandbox().failCalls(kPwm1, Call::Write, EINTR, 3);
    EXPECT_TRUE(led.setWhiteLedOn(true));
    board.sandbox().shortWrite(kPwm1, 1);
    errno = 0;
    EXPECT_FALSE(led.setWhiteLedOn(false));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "setWhiteLedOnFd", 3, EIO, "Failed to write '100' to proc entry " + hex(fd)},
                            Expected{kSource, "setWhiteLedOnFd", 3, 0, "Failed to write '0' to proc entry " + hex(fd)}));
}
