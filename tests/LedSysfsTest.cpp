// The LED-class colour LED through the simulator: the board rows, which files each value and colour
// reaches with which bytes, the alternative controllers of 0xA5A3, the two LP5012 units of 0xA597,
// every failing call, and the row shared by every face of the board. The current colour and the last
// value live in a process-wide row, so every case that binds a face to a row runs in a child process.
#include <cerrno>
#include <climits>
#include <fcntl.h>

#include <gmock/gmock.h>

#include "FreshProcess.h"
#include "SysfsTestSupport.h"
#include "orva_gpio_utils/LedSysfs.h"

using namespace orva::test;
using namespace orva::test::sysfs;
using orva::sim::BoardProfile;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/LedSysfs";
const char kColors[] = {'R', 'G', 'B', 'W'};

std::string a5a0(char color) { return std::string("/sys/bus/i2c/devices/3-0030/leds/") + color + "/brightness"; }
std::string a5a3I2c(char color) { return std::string("/sys/bus/i2c/devices/0-0030/leds/") + color + "/brightness"; }
std::string a5a3Usb(char color) {
    return std::string("/sys/devices/platform/e0000000.n_ahb/e001f000.ehci/usb1/1-1/1-1.1/usbcm65xx/usbcm65xx_led") +
           static_cast<char>(color - 'A' + 'a');
}
std::string lp5012(char color, int unit) {
    return std::string("/sys/class/leds/lp5012:") + color + std::to_string(unit) + "/color";
}

// Plain writes of the four colours of 0xA5A0, text for the one that is lit and "0" elsewhere.
std::vector<std::string> a5a0Walk(char lit, const std::string& text) {
    std::vector<std::string> lines;
    for (const char color : kColors) {
        const auto write = plainWrite(a5a0(color), color == lit ? text : "0");
        lines.insert(lines.end(), write.begin(), write.end());
    }
    return lines;
}

// The second LP5012 unit: read back, then written.
std::vector<std::string> secondUnit(char color, const std::string& readBack, const std::string& text) {
    const std::string path = lp5012(color, 2);
    return {"open " + path, "read " + path + " " + readBack, "write " + path + " " + text + "\\0", "close " + path};
}

Expected noRow(const char* function) { return Expected{kSource, function, 3, 0, "_sysfsConfig is NULL"}; }
Expected openFailed(const std::string& path) {
    return Expected{kSource, "writeValue", 3, 0, "Failed to open proc entry '" + path + "'"};
}
Expected writeFailed(const std::string& text, int fd, int error) {
    return Expected{kSource, "writeValue", 3, error, "Failed to write '" + text + "' to proc entry " + hex(fd)};
}
Expected baseWriteFailed() { return Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}; }

// The descriptor of the last successful open of path.
int openedFd(const std::vector<JournalEntry>& journal, const std::string& path) {
    int fd = -1;
    for (const JournalEntry& entry : journal) {
        if (entry.call == Call::Open && entry.path == path && entry.result > 0) fd = static_cast<int>(entry.result);
    }
    return fd;
}

int storedValue(const LedSysfs& led) {
    int value = -2;
    EXPECT_TRUE(led.readValue(value));
    return value;
}

}  // namespace

// ---- boards without a row, and faces not yet bound ----

TEST(LedSysfs, UnknownBoardHasNoLedAndEveryWriteFailsWithoutARow) {
    inFreshProcess([] {
        SimBoard board(0xA533);
        LogCapture log;
        LedSysfs led;
        EXPECT_FALSE(led.exists());
        EXPECT_TRUE(led.initGPIO());
        EXPECT_FALSE(led.exists());
        EXPECT_FALSE(led.isBinary());
        EXPECT_FALSE(led.hasAutoMode());
        EXPECT_FALSE(led.isManagedByMcu());
        EXPECT_EQ(led.rangeMin(), 0);
        EXPECT_EQ(led.rangeMax(), 99);
        int value = 7;
        EXPECT_FALSE(led.writeValue(5));
        EXPECT_FALSE(led.readValue(value));
        EXPECT_EQ(value, 7);
        EXPECT_FALSE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_NONE);
        EXPECT_THAT(log.records(), ElementsAre(noRow("writeValue"), noRow("readValue"), noRow("setColor")));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(LedSysfs, UnknownBoardInitialisesAsMissingAndOnlyAForcedValueReachesTheFace) {
    inFreshProcess([] {
        SimBoard board(0xA533);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setValue(50, false));
        EXPECT_TRUE(led.setBoolean(true));
        EXPECT_THAT(log.records(), IsEmpty());
        // A forced value skips the existence test and meets the missing row.
        EXPECT_FALSE(led.setValue(50, true));
        EXPECT_THAT(log.records(), ElementsAre(noRow("writeValue"), baseWriteFailed()));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(LedSysfs, ExistsLooksTheBoardUpWithoutTouchingAFile) {
    for (const uint32_t sysid : {0xA5A0u, 0xA5A3u, 0xA597u}) {
        inFreshProcess([sysid] {
            SimBoard board(sysid);
            LedSysfs led;
            EXPECT_TRUE(led.exists());
            EXPECT_THAT(board.journal(), IsEmpty());
        });
    }
}

TEST(LedSysfs, BeforeInitGPIOEveryWriteFails) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        int value = 3;
        EXPECT_FALSE(led.writeValue(10));
        EXPECT_FALSE(led.readValue(value));
        EXPECT_EQ(value, 3);
        EXPECT_FALSE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        EXPECT_THAT(log.records(), ElementsAre(noRow("writeValue"), noRow("readValue"), noRow("setColor")));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

TEST(LedSysfs, InitBindsTheRowAndOpensNothing) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.exists());
        EXPECT_FALSE(led.isBinary());
        EXPECT_FALSE(led.hasAutoMode());
        EXPECT_FALSE(led.isManagedByMcu());
        EXPECT_EQ(led.rangeMin(), 0);
        EXPECT_EQ(led.rangeMax(), 99);
        // Nothing written yet in this process.
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, AutoModeIsNotSupported) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        bool enabled = true;
        EXPECT_FALSE(led.writeAutoMode());
        EXPECT_FALSE(led.readAutoMode(enabled));
        EXPECT_TRUE(enabled);
        EXPECT_FALSE(led.setAutoMode());
        EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "writeAutoMode", 3, 0, "Not supported"},
                                               Expected{kSource, "readAutoMode", 3, 0, "Not supported"},
                                               Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
        EXPECT_THAT(board.journal(), IsEmpty());
    });
}

// ---- values and colours on 0xA5A0 ----

TEST(LedSysfs, ValueGoesToTheCurrentColourAndZeroToEveryOtherColour) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setValue(50, false));  // 99 * 50 / 100
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('R', "49")));
        EXPECT_EQ(board.value(a5a0('R')), "49");
        EXPECT_EQ(board.value(a5a0('G')), "0");
        EXPECT_EQ(storedValue(led), 49);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, EachFileIsOpenedReadWriteCreateTruncateAndWrittenWithItsNulAtOffsetZero) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.writeValue(99));
        const auto opens = calls(board.journal(), Call::Open);
        ASSERT_EQ(opens.size(), 4u);
        for (const JournalEntry& open : opens) {
            EXPECT_EQ(open.flags, O_RDWR | O_CREAT | O_TRUNC);
            EXPECT_EQ(open.mode, 0666u);
        }
        const auto writes = calls(board.journal(), Call::Write);
        ASSERT_EQ(writes.size(), 4u);
        EXPECT_EQ(writes[0].bytes, withNul("99"));
        EXPECT_EQ(writes[0].count, 3u);
        EXPECT_EQ(writes[1].bytes, withNul("0"));
        for (const JournalEntry& write : writes) EXPECT_EQ(write.offset, 0);
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    });
}

TEST(LedSysfs, SetColorRewritesTheLastValueInTheNewColour) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.setValue(50, false));
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('G', "49")));
        EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_GREEN);
        EXPECT_EQ(led.readBgColor(), BaseLed::COLOR_BLACK);
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_RED));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('W', "49")));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, SetColorToTheSamePairWritesNothing) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.setValue(20, false));
        ASSERT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        EXPECT_THAT(board.journal(), IsEmpty());
        // A new background alone rewrites the value in the same colour.
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_GREEN));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('B', "19")));
    });
}

TEST(LedSysfs, SetColorToAColourWithoutFilesKeepsTheCurrentColour) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        ASSERT_TRUE(led.setValue(30, false));
        board.sandbox().clearJournal();
        for (const BaseLed::Color color : {BaseLed::COLOR_YELLOW, BaseLed::COLOR_AMBER, BaseLed::COLOR_CYAN,
                                           BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK, BaseLed::COLOR_WHITE_RED,
                                           BaseLed::COLOR_WHITE_MAGENTA}) {
            EXPECT_TRUE(led.setColor(color, BaseLed::COLOR_BLACK)) << color;
            EXPECT_EQ(led.readFgColor(), color);
        }
        EXPECT_THAT(board.journal(), IsEmpty());
        // Green still takes the value.
        EXPECT_TRUE(led.setValue(40, false));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('G', "39")));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, SetColorBeforeAnyWriteWritesMinusOneAsItsUnsignedText) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('B', "4294967295")));
        EXPECT_EQ(board.value(a5a0('B')), "4294967295");
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, InvalidColoursAreRejectedAndWriteNothing) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        // The unchanged pair is answered before the colours are checked: on a new face that is
        // (none, none).
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_NONE));
        EXPECT_FALSE(led.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
        EXPECT_FALSE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_NONE));
        EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(16), BaseLed::COLOR_BLACK));
        EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(-1), BaseLed::COLOR_BLACK));
        EXPECT_FALSE(led.setColor(static_cast<BaseLed::Color>(INT_MIN), BaseLed::COLOR_BLACK));
        EXPECT_EQ(led.readFgColor(), BaseLed::COLOR_NONE);
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, ExtremeValuesReachTheFilesAsUnsignedDecimal) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.writeValue(INT_MIN));
        EXPECT_TRUE(led.writeValue(INT_MAX));
        EXPECT_TRUE(led.writeValue(-1));
        EXPECT_TRUE(led.writeValue(0));
        std::vector<std::string> red;
        for (const JournalEntry& entry : calls(board.journal(), Call::Write)) {
            if (entry.path == a5a0('R')) red.push_back(entry.bytes);
        }
        EXPECT_THAT(red, ElementsAre(withNul("2147483648"), withNul("2147483647"), withNul("4294967295"), withNul("0")));
        EXPECT_EQ(storedValue(led), 0);
    });
}

TEST(LedSysfs, TheRowIsSharedByEveryFaceOfTheBoard) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        {
            LedSysfs first;
            LedSysfs second;
            ASSERT_TRUE(first.init("first"));
            ASSERT_TRUE(second.init("second"));
            ASSERT_TRUE(first.setValue(30, false));
            EXPECT_EQ(storedValue(second), 29);
            // The second face's colour moves the first face's value.
            board.sandbox().clearJournal();
            ASSERT_TRUE(second.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK));
            EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('B', "29")));
            board.sandbox().clearJournal();
            ASSERT_TRUE(first.setValue(80, false));
            EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('B', "79")));
            EXPECT_EQ(storedValue(second), 79);
            // The first face still holds its own colour pair: (none, none).
            EXPECT_EQ(first.readFgColor(), BaseLed::COLOR_NONE);
        }
        // A face made later finds the row as the others left it.
        LedSysfs later;
        ASSERT_TRUE(later.init("later"));
        EXPECT_EQ(storedValue(later), 79);
        board.sandbox().clearJournal();
        ASSERT_TRUE(later.setValue(10, false));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('B', "9")));
    });
}

// ---- failures on 0xA5A0 ----

TEST(LedSysfs, FailedOpenStopsTheWalkAndKeepsTheStoredValue) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.setValue(50, false));
        board.sandbox().clearJournal();
        log.clear();
        board.sandbox().failCalls(a5a0('B'), Call::Open, EACCES);
        EXPECT_FALSE(led.setValue(70, false));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(joined({plainWrite(a5a0('R'), "69"), plainWrite(a5a0('G'), "0"),
                                                                     {"open " + a5a0('B') + " -> -1"}})));
        EXPECT_EQ(storedValue(led), 49);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(a5a0('B')), baseWriteFailed()));
    });
}

TEST(LedSysfs, MissingFileFailsItsOpen) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().removeAttribute(a5a0('R'));
        EXPECT_FALSE(led.writeValue(5));
        EXPECT_THAT(trace(board.journal()), ElementsAre("open " + a5a0('R') + " -> -1"));
        EXPECT_EQ(calls(board.journal(), Call::Open)[0].error, EACCES);
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(a5a0('R'))));
    });
}

TEST(LedSysfs, OpenAndWriteAreRetriedWhileInterrupted) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().failCalls(a5a0('R'), Call::Open, EINTR, 2);
        board.sandbox().failCalls(a5a0('G'), Call::Write, EINTR, 3);
        EXPECT_TRUE(led.writeValue(12));
        const std::string g = a5a0('G');
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({{"open " + a5a0('R') + " -> -1", "open " + a5a0('R') + " -> -1"},
                                             plainWrite(a5a0('R'), "12"),
                                             {"open " + g, "write " + g + " 0\\0 -> -1", "write " + g + " 0\\0 -> -1",
                                              "write " + g + " 0\\0 -> -1", "write " + g + " 0\\0", "close " + g},
                                             plainWrite(a5a0('B'), "0"), plainWrite(a5a0('W'), "0")})));
        EXPECT_EQ(storedValue(led), 12);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, DescriptorZeroIsAFailedOpenAndIsClosed) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().zeroDescriptor(a5a0('G'));
        EXPECT_FALSE(led.writeValue(12));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(a5a0('R'), "12"), {"open " + a5a0('G') + " -> 0", "close "}})));
        EXPECT_EQ(calls(board.journal(), Call::Close).back().fd, 0);
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(a5a0('G'))));
    });
}

TEST(LedSysfs, FailedWriteIsLoggedWithErrnoAndTheFileStillClosed) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().failCalls(a5a0('R'), Call::Write, EIO);
        EXPECT_FALSE(led.setValue(70, false));
        const int fd = openedFd(board.journal(), a5a0('R'));
        EXPECT_THAT(trace(board.journal()), ElementsAre("open " + a5a0('R'), "write " + a5a0('R') + " 69\\0 -> -1",
                                                        "close " + a5a0('R')));
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), ElementsAre(writeFailed("69", fd, EIO), baseWriteFailed()));
    });
}

TEST(LedSysfs, ShortWriteFails) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().shortWrite(a5a0('W'), 1);
        errno = 0;
        EXPECT_FALSE(led.writeValue(12));
        const int fd = openedFd(board.journal(), a5a0('W'));
        EXPECT_EQ(calls(board.journal(), Call::Write).back().result, 1);
        EXPECT_EQ(trace(board.journal()).back(), "close " + a5a0('W'));
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), ElementsAre(writeFailed("0", fd, 0)));
    });
}

TEST(LedSysfs, FailedCloseDoesNotFailTheWrite) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().failCalls(a5a0('R'), Call::Close, EIO);
        EXPECT_TRUE(led.writeValue(3));
        EXPECT_EQ(calls(board.journal(), Call::Close).size(), 4u);
        EXPECT_EQ(storedValue(led), 3);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfs, SetColorSucceedsEvenWhenTheRewriteFails) {
    inFreshProcess([] {
        SimBoard board(0xA5A0);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.setValue(50, false));
        board.sandbox().clearJournal();
        board.sandbox().failCalls(a5a0('R'), Call::Open, ENOMEM);
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
        EXPECT_THAT(trace(board.journal()), ElementsAre("open " + a5a0('R') + " -> -1"));
        EXPECT_THAT(log.records(), ElementsAre(openFailed(a5a0('R'))));
        // The colour moved all the same.
        board.sandbox().clearJournal();
        EXPECT_TRUE(led.setValue(60, false));
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(a5a0Walk('G', "59")));
    });
}

// ---- 0xA5A3: an I2C LED driver or a USB LED controller ----

TEST(LedSysfsA5A3, BothControllersPresentEachColourWritesBothFiles) {
    inFreshProcess([] {
        SimBoard board(0xA5A3);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setValue(100, false));
        std::vector<std::string> expected;
        for (const char color : kColors) {
            const std::string text = color == 'R' ? "99" : "0";
            for (const auto& line : joined({plainWrite(a5a3I2c(color), text), plainWrite(a5a3Usb(color), text)})) {
                expected.push_back(line);
            }
        }
        EXPECT_THAT(trace(board.journal()), ElementsAreArray(expected));
        EXPECT_EQ(board.value(a5a3Usb('R')), "99");
        EXPECT_EQ(board.value(a5a3I2c('R')), "99");
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA5A3, OnlyTheUsbControllerFittedSkipsTheI2cFiles) {
    inFreshProcess([] {
        SimBoard board(BoardProfile::load(0xA5A3, "usb-only"));
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setValue(100, false));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(a5a3Usb('R'), "99"), plainWrite(a5a3Usb('G'), "0"),
                                             plainWrite(a5a3Usb('B'), "0"), plainWrite(a5a3Usb('W'), "0")})));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA5A3, OnlyTheI2cDriverFittedSkipsTheUsbFiles) {
    inFreshProcess([] {
        SimBoard board(BoardProfile::load(0xA5A3, "i2c-only"));
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_WHITE, BaseLed::COLOR_BLACK));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(a5a3I2c('R'), "0"), plainWrite(a5a3I2c('G'), "0"),
                                             plainWrite(a5a3I2c('B'), "0"), plainWrite(a5a3I2c('W'), "4294967295")})));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA5A3, NeitherFittedSucceedsWithoutWritingAndStoresTheValue) {
    inFreshProcess([] {
        SimBoard board(BoardProfile::load(0xA5A3, "none"));
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setValue(60, false));
        EXPECT_THAT(board.journal(), IsEmpty());
        EXPECT_EQ(storedValue(led), 59);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA5A3, TheBoardIsLookedUpAgainForEveryFile) {
    inFreshProcess([] {
        SimBoard board(BoardProfile::load(0xA5A3, "usb-only"));
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        // Bound to 0xA5A3's row, but the board now reads as another: missing files are no longer
        // skipped.
        CameraInfo::instance()["sysid"] = 0xA5A0ULL;
        EXPECT_FALSE(led.writeValue(1));
        EXPECT_THAT(trace(board.journal()), ElementsAre("open " + a5a3I2c('R') + " -> -1"));
        EXPECT_THAT(log.records(), ElementsAre(openFailed(a5a3I2c('R'))));
    });
}

TEST(LedSysfsDeathTest, AMistypedBoardIdentifierIsFatalInTheWalk) {
    // The death test's child process keeps its changes to the row.
    SimBoard board(0xA5A0);
    LedSysfs led;
    ASSERT_TRUE(led.initGPIO());
    CameraInfo::instance()["sysid"] = "0xA5A0";
    EXPECT_DEATH(led.writeValue(1), "ERROR orva_gpio_utils include/orva_variant_utils/camerainfo:sysid:[0-9]+: Key "
                                    "\"sysid\" has a different type than expected\n(.|\n)*forceCrash called");
}

// ---- 0xA597: two LP5012 units per colour ----

TEST(LedSysfsA597, Value50WritesBothUnitsOfEveryColour) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.writeValue(50));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(lp5012('R', 1), "3289650"), secondUnit('R', "0000ff\\n", "3289855"),
                                             plainWrite(lp5012('G', 1), "0"), secondUnit('G', "0000ff\\n", "255"),
                                             plainWrite(lp5012('B', 1), "0"), secondUnit('B', "0000ff\\n", "255"),
                                             plainWrite(lp5012('W', 1), "0"), secondUnit('W', "0000ff\\n", "255")})));
        const auto reads = calls(board.journal(), Call::Read);
        ASSERT_EQ(reads.size(), 4u);
        EXPECT_EQ(reads[0].count, 15u);
        EXPECT_EQ(reads[0].offset, 0);
        EXPECT_EQ(storedValue(led), 50);
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA597, SecondUnitIsReadBackAsHexadecimalButWrittenAsDecimal) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        ASSERT_TRUE(led.writeValue(50));
        EXPECT_EQ(board.value(lp5012('R', 2)), "3289855");
        board.sandbox().clearJournal();
        // "3289855" read as 0x3289855 keeps 0x55 in the lowest field.
        ASSERT_TRUE(led.writeValue(50));
        EXPECT_EQ(board.value(lp5012('R', 2)), std::to_string(50 * 0x010100 + 0x55));
        // "255" read as 0x255 keeps 0x55 as well.
        EXPECT_EQ(board.value(lp5012('G', 2)), "85");
        // White space around the text is trimmed; text that is not hex parses as 0.
        board.sandbox().setValue(lp5012('B', 2), "  1a2b3c ");
        board.sandbox().setValue(lp5012('W', 2), "zz");
        ASSERT_TRUE(led.writeValue(0));
        EXPECT_EQ(board.value(lp5012('B', 2)), "60");
        EXPECT_EQ(board.value(lp5012('W', 2)), "0");
    });
}

// The camera's long has 32 bits: a read-back number beyond that range saturates as the camera's
// parse does (with ERANGE), whatever the width of long where the suite runs.
TEST(LedSysfsA597, ReadBackBeyond32BitsSaturatesAsOnTheCamera) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().setValue(lp5012('R', 2), "123456789a");    // above: 0x7fffffff, keeps 0xff
        board.sandbox().setValue(lp5012('G', 2), "-123456789a");   // below: -0x80000000, keeps 0x00
        board.sandbox().setValue(lp5012('B', 2), "7fffff9a");      // the largest in range is kept as it is
        board.sandbox().setValue(lp5012('W', 2), "-80000000");     // the smallest in range as well
        errno = 0;
        EXPECT_TRUE(led.writeValue(50));
        EXPECT_EQ(board.value(lp5012('R', 2)), "3289855");
        EXPECT_EQ(board.value(lp5012('G', 2)), "0");
        EXPECT_EQ(board.value(lp5012('B', 2)), "154");
        EXPECT_EQ(board.value(lp5012('W', 2)), "0");
        EXPECT_THAT(log.records(), IsEmpty());

        // The saturated parse leaves ERANGE behind, and a short write after it reports that.
        board.sandbox().setValue(lp5012('R', 2), "fffffffff");
        board.sandbox().shortWrite(lp5012('R', 2), 1);
        board.sandbox().clearJournal();
        errno = 0;
        EXPECT_FALSE(led.writeValue(50));
        const int fd = openedFd(board.journal(), lp5012('R', 2));
        EXPECT_EQ(storedValue(led), 50);
        EXPECT_THAT(log.records(), ElementsAre(writeFailed("3289855", fd, ERANGE)));
    });
}

TEST(LedSysfsA597, SetColorBeforeAnyWriteWrapsTheFieldsAs32Bits) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        EXPECT_TRUE(led.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLACK));
        // -1 * 0x010101 and -1 * 0x010100 + 0xff, modulo 2^32.
        EXPECT_EQ(board.value(lp5012('R', 1)), "4294901503");
        EXPECT_EQ(board.value(lp5012('R', 2)), "4294901759");
        EXPECT_EQ(board.value(lp5012('G', 1)), "0");
        EXPECT_EQ(board.value(lp5012('G', 2)), "255");
        EXPECT_TRUE(led.writeValue(INT_MIN));
        EXPECT_EQ(board.value(lp5012('R', 1)), std::to_string(0x80000000u * 0x010101u));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA597, FailedReadOfTheSecondUnitIsAWarningAndKeepsZero) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().emptyRead(lp5012('R', 2));
        board.sandbox().failCalls(lp5012('G', 2), Call::Read, EIO);
        board.sandbox().failCalls(lp5012('B', 2), Call::Read, EINTR, 2);
        EXPECT_TRUE(led.writeValue(50));
        EXPECT_EQ(board.value(lp5012('R', 2)), "3289600");
        EXPECT_EQ(board.value(lp5012('G', 2)), "0");
        EXPECT_EQ(board.value(lp5012('B', 2)), "255");
        EXPECT_EQ(calls(board.journal(), Call::Read).size(), 6u);  // blue twice interrupted
        const int red = openedFd(board.journal(), lp5012('R', 2));
        const int green = openedFd(board.journal(), lp5012('G', 2));
        EXPECT_THAT(log.records(),
                    ElementsAre(Expected{kSource, "writeValue", 4, 0, "Failed to read from proc entry " + hex(red) + ", num bytes read 0"},
                                Expected{kSource, "writeValue", 4, 0,
                                         "Failed to read from proc entry " + hex(green) + ", num bytes read -1"}));
    });
}

TEST(LedSysfsA597, MissingUnitsAreSkippedSilently) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().removeAttribute(lp5012('R', 2));
        board.sandbox().removeAttribute(lp5012('G', 1));
        for (const char color : {'B', 'W'}) {
            board.sandbox().removeAttribute(lp5012(color, 1));
            board.sandbox().removeAttribute(lp5012(color, 2));
        }
        EXPECT_TRUE(led.writeValue(50));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(lp5012('R', 1), "3289650"), secondUnit('G', "0000ff\\n", "255")})));
        EXPECT_THAT(log.records(), IsEmpty());
    });
}

TEST(LedSysfsA597, SecondUnitOpenAndWriteFailuresStopTheWalk) {
    inFreshProcess([] {
        SimBoard board(0xA597);
        LogCapture log;
        LedSysfs led;
        ASSERT_TRUE(led.init("status"));
        board.sandbox().failCalls(lp5012('R', 2), Call::Open, EACCES);
        EXPECT_FALSE(led.writeValue(50));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(lp5012('R', 1), "3289650"), {"open " + lp5012('R', 2) + " -> -1"}})));
        board.sandbox().clearJournal();
        board.sandbox().failCalls(lp5012('R', 2), Call::Write, ENOSPC);
        EXPECT_FALSE(led.writeValue(50));
        const int fd = openedFd(board.journal(), lp5012('R', 2));
        EXPECT_THAT(trace(board.journal()),
                    ElementsAreArray(joined({plainWrite(lp5012('R', 1), "3289650"),
                                             {"open " + lp5012('R', 2), "read " + lp5012('R', 2) + " 0000ff\\n",
                                              "write " + lp5012('R', 2) + " 3289855\\0 -> -1", "close " + lp5012('R', 2)}})));
        board.sandbox().clearJournal();
        board.sandbox().zeroDescriptor(lp5012('R', 2));
        EXPECT_FALSE(led.writeValue(50));
        EXPECT_EQ(storedValue(led), -1);
        EXPECT_THAT(log.records(), ElementsAre(openFailed(lp5012('R', 2)), writeFailed("3289855", fd, ENOSPC),
                                               openFailed(lp5012('R', 2))));
    });
}

// ---- steady state ----

TEST(LedSysfsSteadyState, UnchangedValueAndColourCostNoCallAndNoAllocation) {
    for (const uint32_t sysid : {0xA5A0u, 0xA5A3u, 0xA597u}) {
        inFreshProcess([sysid] {
            SimBoard board(sysid);
            LedSysfs led;
            ASSERT_TRUE(led.init("status"));
            ASSERT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
            ASSERT_TRUE(led.setValue(40, false));
            board.sandbox().clearJournal();
            AllocationScope allocations;
            for (int i = 0; i < 5; ++i) {
                EXPECT_TRUE(led.setValue(40, false));
                EXPECT_TRUE(led.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_BLACK));
                EXPECT_TRUE(led.setBrightness(100));
            }
            EXPECT_EQ(allocations.count(), 0u);
            EXPECT_THAT(board.journal(), IsEmpty());
        });
    }
}

// Every write opens, writes and closes each file again, and allocates nothing beyond what the
// simulator's own handling of those calls costs.
TEST(LedSysfsSteadyState, RepeatedWritesCostExactlyTheirFileCalls) {
    struct Case {
        uint32_t sysid;
        size_t calls;
        std::vector<std::string> probed;  // files whose existence each write asks about
    };
    std::vector<Case> cases = {{0xA5A0, 12, {}}, {0xA597, 28, {}}, {0xA5A3, 24, {}}};
    for (const char color : kColors) {
        cases[1].probed.push_back(lp5012(color, 1));
        cases[1].probed.push_back(lp5012(color, 2));
        cases[2].probed.push_back(a5a3I2c(color));
        cases[2].probed.push_back(a5a3Usb(color));
    }
    for (const Case& c : cases) {
        inFreshProcess([&c] {
            SimBoard board(c.sysid);
            LogCapture log;
            LedSysfs led;
            ASSERT_TRUE(led.init("status"));
            ASSERT_TRUE(led.setValue(40, false));
            for (const bool viaColor : {false, true}) {
                SCOPED_TRACE(viaColor ? "setColor" : "setValue");
                board.sandbox().clearJournal();
                size_t cost;
                {
                    AllocationScope allocations;
                    ASSERT_TRUE(viaColor ? led.setColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLACK)
                                         : led.setValue(40, true));
                    cost = allocations.count();
                }
                const std::vector<JournalEntry> made = board.journal();
                EXPECT_EQ(made.size(), c.calls);
                board.sandbox().clearJournal();
                EXPECT_EQ(cost, simulatorCost(made, c.probed));
                EXPECT_EQ(board.journal().size(), c.calls);
            }
            EXPECT_THAT(log.records(), IsEmpty());
        });
    }
}
