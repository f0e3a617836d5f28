// The glow light through the simulator: existence by doorbell flag and board, the board table
// (file, full scale, start-dark writes), reads and writes, every failing system call, the steady
// state, and the white LED it shares with the infrared face.
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <string>

#include <gmock/gmock.h>

#include "FaceJournalSupport.h"
#include "orva/platform.h"
#include "orva_gpio_utils/LedGlow.h"
#include "orva_gpio_utils/LedIr.h"

using namespace orva::test;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

// Counts the strict lookups of the board identifier: every one asks the device-information map
// whether it has "sysid". This definition takes the place of the platform library's for the
// whole process and hands every call on to it.
namespace {
int sysidLookups = 0;
}  // namespace

bool orva::variant::Variant::HasKey(const std::string& key) const {
    using HasKeyFunction = bool (*)(const Variant*, const std::string&);
    static const auto platformHasKey = reinterpret_cast<HasKeyFunction>(
        dlsym(RTLD_NEXT, "_ZNK4orva7variant7Variant6HasKeyERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"));
    if (platformHasKey == nullptr) abort();
    if (key == "sysid") ++sysidLookups;
    return platformHasKey(this, key);
}

namespace {

const std::string kSource = "src/LedGlow";
const std::string kBusBacklight0 = "/sys/class/backlight/bogus_bus:pwm_bl@0/brightness";
const std::string kBusBacklight1 = "/sys/class/backlight/bogus_bus:pwm_bl@1/brightness";
const std::string kTorch = "/sys/class/leds/torch1/brightness";
const std::string kPwm0 = "/sys/class/pwm/pwmchip0/pwm0/duty_cycle";
const std::string kPwm1 = "/sys/class/pwm/pwmchip0/pwm1/duty_cycle";

class ProbedLedGlow : public LedGlow {
public:
    using LedGlow::glowFd;
};

void setSysid(unsigned long long sysid) { CameraInfo::instance()["sysid"] = sysid; }
void setDoorbell(bool doorbell) { CameraInfo::instance()["isDoorbellSeries"] = doorbell; }

// A device-information map with a sysid and nothing else.
void bareInfo(unsigned long long sysid) {
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    setSysid(sysid);
}

Expected notSupported(const char* function) { return Expected{kSource, function, 3, 0, "Not supported"}; }
Expected initFailed() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected openFailed(const std::string& path) {
    return Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}
Expected writeFailed(const char* function, const std::string& text, int fd, int error) {
    char line[128];
    snprintf(line, sizeof(line), "Failed to write '%s' to proc entry 0x%x", text.c_str(), static_cast<unsigned>(fd));
    return Expected{kSource, function, 3, error, line};
}
Expected readFailed(int fd, int count, int error) {
    char line[128];
    snprintf(line, sizeof(line), "Failed to read from proc entry 0x%x, num bytes read %d", static_cast<unsigned>(fd), count);
    return Expected{kSource, "readValue", 3, error, line};
}

struct GlowCase {
    uint32_t sysid;
    std::string path;
    int rangeMax;
    bool torch;
};

void PrintTo(const GlowCase& c, std::ostream* os) { *os << std::hex << "0x" << c.sysid; }

const GlowCase kGlowCases[] = {
    {0xA571, kBusBacklight1, 49, false}, {0xA574, kTorch, 15, true},    {0xA575, kTorch, 15, true},
    {0xA598, kPwm0, 14900, false},       {0xA59A, kPwm1, 100, false},   {0xA59B, kPwm1, 75, false},
    {0xA5A6, kBusBacklight0, 218, false},
};

class GlowBoardTable : public testing::TestWithParam<GlowCase> {};

}  // namespace

// ---- construction and fixed answers ----

TEST(LedGlow, ConstructionLeavesTheFileClosedAndTouchesNothing) {
    SimBoard board(0xA598);
    {
        ProbedLedGlow led;
        EXPECT_EQ(led.glowFd, -1);
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedGlow, FixedAnswersAndNoAutoMode) {
    SimBoard board(0xA598);
    LogCapture log;
    LedGlow led;
    EXPECT_FALSE(led.isBinary());
    EXPECT_FALSE(led.hasAutoMode());
    EXPECT_FALSE(led.isManagedByMcu());
    EXPECT_EQ(led.rangeMin(), 0);
    bool enabled = true;
    EXPECT_FALSE(led.writeAutoMode());
    EXPECT_FALSE(led.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_THAT(log.records(), ElementsAre(notSupported("writeAutoMode"), notSupported("readAutoMode")));
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- existence ----

TEST(LedGlow, ExistsOnTheFourWhiteLedBoardsWithoutTheDoorbellFlag) {
    for (const uint32_t sysid : {0xA598u, 0xA59Au, 0xA59Bu, 0xA5A6u}) {
        bareInfo(sysid);
        LedGlow led;
        EXPECT_TRUE(led.exists()) << std::hex << sysid;
        // The defaulting lookup left the flag in the map, false.
        ASSERT_TRUE(CameraInfo::instance().HasKey("isDoorbellSeries"));
        EXPECT_FALSE(static_cast<bool>(CameraInfo::instance()["isDoorbellSeries"]));
    }
}

TEST(LedGlow, TheTorchAndBacklightDoorbellsExistOnlyThroughTheDoorbellFlag) {
    for (const uint32_t sysid : {0xA571u, 0xA574u, 0xA575u}) {
        bareInfo(sysid);
        LedGlow led;
        EXPECT_FALSE(led.exists()) << std::hex << sysid;
        setDoorbell(true);
        EXPECT_TRUE(led.exists()) << std::hex << sysid;
    }
}

TEST(LedGlow, AnyDoorbellExistsEvenOutsideTheTable) {
    bareInfo(0xA533);
    setDoorbell(true);
    LedGlow led;
    EXPECT_TRUE(led.exists());
}

TEST(LedGlow, OffTheTableItDoesNotExistHasFullScaleOneAndInitTouchesNothing) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_FALSE(led.exists());
    EXPECT_FALSE(static_cast<bool>(CameraInfo::instance()["isDoorbellSeries"]));
    EXPECT_EQ(led.rangeMax(), 1);
    ASSERT_TRUE(led.init("glow"));
    EXPECT_TRUE(led.setValue(100, false));
    EXPECT_TRUE(led.setBoolean(true));
    EXPECT_TRUE(led.setBrightness(20));
    EXPECT_EQ(led.glowFd, -1);
    EXPECT_THAT(board.journal(), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedGlow, InitGpioOffTheTableIsNotSupported) {
    SimBoard board(0xA533);
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_FALSE(led.initGPIO());
    EXPECT_EQ(led.glowFd, -1);
    EXPECT_THAT(log.records(), ElementsAre(notSupported("initGPIO")));
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedGlow, ADoorbellOutsideTheTableExistsButFailsToInitialise) {
    SimBoard board(0xA533);
    setDoorbell(true);
    LogCapture log;
    LedGlow led;
    EXPECT_TRUE(led.exists());
    EXPECT_FALSE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(notSupported("initGPIO"), initFailed()));
    EXPECT_THAT(board.journal(), IsEmpty());
    // Never initialised: every operation is refused.
    log.clear();
    EXPECT_FALSE(led.setValue(10, false));
    EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
}

TEST(LedGlow, MissingSysidIsFatalAfterTheDoorbellFlagWasRead) {
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    LedGlow led;
    // A doorbell answers before the board identifier is looked at.
    setDoorbell(true);
    EXPECT_TRUE(led.exists());
    setDoorbell(false);
    EXPECT_DEATH(led.exists(), "camerainfo:sysid:[0-9]+: Key \"sysid\" not available(.|\n)*forceCrash called");
    CameraInfo::instance()["sysid"] = "A598";
    EXPECT_DEATH(led.rangeMax(),
                 "camerainfo:sysid:[0-9]+: Key \"sysid\" has a different type than expected(.|\n)*forceCrash called");
}

TEST(LedGlow, AMistypedDoorbellFlagIsFatal) {
    bareInfo(0xA598);
    CameraInfo::instance()["isDoorbellSeries"] = 1;
    LedGlow led;
    EXPECT_DEATH(led.exists(), "camerainfo:isDoorbellSeries:[0-9]+: Key \"isDoorbellSeries\" has a different type "
                               "than expected(.|\n)*forceCrash called");
}

// ---- the board table ----

TEST_P(GlowBoardTable, OpensTheBoardFileAndStartsDark) {
    const GlowCase& c = GetParam();
    SimBoard board(c.sysid);
    board.sandbox().setValue(c.path, "9");
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_TRUE(led.exists());
    EXPECT_EQ(led.rangeMax(), c.rangeMax);
    ASSERT_TRUE(led.init("glow"));
    EXPECT_GT(led.glowFd, 0);
    std::vector<FileCall> expected{openOf(c.path, led.glowFd)};
    // The torch boards get "0" twice.
    if (c.torch) expected.push_back(writeOf(c.path, "0"));
    expected.push_back(writeOf(c.path, "0"));
    EXPECT_EQ(fileCalls(board.journal()), expected);
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(opens[0].flags, O_RDWR | O_CREAT | O_TRUNC);
    EXPECT_EQ(opens[0].mode, 0666u);
    for (const JournalEntry& write : calls(board.journal(), Call::Write)) EXPECT_EQ(write.offset, 0);
    EXPECT_EQ(board.value(c.path), "0");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(GlowBoardTable, UserPercentIsScaledToTheBoardsFullScale) {
    const GlowCase& c = GetParam();
    SimBoard board(c.sysid);
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.setValue(100, false));
    ASSERT_TRUE(led.setValue(50, false));
    ASSERT_TRUE(led.setValue(1, false));
    ASSERT_TRUE(led.setValue(0, false));
    EXPECT_EQ(fileCalls(board.journal()),
              (std::vector<FileCall>{writeOf(c.path, std::to_string(c.rangeMax)),
                                     writeOf(c.path, std::to_string(c.rangeMax * 50 / 100)),
                                     writeOf(c.path, std::to_string(c.rangeMax / 100)), writeOf(c.path, "0")}));
}

TEST_P(GlowBoardTable, DestructorClosesTheFile) {
    const GlowCase& c = GetParam();
    SimBoard board(c.sysid);
    {
        ProbedLedGlow led;
        ASSERT_TRUE(led.init("glow"));
        board.sandbox().clearJournal();
    }
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{closeOf(c.path)}));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

INSTANTIATE_TEST_SUITE_P(EveryBoard, GlowBoardTable, testing::ValuesIn(kGlowCases));

TEST(LedGlow, FullScaleOn0xA598Is14900InPwm0) {
    SimBoard board(0xA598);
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    ASSERT_TRUE(led.setValue(100, false));
    EXPECT_EQ(board.value(kPwm0), "14900");
    EXPECT_EQ(calls(board.journal(), Call::Write).back().bytes, withNul("14900"));
}

TEST(LedGlow, FullScaleIsLookedUpOnEveryCall) {
    bareInfo(0xA598);
    LedGlow led;
    EXPECT_EQ(led.rangeMax(), 14900);
    setSysid(0xA571);
    EXPECT_EQ(led.rangeMax(), 49);
    setSysid(0xA574);
    EXPECT_EQ(led.rangeMax(), 15);
    setSysid(0xA575);
    EXPECT_EQ(led.rangeMax(), 15);
    setSysid(0xA59A);
    EXPECT_EQ(led.rangeMax(), 100);
    setSysid(0xA59B);
    EXPECT_EQ(led.rangeMax(), 75);
    setSysid(0xA5A6);
    EXPECT_EQ(led.rangeMax(), 218);
    setSysid(0x1A598);  // compared as 32 bits: not 0xA598
    EXPECT_EQ(led.rangeMax(), 1);
}

// ---- how often the board identifier is read ----

namespace {
// The sysid lookups one call makes.
int lookupsOf(const std::function<void()>& call) {
    sysidLookups = 0;
    call();
    return sysidLookups;
}

struct LookupCase {
    uint32_t sysid;
    int exists;    // without the doorbell flag
    int rangeMax;
    int initGpio;
};
}  // namespace

TEST(LedGlow, EveryComparisonReadsTheBoardIdentifierAfreshEachOperationInItsOwnOrder) {
    // exists() tests 0xA59A, 0xA59B, 0xA598, 0xA5A6; rangeMax() looks for 0xA571, 0xA574, 0xA575,
    // 0xA59A, 0xA598, 0xA59B, 0xA5A6; initGPIO() for 0xA571, 0xA574, 0xA575, 0xA59A, 0xA59B,
    // 0xA598, 0xA5A6.
    const LookupCase cases[] = {
        {0xA571, 4, 1, 1}, {0xA574, 4, 2, 2}, {0xA575, 4, 3, 3}, {0xA59A, 1, 4, 4},
        {0xA598, 3, 5, 6}, {0xA59B, 2, 6, 5}, {0xA5A6, 4, 7, 7}, {0xA533, 4, 7, 7},
    };
    for (const LookupCase& c : cases) {
        SimBoard board(c.sysid);
        setDoorbell(false);  // the doorbell boards' profiles say true
        LogCapture log;
        LedGlow led;
        EXPECT_EQ(lookupsOf([&led] { led.exists(); }), c.exists) << std::hex << c.sysid;
        EXPECT_EQ(lookupsOf([&led] { led.rangeMax(); }), c.rangeMax) << std::hex << c.sysid;
        EXPECT_EQ(lookupsOf([&led] { led.initGPIO(); }), c.initGpio) << std::hex << c.sysid;
        // A doorbell exists without a look at the board identifier.
        setDoorbell(true);
        EXPECT_EQ(lookupsOf([&led] { EXPECT_TRUE(led.exists()); }), 0) << std::hex << c.sysid;
    }
}

TEST(LedGlow, InitOn0xA598ReadsTheBoardIdentifierFourteenTimes) {
    SimBoard board(0xA598);
    LedGlow led;
    // exists() 3, rangeMax() 5, initGPIO() 6.
    EXPECT_EQ(lookupsOf([&led] { ASSERT_TRUE(led.init("glow")); }), 14);
    EXPECT_EQ(lookupsOf([&led] { ASSERT_TRUE(led.setValue(30, false)); }), 0);
}

// ---- a second initialisation ----

TEST(LedGlow, ASecondInitAfterAFailedStartDarkWriteClosesTheFirstDescriptor) {
    SimBoard board(0xA59B);
    board.sandbox().failCalls(kPwm1, Call::Write, EIO);
    LogCapture log;
    int first = -1;
    {
        ProbedLedGlow led;
        EXPECT_FALSE(led.init("glow"));
        first = led.glowFd;
        ASSERT_GT(first, 0);
        EXPECT_EQ(board.sandbox().openDescriptors(), 1);
        board.sandbox().clearJournal();
        ASSERT_TRUE(led.init("glow"));
        EXPECT_EQ(fileCalls(board.journal()),
                  (std::vector<FileCall>{closeOf(kPwm1), openOf(kPwm1, led.glowFd), writeOf(kPwm1, "0")}));
        const auto closes = calls(board.journal(), Call::Close);
        ASSERT_EQ(closes.size(), 1u);
        EXPECT_EQ(closes[0].fd, first);
        EXPECT_EQ(board.sandbox().openDescriptors(), 1);
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("initGPIO", "0", first, EIO), initFailed()));
}

TEST(LedGlow, ASecondInitAfterADescriptorZeroClosesItBeforeOpeningAgain) {
    SimBoard board(0xA574);
    board.sandbox().zeroDescriptor(kTorch);
    {
        ProbedLedGlow led;
        EXPECT_FALSE(led.init("glow"));
        EXPECT_EQ(led.glowFd, 0);
        board.sandbox().clearJournal();
        ASSERT_TRUE(led.init("glow"));
        const auto closes = calls(board.journal(), Call::Close);
        ASSERT_EQ(closes.size(), 1u);
        EXPECT_EQ(closes[0].fd, 0);
        EXPECT_EQ(fileCalls(board.journal()),
                  (std::vector<FileCall>{FileCall{Call::Close, "", "", 0}, openOf(kTorch, led.glowFd), writeOf(kTorch, "0"),
                                         writeOf(kTorch, "0")}));
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

// ---- values ----

TEST(LedGlow, WriteValueIsNotRangeChecked) {
    SimBoard board(0xA59B);
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.writeValue(-5));
    EXPECT_TRUE(led.writeValue(2147483647));
    EXPECT_EQ(fileCalls(board.journal()),
              (std::vector<FileCall>{writeOf(kPwm1, "-5"), writeOf(kPwm1, "2147483647")}));
}

TEST(LedGlow, ReadValueBeforeInitGivesZeroAndFalseSilently) {
    SimBoard board(0xA598);
    LogCapture log;
    LedGlow led;
    int value = 77;
    EXPECT_FALSE(led.readValue(value));
    EXPECT_EQ(value, 0);
    EXPECT_FALSE(led.writeValue(5));
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(LedGlow, ReadValueReadsTheFileAndSaveRestoreUseIt) {
    SimBoard board(0xA5A6);
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().setValue(kBusBacklight0, "109");
    board.sandbox().clearJournal();
    int value = 0;
    ASSERT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 109);
    const auto reads = calls(board.journal(), Call::Read);
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_EQ(reads[0].count, 15u);
    EXPECT_EQ(reads[0].offset, 0);
    EXPECT_EQ(reads[0].bytes, "109\n");
    // save() reads the unknown state back: 109 of 218 is 50 %.
    ASSERT_TRUE(led.save());
    ASSERT_TRUE(led.setValue(100, false));
    board.sandbox().clearJournal();
    ASSERT_TRUE(led.restore());
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kBusBacklight0, "109")}));
}

TEST(LedGlow, ReadFailuresAreLoggedWithTheCount) {
    SimBoard board(0xA598);
    LogCapture log;
    ProbedLedGlow led;
    ASSERT_TRUE(led.init("glow"));
    int value = 3;
    board.sandbox().emptyRead(kPwm0);
    EXPECT_FALSE(led.readValue(value));
    board.sandbox().failCalls(kPwm0, Call::Read, EIO);
    EXPECT_FALSE(led.readValue(value));
    EXPECT_EQ(value, 3);
    EXPECT_THAT(log.records(), ElementsAre(readFailed(led.glowFd, 0, 0), readFailed(led.glowFd, -1, EIO)));
}

TEST(LedGlow, ReadIsRetriedOnEintr) {
    SimBoard board(0xA598);
    LogCapture log;
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().setValue(kPwm0, "7450");
    board.sandbox().failCalls(kPwm0, Call::Read, EINTR, 2);
    board.sandbox().clearJournal();
    int value = 0;
    EXPECT_TRUE(led.readValue(value));
    EXPECT_EQ(value, 7450);
    EXPECT_EQ(calls(board.journal(), Call::Read).size(), 3u);
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- failures at every call ----

TEST(LedGlow, MissingFileFailsTheOpen) {
    SimBoard board(0xA598);
    board.sandbox().removeAttribute(kPwm0);
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_FALSE(led.init("glow"));
    EXPECT_EQ(led.glowFd, -1);
    EXPECT_THAT(log.records(), ElementsAre(openFailed(kPwm0), initFailed()));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 1u);
    EXPECT_EQ(opens[0].error, EACCES);
    EXPECT_THAT(calls(board.journal(), Call::Write), IsEmpty());
}

TEST(LedGlow, OpenErrorFailsInit) {
    SimBoard board(0xA574);
    board.sandbox().failCalls(kTorch, Call::Open, EIO);
    LogCapture log;
    LedGlow led;
    EXPECT_FALSE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(openFailed(kTorch), initFailed()));
    EXPECT_THAT(calls(board.journal(), Call::Write), IsEmpty());
}

TEST(LedGlow, OpenIsRetriedOnEintr) {
    SimBoard board(0xA574);
    board.sandbox().failCalls(kTorch, Call::Open, EINTR, 3);
    LogCapture log;
    LedGlow led;
    EXPECT_TRUE(led.init("glow"));
    EXPECT_EQ(calls(board.journal(), Call::Open).size(), 4u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedGlow, DescriptorZeroCountsAsAFailedOpenAndIsClosedLater) {
    SimBoard board(0xA571);
    board.sandbox().zeroDescriptor(kBusBacklight1);
    LogCapture log;
    {
        ProbedLedGlow led;
        EXPECT_FALSE(led.init("glow"));
        EXPECT_EQ(led.glowFd, 0);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(kBusBacklight1), initFailed()));
        EXPECT_THAT(calls(board.journal(), Call::Write), IsEmpty());
        board.sandbox().clearJournal();
    }
    // Closed as any descriptor of 0 or more.
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].fd, 0);
}

TEST(LedGlow, FailedStartDarkWriteFailsInit) {
    SimBoard board(0xA598);
    board.sandbox().failCalls(kPwm0, Call::Write, EIO);
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_FALSE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("initGPIO", "0", led.glowFd, EIO), initFailed()));
}

TEST(LedGlow, ShortStartDarkWriteFailsInit) {
    SimBoard board(0xA5A6);
    board.sandbox().shortWrite(kBusBacklight0, 1);
    LogCapture log;
    ProbedLedGlow led;
    errno = 0;
    EXPECT_FALSE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("initGPIO", "0", led.glowFd, 0), initFailed()));
}

TEST(LedGlow, OnTheTorchBoardsTheFirstZeroMayFailWithoutFailingInit) {
    SimBoard board(0xA575);
    board.sandbox().failCalls(kTorch, Call::Write, EIO);
    LogCapture log;
    ProbedLedGlow led;
    EXPECT_TRUE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("writeValue", "0", led.glowFd, EIO)));
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0].result, -1);
    EXPECT_EQ(writes[1].bytes, withNul("0"));
    EXPECT_EQ(writes[1].result, 2);
}

namespace {
// Runs a step after each writeValue, so that a fault can be set up between the torch boards'
// first "0" and the start-dark one.
class StepAfterWrite : public ProbedLedGlow {
public:
    std::function<void()> step;
    bool writeValue(int value) override {
        const bool written = LedGlow::writeValue(value);
        if (step) step();
        return written;
    }
};
}  // namespace

TEST(LedGlow, OnTheTorchBoardsTheSecondZeroFailingFailsInit) {
    SimBoard board(0xA574);
    LogCapture log;
    StepAfterWrite led;
    led.step = [&board] { board.sandbox().failCalls(kTorch, Call::Write, ENOSPC); };
    EXPECT_FALSE(led.init("glow"));
    EXPECT_THAT(log.records(), ElementsAre(writeFailed("initGPIO", "0", led.glowFd, ENOSPC), initFailed()));
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0].result, 2);
    EXPECT_EQ(writes[1].result, -1);
}

TEST(LedGlow, WritesAreRetriedOnEintr) {
    SimBoard board(0xA59A);
    LogCapture log;
    LedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().failCalls(kPwm1, Call::Write, EINTR, 2);
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setValue(40, false));
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 3u);
    for (const JournalEntry& write : writes) EXPECT_EQ(write.bytes, withNul("40"));
    EXPECT_EQ(writes[0].error, EINTR);
    EXPECT_EQ(writes[2].result, 3);
    EXPECT_EQ(board.value(kPwm1), "40");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(LedGlow, FailedAndShortValueWritesAreReportedAndTheValueStaysUnknown) {
    SimBoard board(0xA59B);
    LogCapture log;
    ProbedLedGlow led;
    ASSERT_TRUE(led.init("glow"));
    board.sandbox().failCalls(kPwm1, Call::Write, EIO);
    EXPECT_FALSE(led.setValue(100, false));
    board.sandbox().shortWrite(kPwm1, 2);
    errno = 0;  // a short write sets no errno: the record carries whatever errno held
    EXPECT_FALSE(led.setValue(100, false));
    EXPECT_THAT(log.records(),
                ElementsAre(writeFailed("writeValue", "75", led.glowFd, EIO),
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"},
                            writeFailed("writeValue", "75", led.glowFd, 0),
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
    // Not recorded as current: the next try writes again.
    board.sandbox().clearJournal();
    EXPECT_TRUE(led.setValue(100, false));
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kPwm1, "75")}));
}

TEST(LedGlow, AFailingCloseIsNotReported) {
    SimBoard board(0xA59A);
    LogCapture log;
    {
        LedGlow led;
        ASSERT_TRUE(led.init("glow"));
        board.sandbox().failCalls(kPwm1, Call::Close, EIO);
        board.sandbox().clearJournal();
    }
    const auto closes = calls(board.journal(), Call::Close);
    ASSERT_EQ(closes.size(), 1u);
    EXPECT_EQ(closes[0].error, EIO);
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

// ---- steady state ----

TEST(LedGlow, OneWritePerChangedValueNoneForAnUnchangedOneAndNoAllocations) {
    SimBoard board(0xA598);
    ProbedLedGlow led;
    ASSERT_TRUE(led.init("glow"));
    // Room in the journal, so that its growth does not count.
    for (int i = 0; i < 64; ++i) ASSERT_TRUE(led.setValue(i % 2 == 0 ? 10 : 20, false));
    board.sandbox().clearJournal();
    const size_t simulatorCost = simulatorAllocationsPerWrite(led.glowFd, withNul("7450"));
    board.sandbox().clearJournal();

    AllocationScope changed;
    ASSERT_TRUE(led.setValue(50, false));
    EXPECT_EQ(changed.count(), simulatorCost);
    EXPECT_EQ(fileCalls(board.journal()), (std::vector<FileCall>{writeOf(kPwm0, "7450")}));

    board.sandbox().clearJournal();
    AllocationScope unchanged;
    ASSERT_TRUE(led.setValue(50, false));
    EXPECT_EQ(unchanged.count(), 0u);
    EXPECT_THAT(board.journal(), IsEmpty());
}

// ---- the white LED shared with the infrared face ----

namespace {

struct SharedCase {
    uint32_t sysid;
    std::string path;
    int level;
};

void PrintTo(const SharedCase& c, std::ostream* os) { *os << std::hex << "0x" << c.sysid; }

class SharedWhiteLed : public testing::TestWithParam<SharedCase> {};

}  // namespace

TEST_P(SharedWhiteLed, InfraredFaceAndGlowLightDriveOneFileInTurn) {
    const SharedCase& c = GetParam();
    SimBoard board(c.sysid);
    LogCapture log;
    LedIr ir;
    LedGlow glow;
    ASSERT_TRUE(ir.init("ir"));
    ASSERT_TRUE(glow.init("glow"));
    EXPECT_EQ(glow.rangeMax(), c.level);
    EXPECT_EQ(board.value(c.path), "0");
    board.sandbox().clearJournal();
    log.clear();

    // The infrared face switches the light on at its level, the glow light dims it, the infrared
    // face switches it off, and the glow light lights it again.
    ASSERT_TRUE(ir.setWhiteLedOn(true));
    EXPECT_EQ(board.value(c.path), std::to_string(c.level));
    ASSERT_TRUE(glow.setValue(50, false));
    EXPECT_EQ(board.value(c.path), std::to_string(c.level / 2));
    ASSERT_TRUE(ir.setWhiteLedOn(false));
    EXPECT_EQ(board.value(c.path), "0");
    ASSERT_TRUE(glow.setValue(100, false));
    EXPECT_EQ(board.value(c.path), std::to_string(c.level));
    // The glow light does not know the infrared face switched the light off: an unchanged value
    // is not written again.
    ASSERT_TRUE(ir.setWhiteLedOn(false));
    ASSERT_TRUE(glow.setValue(100, false));
    EXPECT_EQ(board.value(c.path), "0");

    const std::vector<FileCall> shared = fileCalls(board.sandbox().journal(c.path));
    EXPECT_EQ(shared, (std::vector<FileCall>{writeOf(c.path, std::to_string(c.level)),
                                             writeOf(c.path, std::to_string(c.level / 2)), writeOf(c.path, "0"),
                                             writeOf(c.path, std::to_string(c.level)), writeOf(c.path, "0")}));
    // Two descriptors on the one file.
    const auto writes = calls(board.sandbox().journal(c.path), Call::Write);
    EXPECT_NE(writes[0].fd, writes[1].fd);
    EXPECT_EQ(writes[0].fd, writes[2].fd);
    EXPECT_EQ(writes[1].fd, writes[3].fd);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(FourBoards, SharedWhiteLed,
                         testing::Values(SharedCase{0xA598, kPwm0, 14900}, SharedCase{0xA59A, kPwm1, 100},
                                         SharedCase{0xA59B, kPwm1, 75}, SharedCase{0xA5A6, kBusBacklight0, 218}));
