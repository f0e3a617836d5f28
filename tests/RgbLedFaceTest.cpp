// The front RGB LED on the AV LED class device through the simulator: the files opened at init on
// animation boards and others, the colour names, writes of changed settings only, the animation
// words, every failing system call, the descriptors closed at destruction, and the steady-state cost.
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <utility>

#include <gmock/gmock.h>

#include "AllocationCounter.h"
#include "AvLedTestSupport.h"
#include "orva/platform.h"
#include "orva_gpio_utils/RgbLedFace.h"

using namespace orva::test;
using namespace orva::test::av;
using orva::sim::SimBoard;
using orva::variant::CameraInfo;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kSource = "src/RgbLedFace";
constexpr uint32_t kAnimationBoards[] = {0xA563, 0xEC70};
constexpr uint32_t kPlainBoard = 0xA573;  // AV LED without animations

// RgbLedFace with its members visible.
class ProbedFace : public RgbLedFace {
public:
    using RgbLedFace::animColorBgFd;
    using RgbLedFace::animColorFgFd;
    using RgbLedFace::animDensityFd;
    using RgbLedFace::animTriggerFd;
    using RgbLedFace::brightnessFd;
    using RgbLedFace::colorBgFd;
    using RgbLedFace::colorFgFd;
};

std::vector<std::string> initCalls(bool animations) {
    std::vector<std::string> lines = {opened(kAvBrightness), opened(kAvColorFg), opened(kAvColorBg), opened(kAvTrigger),
                                      wrote(kAvTrigger, "none")};
    if (animations) {
        for (const std::string& path : {kAnimDensity, kAnimColorFg, kAnimColorBg, kAnimTrigger}) lines.push_back(opened(path));
    }
    lines.push_back(closed(kAvTrigger));
    return lines;
}

Expected failedOpen(const std::string& path) {
    return Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + path + "'"};
}
Expected failedInit() { return Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}; }
Expected failedWrite(const std::string& function, int error, const std::string& text, int fd) {
    return Expected{kSource, function, 3, error, "Failed to write '" + text + "' to proc entry " + hex(fd)};
}
Expected notSupported(const std::string& function) { return Expected{kSource, function, 3, 0, "Not supported"}; }

// An initialised face on a board, with the journal and log cleared afterwards.
struct Fixture {
    SimBoard board;
    LogCapture log;
    ProbedFace face;
    std::vector<JournalEntry> init;  // the journal of init
    explicit Fixture(uint32_t sysid) : board(sysid) {
        EXPECT_TRUE(face.init("rgb"));
        init = board.journal();
        clear();
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

TEST(RgbLedFace, ConstructionOpensNothingAndDestructionClosesNothing) {
    SimBoard board(0xA563);
    {
        ProbedFace face;
        for (const int fd : {face.brightnessFd, face.colorFgFd, face.colorBgFd, face.animDensityFd, face.animColorFgFd,
                             face.animColorBgFd, face.animTriggerFd}) {
            EXPECT_EQ(fd, -1);
        }
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(RgbLedFace, FixedAnswersAndNoAutoMode) {
    Fixture t(kPlainBoard);
    bool enabled = true;
    EXPECT_TRUE(t.face.exists());
    EXPECT_FALSE(t.face.isBinary());
    EXPECT_FALSE(t.face.hasAutoMode());
    EXPECT_FALSE(t.face.isManagedByMcu());
    EXPECT_EQ(t.face.rangeMin(), 0);
    EXPECT_EQ(t.face.rangeMax(), 14);
    EXPECT_FALSE(t.face.writeAutoMode());
    EXPECT_FALSE(t.face.readAutoMode(enabled));
    EXPECT_TRUE(enabled);
    EXPECT_FALSE(t.face.setAutoMode());
    EXPECT_TRUE(t.face.service());
    EXPECT_THAT(t.log.records(), ElementsAre(notSupported("writeAutoMode"), notSupported("readAutoMode"),
                                             Expected{"src/BaseLed", "setAutoMode", 3, 0, "No auto mode"}));
    EXPECT_THAT(t.board.journal(), IsEmpty());
}

TEST(RgbLedFace, AnimationsOnlyOnTheTwoAnimationBoards) {
    for (const uint32_t sysid : {0xA563u, 0xEC70u, 0xA573u, 0xA590u, 0xA595u, 0xA533u}) {
        SimBoard board(sysid);
        RgbLedFace face;
        EXPECT_EQ(face.isAnimSupported(), sysid == 0xA563u || sysid == 0xEC70u) << std::hex << sysid;
    }
}

TEST(RgbLedFace, TheBoardIsLookedUpOnEveryCall) {
    SimBoard board(kPlainBoard);
    RgbLedFace face;
    EXPECT_FALSE(face.isAnimSupported());
    EXPECT_STREQ(RgbLedFace::ColorToDeviceColor(BaseLed::COLOR_WHITE_RED), "black");
    CameraInfo::instance()["sysid"] = 0xEC70ULL;
    EXPECT_TRUE(face.isAnimSupported());
    EXPECT_STREQ(RgbLedFace::ColorToDeviceColor(BaseLed::COLOR_WHITE_RED), "white_red");
    CameraInfo::instance()["sysid"] = 0xA563ULL;
    EXPECT_TRUE(face.isAnimSupported());
    CameraInfo::instance()["sysid"] = 0x1A563ULL;  // compared as 32 bits
    EXPECT_FALSE(face.isAnimSupported());
}

TEST(RgbLedFace, ColourNamesOnAnimationBoardsAndOthers) {
    const char* const animation[] = {"black",     "black",       "red",        "green",        "blue",       "yellow",
                                     "amber",     "cyan",        "magenta",    "white",        "white_red",  "white_green",
                                     "white_blue", "white_yellow", "white_cyan", "white_magenta", "black"};
    const char* const other[] = {"black", "black", "red",   "green", "blue",  "yellow", "amber", "cyan", "magenta",
                                 "white", "black", "black", "black", "black", "black",  "black", "black"};
    for (const uint32_t sysid : {0xA563u, 0xEC70u, 0xA573u, 0xA533u}) {
        SimBoard board(sysid);
        const bool animated = sysid == 0xA563u || sysid == 0xEC70u;
        for (int color = 0; color <= 16; ++color) {
            EXPECT_STREQ(RgbLedFace::ColorToDeviceColor(static_cast<BaseLed::Color>(color)),
                         animated ? animation[color] : other[color])
                << std::hex << sysid << std::dec << " " << color;
        }
        for (const int color : {17, 255, INT_MAX, -1, INT_MIN}) {
            EXPECT_STREQ(RgbLedFace::ColorToDeviceColor(static_cast<BaseLed::Color>(color)), "black") << color;
        }
    }
}

TEST(RgbLedFaceDeathTest, AMissingBoardIdentifierIsFatal) {
    SimBoard board(0xA563);
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    RgbLedFace face;
    EXPECT_DEATH(face.isAnimSupported(), fatalPattern("sysid", "Key \"sysid\" not available"));
    EXPECT_DEATH(RgbLedFace::ColorToDeviceColor(BaseLed::COLOR_RED), fatalPattern("sysid", "Key \"sysid\" not available"));
    CameraInfo::instance()["sysid"] = "0xA563";
    EXPECT_DEATH(face.isAnimSupported(), fatalPattern("sysid", "Key \"sysid\" has a different type than expected"));
}

TEST(RgbLedFace, AFaceThatOpenedNoAnimationFileIsDestroyedWithoutAskingTheBoard) {
    SimBoard board(0xA563);
    CameraInfo::instance().Free();
    CameraInfo::instance().IsArray(false);
    { RgbLedFace face; }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(RgbLedFace, TheAnimationFilesAreClosedOnlyWhileTheBoardAnimates) {
    SimBoard board(0xA563);
    int animationFds[4];
    {
        ProbedFace face;
        ASSERT_TRUE(face.init("rgb"));
        animationFds[0] = face.animDensityFd;
        animationFds[1] = face.animColorFgFd;
        animationFds[2] = face.animColorBgFd;
        animationFds[3] = face.animTriggerFd;
        board.sandbox().clearJournal();
        CameraInfo::instance()["sysid"] = static_cast<unsigned long long>(kPlainBoard);
    }
    EXPECT_THAT(described(board.journal()), ElementsAre(closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg)));
    EXPECT_EQ(board.sandbox().openDescriptors(), 4);
    for (const int fd : animationFds) ::close(fd);
}

// ---- init ----

TEST(RgbLedFace, InitOpensTheColourFilesSetsTheTriggerAndOpensAnimationFilesOnlyWhereTheBoardAnimates) {
    for (const uint32_t sysid : {0xA563u, 0xEC70u, 0xA573u, 0xA590u, 0xA595u}) {
        SCOPED_TRACE(testing::Message() << std::hex << sysid);
        const bool animated = sysid == 0xA563u || sysid == 0xEC70u;
        SimBoard board(sysid);
        LogCapture log;
        {
            ProbedFace face;
            ASSERT_TRUE(face.init("rgb"));
            EXPECT_THAT(described(board.journal()), ElementsAreArray(initCalls(animated)));
            for (const JournalEntry& open : calls(board.journal(), Call::Open)) {
                EXPECT_EQ(open.flags & (O_ACCMODE | O_CREAT | O_TRUNC), O_RDWR | O_CREAT | O_TRUNC);
                EXPECT_EQ(open.mode, 0666u);
            }
            EXPECT_EQ(board.value(kAvTrigger), "none");
            EXPECT_EQ(face.brightnessFd, openedFd(board.journal(), kAvBrightness));
            EXPECT_EQ(face.colorFgFd, openedFd(board.journal(), kAvColorFg));
            EXPECT_EQ(face.colorBgFd, openedFd(board.journal(), kAvColorBg));
            EXPECT_EQ(face.animDensityFd, openedFd(board.journal(), kAnimDensity));
            EXPECT_EQ(face.animColorFgFd, openedFd(board.journal(), kAnimColorFg));
            EXPECT_EQ(face.animColorBgFd, openedFd(board.journal(), kAnimColorBg));
            EXPECT_EQ(face.animTriggerFd, openedFd(board.journal(), kAnimTrigger));
            if (!animated) {
                EXPECT_EQ(face.animTriggerFd, -1);
            }
            board.sandbox().clearJournal();
        }
        std::vector<std::string> closes = {closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg)};
        if (animated) {
            for (const std::string& path : {kAnimDensity, kAnimColorFg, kAnimColorBg, kAnimTrigger}) closes.push_back(closed(path));
        }
        EXPECT_THAT(described(board.journal()), ElementsAreArray(closes));
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
        EXPECT_THAT(log.records(), IsEmpty());
    }
}

TEST(RgbLedFace, ABoardWithoutTheAvLedFailsInit) {
    SimBoard board(0xA533);
    LogCapture log;
    {
        RgbLedFace face;
        EXPECT_FALSE(face.init("rgb"));
        EXPECT_THAT(described(board.journal()), ElementsAre(opened(kAvBrightness) + " !" + std::to_string(ENOENT)));
        EXPECT_THAT(log.records(), ElementsAre(failedOpen(kAvBrightness), failedInit()));
        log.clear();
        EXPECT_FALSE(face.setValue(50, false));
        EXPECT_THAT(log.records(), ElementsAre(Expected{"src/BaseLed", "setValue", 3, 0, "Internal error"}));
        board.sandbox().clearJournal();
    }
    EXPECT_THAT(board.journal(), IsEmpty());
}

TEST(RgbLedFace, EveryFailedOpenStopsInitAndTheDestructorClosesWhatOpened) {
    const std::string files[] = {kAvBrightness, kAvColorFg, kAvColorBg, kAvTrigger,
                                 kAnimDensity,  kAnimColorFg, kAnimColorBg, kAnimTrigger};
    const auto all = initCalls(true);
    const size_t openAt[] = {0, 1, 2, 3, 5, 6, 7, 8};
    for (size_t failing = 0; failing < 8; ++failing) {
        SCOPED_TRACE(files[failing]);
        SimBoard board(0xEC70);
        LogCapture log;
        board.sandbox().failCalls(files[failing], Call::Open, ENODEV);
        {
            RgbLedFace face;
            EXPECT_FALSE(face.init("rgb"));
            std::vector<std::string> expected(all.begin(), all.begin() + static_cast<long>(openAt[failing]));
            expected.push_back(opened(files[failing]) + " !" + std::to_string(ENODEV));
            if (failing >= 4) expected.push_back(closed(kAvTrigger));  // the trigger is never kept
            EXPECT_THAT(described(board.journal()), ElementsAreArray(expected));
            EXPECT_THAT(log.records(), ElementsAre(failedOpen(files[failing]), failedInit()));
            board.sandbox().clearJournal();
        }
        std::vector<std::string> closes;
        for (size_t i = 0; i < failing; ++i) {
            if (i != 3) closes.push_back(closed(files[i]));
        }
        EXPECT_THAT(described(board.journal()), ElementsAreArray(closes));
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(RgbLedFace, ASecondInitAfterAFailedOneClosesWhatTheFirstOpenedBeforeOpeningAgain) {
    SimBoard board(0xA563);
    LogCapture log;
    board.sandbox().failCalls(kAnimColorBg, Call::Open, ENODEV);
    {
        ProbedFace face;
        ASSERT_FALSE(face.init("rgb"));
        board.sandbox().clearJournal();
        log.clear();
        ASSERT_TRUE(face.init("rgb"));
        EXPECT_THAT(described(board.journal()),
                    ElementsAre(closed(kAvBrightness), opened(kAvBrightness), closed(kAvColorFg), opened(kAvColorFg),
                                closed(kAvColorBg), opened(kAvColorBg), opened(kAvTrigger), wrote(kAvTrigger, "none"),
                                closed(kAnimDensity), opened(kAnimDensity), closed(kAnimColorFg), opened(kAnimColorFg),
                                opened(kAnimColorBg), opened(kAnimTrigger), closed(kAvTrigger)));
        EXPECT_EQ(board.sandbox().openDescriptors(), 7);
        EXPECT_EQ(face.animColorBgFd, openedFd(board.journal(), kAnimColorBg));
        EXPECT_THAT(log.records(), IsEmpty());
    }
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
}

TEST(RgbLedFace, ASecondInitGpioReopensEveryFileWithoutLeakingOne) {
    for (const uint32_t sysid : {0xEC70u, kPlainBoard}) {
        SCOPED_TRACE(testing::Message() << std::hex << sysid);
        const bool animated = sysid == 0xEC70u;
        SimBoard board(sysid);
        {
            RgbLedFace face;
            ASSERT_TRUE(face.init("rgb"));
            board.sandbox().clearJournal();
            ASSERT_TRUE(face.initGPIO());
            std::vector<std::string> expected = {closed(kAvBrightness), opened(kAvBrightness), closed(kAvColorFg),
                                                 opened(kAvColorFg),    closed(kAvColorBg),    opened(kAvColorBg),
                                                 opened(kAvTrigger),    wrote(kAvTrigger, "none")};
            if (animated) {
                for (const std::string& path : {kAnimDensity, kAnimColorFg, kAnimColorBg, kAnimTrigger}) {
                    expected.push_back(closed(path));
                    expected.push_back(opened(path));
                }
            }
            expected.push_back(closed(kAvTrigger));
            EXPECT_THAT(described(board.journal()), ElementsAreArray(expected));
            EXPECT_EQ(board.sandbox().openDescriptors(), animated ? 7 : 3);
        }
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(RgbLedFace, MissingAttributeIsRefusedByTheKernel) {
    SimBoard board(0xA563);
    board.sandbox().removeAttribute(kAnimColorBg);
    LogCapture log;
    RgbLedFace face;
    EXPECT_FALSE(face.init("rgb"));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 7u);
    EXPECT_EQ(opens.back().path, kAnimColorBg);
    EXPECT_EQ(opens.back().error, EACCES);
    EXPECT_THAT(log.records(), ElementsAre(failedOpen(kAnimColorBg), failedInit()));
}

TEST(RgbLedFace, DescriptorZeroIsAFailedOpen) {
    for (const std::string& path : {kAvColorBg, kAvTrigger, kAnimTrigger}) {
        SCOPED_TRACE(path);
        SimBoard board(0xA563);
        LogCapture log;
        board.sandbox().zeroDescriptor(path);
        {
            ProbedFace face;
            EXPECT_FALSE(face.init("rgb"));
            EXPECT_THAT(log.records(), ElementsAre(failedOpen(path), failedInit()));
            const auto lines = described(board.journal());
            if (path == kAvColorBg) {
                EXPECT_EQ(face.colorBgFd, 0);
                EXPECT_EQ(lines.back(), opened(kAvColorBg) + " ->0");
            } else if (path == kAvTrigger) {
                // The local trigger descriptor is a real file all the same: closed at once.
                EXPECT_THAT(std::vector<std::string>(lines.end() - 2, lines.end()),
                            ElementsAre(opened(kAvTrigger) + " ->0", "close #0"));
            } else {
                EXPECT_EQ(face.animTriggerFd, 0);
                EXPECT_THAT(std::vector<std::string>(lines.end() - 2, lines.end()),
                            ElementsAre(opened(kAnimTrigger) + " ->0", closed(kAvTrigger)));
            }
            board.sandbox().clearJournal();
        }
        const auto closes = described(board.journal());
        if (path == kAvColorBg) {
            EXPECT_THAT(closes, ElementsAre(closed(kAvBrightness), closed(kAvColorFg), "close #0"));
        } else if (path == kAvTrigger) {
            EXPECT_THAT(closes, ElementsAre(closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg)));
        } else {
            EXPECT_THAT(closes, ElementsAre(closed(kAvBrightness), closed(kAvColorFg), closed(kAvColorBg), closed(kAnimDensity),
                                            closed(kAnimColorFg), closed(kAnimColorBg), "close #0"));
        }
    }
}

TEST(RgbLedFace, AFailedTriggerWriteClosesTheTriggerAndStopsInit) {
    for (const bool shortWrite : {false, true}) {
        SimBoard board(0xA563);
        LogCapture log;
        if (shortWrite) {
            board.sandbox().shortWrite(kAvTrigger, 4);
        } else {
            board.sandbox().failCalls(kAvTrigger, Call::Write, EIO);
        }
        {
            RgbLedFace face;
            errno = 0;
            EXPECT_FALSE(face.init("rgb"));
            const int fd = openedFd(board.journal(), kAvTrigger);
            EXPECT_THAT(described(board.journal()),
                        ElementsAre(opened(kAvBrightness), opened(kAvColorFg), opened(kAvColorBg), opened(kAvTrigger),
                                    wrote(kAvTrigger, "none") + (shortWrite ? " ->4" : " !5"), closed(kAvTrigger)));
            EXPECT_THAT(log.records(), ElementsAre(failedWrite("initGPIO", shortWrite ? 0 : EIO, "none", fd), failedInit()));
        }
        EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    }
}

TEST(RgbLedFace, InterruptedOpensAndWritesAtInitAreRetried) {
    SimBoard board(0xA563);
    LogCapture log;
    board.sandbox().failCalls(kAvColorFg, Call::Open, EINTR, 2);
    board.sandbox().failCalls(kAvTrigger, Call::Write, EINTR, 1);
    board.sandbox().failCalls(kAnimTrigger, Call::Open, EINTR, 1);
    RgbLedFace face;
    EXPECT_TRUE(face.init("rgb"));
    EXPECT_THAT(described(board.journal()),
                ElementsAre(opened(kAvBrightness), opened(kAvColorFg) + " !4", opened(kAvColorFg) + " !4", opened(kAvColorFg),
                            opened(kAvColorBg), opened(kAvTrigger), wrote(kAvTrigger, "none") + " !4", wrote(kAvTrigger, "none"),
                            opened(kAnimDensity), opened(kAnimColorFg), opened(kAnimColorBg), opened(kAnimTrigger) + " !4",
                            opened(kAnimTrigger), closed(kAvTrigger)));
    EXPECT_THAT(log.records(), IsEmpty());
}

// ---- value ----

TEST(RgbLedFace, WriteValueSwitchesTheBrightnessOnOrOff) {
    Fixture t(kPlainBoard);
    EXPECT_TRUE(t.face.writeValue(7));
    EXPECT_TRUE(t.face.writeValue(0));
    EXPECT_TRUE(t.face.writeValue(-3));
    EXPECT_TRUE(t.face.writeValue(INT_MIN));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1"), wrote(kAvBrightness, "0"), wrote(kAvBrightness, "1"),
                                         wrote(kAvBrightness, "1")));
    EXPECT_EQ(t.board.value(kAvBrightness), "1");
}

TEST(RgbLedFace, UserValuesBelowOneFourteenthSwitchTheLightOff) {
    // 0..14: user 7 is (14 * 7) / 100 = 0, user 8 is 1.
    Fixture t(kPlainBoard);
    ASSERT_TRUE(t.face.setValue(7, false));
    ASSERT_TRUE(t.face.setValue(8, false));
    ASSERT_TRUE(t.face.setValue(100, false));
    ASSERT_TRUE(t.face.setBrightness(7));  // (14 * ((7 * 100) / 100)) / 100 = 0
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "0"), wrote(kAvBrightness, "1"), wrote(kAvBrightness, "1"),
                                         wrote(kAvBrightness, "0")));
}

TEST(RgbLedFace, WriteFailuresAreLoggedWithErrnoAndKeepTheOldValue) {
    Fixture t(kPlainBoard);
    ASSERT_TRUE(t.face.setValue(0, false));
    const int fd = t.fd(kAvBrightness);
    t.clear();
    t.board.sandbox().failCalls(kAvBrightness, Call::Write, EIO);
    EXPECT_FALSE(t.face.setValue(100, false));
    t.board.sandbox().shortWrite(kAvBrightness, 1);
    errno = 0;
    EXPECT_FALSE(t.face.setValue(100, false));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("writeValue", EIO, "1", fd),
                                             Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"},
                                             failedWrite("writeValue", 0, "1", fd),
                                             Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
    t.clear();
    t.board.sandbox().failCalls(kAvBrightness, Call::Write, EINTR, 2);
    EXPECT_TRUE(t.face.setValue(100, false));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "1") + " !4", wrote(kAvBrightness, "1") + " !4",
                                         wrote(kAvBrightness, "1")));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(RgbLedFace, ReadValueReadsTheBrightness) {
    Fixture t(kPlainBoard);
    t.board.sandbox().setValue(kAvBrightness, "1");
    int value = -7;
    ASSERT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 1);
    EXPECT_THAT(t.journal(), ElementsAre("read " + kAvBrightness + " ->2"));
    const auto reads = calls(t.board.journal(), Call::Read);
    EXPECT_EQ(reads[0].count, 15u);
    EXPECT_EQ(reads[0].bytes, "1\n");
    // save() reads the hardware when the value is unknown: 1 of 0..14 is user 7.
    ASSERT_TRUE(t.face.save());
    ASSERT_TRUE(t.face.setValue(100, false));
    t.clear();
    ASSERT_TRUE(t.face.restore());
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvBrightness, "0")));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(RgbLedFace, ReadFailuresAreLoggedWithErrno) {
    Fixture t(kPlainBoard);
    const int fd = t.fd(kAvBrightness);
    int value = -7;
    t.board.sandbox().failCalls(kAvBrightness, Call::Read, EIO);
    EXPECT_FALSE(t.face.readValue(value));
    t.board.sandbox().emptyRead(kAvBrightness);
    errno = 0;
    EXPECT_FALSE(t.face.readValue(value));
    EXPECT_EQ(value, -7);
    EXPECT_THAT(t.log.records(),
                ElementsAre(Expected{kSource, "readValue", 3, EIO, "Failed to read from proc entry " + hex(fd) + ", num bytes read -1"},
                            Expected{kSource, "readValue", 3, 0, "Failed to read from proc entry " + hex(fd) + ", num bytes read 0"}));
    t.clear();
    t.board.sandbox().failCalls(kAvBrightness, Call::Read, EINTR, 1);
    t.board.sandbox().setValue(kAvBrightness, "000000000000001999");  // only 15 bytes are read
    EXPECT_TRUE(t.face.readValue(value));
    EXPECT_EQ(value, 1);
    EXPECT_THAT(t.journal(), ElementsAre("read " + kAvBrightness + " !4", "read " + kAvBrightness + " ->15"));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

// ---- colours ----

TEST(RgbLedFace, OnlyTheColourThatChangedIsWritten) {
    Fixture t(kPlainBoard);
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));  // unchanged: nothing
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_AMBER, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "red"), wrote(kAvColorBg, "blue"), wrote(kAvColorFg, "amber"),
                                         wrote(kAvColorBg, "black")));
    EXPECT_EQ(t.board.value(kAvColorFg), "amber");
    EXPECT_EQ(t.board.value(kAvColorBg), "black");
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(RgbLedFace, WhiteMixturesAreBlackExceptOnAnimationBoards) {
    {
        Fixture t(kPlainBoard);
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_RED, BaseLed::COLOR_WHITE_CYAN));
        EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "black"), wrote(kAvColorBg, "black")));
    }
    {
        Fixture t(0xA563);
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_RED, BaseLed::COLOR_WHITE_MAGENTA));
        EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "white_red"), wrote(kAvColorBg, "white_magenta")));
    }
}

TEST(RgbLedFace, InvalidColoursWriteNothing) {
    Fixture t(kPlainBoard);
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(16)));
    EXPECT_FALSE(t.face.setColor(static_cast<BaseLed::Color>(INT_MIN), BaseLed::COLOR_RED));
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_RED, static_cast<BaseLed::Color>(INT_MAX)));
    EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_NONE);
    EXPECT_THAT(t.board.journal(), IsEmpty());
    EXPECT_THAT(t.log.records(), IsEmpty());
    EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_MAGENTA, BaseLed::COLOR_BLACK));
}

TEST(RgbLedFace, AFailedColourWriteKeepsTheNewColourSoARetryWritesNothing) {
    for (const bool foreground : {true, false}) {
        Fixture t(kPlainBoard);
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        const std::string& failing = foreground ? kAvColorFg : kAvColorBg;
        t.clear();
        t.board.sandbox().failCalls(failing, Call::Write, EIO);
        EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_CYAN));
        if (foreground) {
            EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "green") + " !5"));  // the background is not tried
        } else {
            EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "green"), wrote(kAvColorBg, "cyan") + " !5"));
        }
        EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setColor", EIO, foreground ? "green" : "cyan", t.fd(failing))));
        EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_GREEN);
        EXPECT_EQ(t.face.readBgColor(), BaseLed::COLOR_CYAN);
        t.clear();
        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_GREEN, BaseLed::COLOR_CYAN));
        EXPECT_THAT(t.board.journal(), IsEmpty());
    }
}

TEST(RgbLedFace, ShortAndInterruptedColourWrites) {
    Fixture t(kPlainBoard);
    t.board.sandbox().shortWrite(kAvColorFg, 2);
    errno = 0;
    EXPECT_FALSE(t.face.setColor(BaseLed::COLOR_YELLOW, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "yellow") + " ->2"));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setColor", 0, "yellow", t.fd(kAvColorFg))));
    t.clear();
    t.board.sandbox().failCalls(kAvColorFg, Call::Write, EINTR, 1);
    EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_MAGENTA, BaseLed::COLOR_BLACK));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAvColorFg, "magenta") + " !4", wrote(kAvColorFg, "magenta")));
}

// ---- animations ----

TEST(RgbLedFace, EveryAnimationSetterIsRefusedWithoutAnimations) {
    Fixture t(kPlainBoard);
    EXPECT_FALSE(t.face.isAnimSupported());
    EXPECT_FALSE(t.face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    EXPECT_FALSE(t.face.setAnimDensity(3));
    EXPECT_FALSE(t.face.setAnimEnable(true));
    EXPECT_FALSE(t.face.setAnimStep(2));
    EXPECT_THAT(t.log.records(), ElementsAre(notSupported("setAnimColor"), notSupported("setAnimDensity"),
                                             notSupported("setAnimEnable"), notSupported("setAnimStep")));
    EXPECT_EQ(t.face.readFgAnimColor(), BaseLed::COLOR_NONE);
    EXPECT_EQ(t.face.readAnimDensity(), 0);
    EXPECT_FALSE(t.face.readAnimEnable());
    EXPECT_EQ(t.face.readAnimStep(), -1);
    EXPECT_THAT(t.board.journal(), IsEmpty());
}

TEST(RgbLedFace, AnimationColoursAreWrittenWhenTheyChange) {
    for (const uint32_t sysid : kAnimationBoards) {
        Fixture t(sysid);
        ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_BLUE, BaseLed::COLOR_CYAN));
        ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_BLUE, BaseLed::COLOR_CYAN));
        ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_BLUE, BaseLed::COLOR_WHITE_YELLOW));
        ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_BLACK, BaseLed::COLOR_WHITE_YELLOW));
        EXPECT_FALSE(t.face.setAnimColor(BaseLed::COLOR_NONE, BaseLed::COLOR_RED));
        EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimColorFg, "white_blue"), wrote(kAnimColorBg, "cyan"),
                                             wrote(kAnimColorBg, "white_yellow"), wrote(kAnimColorFg, "black")));
        EXPECT_EQ(t.face.readFgColor(), BaseLed::COLOR_NONE);  // the light's own colours are untouched
        EXPECT_THAT(t.log.records(), IsEmpty());
    }
}

TEST(RgbLedFace, AFailedAnimationColourWriteKeepsTheNewColours) {
    Fixture t(0xA563);
    t.board.sandbox().failCalls(kAnimColorBg, Call::Write, EIO);
    EXPECT_FALSE(t.face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimColorFg, "red"), wrote(kAnimColorBg, "green") + " !5"));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setAnimColor", EIO, "green", t.fd(kAnimColorBg))));
    t.clear();
    EXPECT_TRUE(t.face.setAnimColor(BaseLed::COLOR_RED, BaseLed::COLOR_GREEN));
    EXPECT_THAT(t.board.journal(), IsEmpty());
    t.board.sandbox().failCalls(kAnimColorFg, Call::Write, EIO);
    EXPECT_FALSE(t.face.setAnimColor(BaseLed::COLOR_BLUE, BaseLed::COLOR_BLUE));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimColorFg, "blue") + " !5"));
}

TEST(RgbLedFace, DensityIsWrittenAsDecimalWhenItChanges) {
    Fixture t(0xEC70);
    ASSERT_TRUE(t.face.setAnimDensity(0));  // the stored density is 0 already
    ASSERT_TRUE(t.face.setAnimDensity(5));
    ASSERT_TRUE(t.face.setAnimDensity(5));
    ASSERT_TRUE(t.face.setAnimDensity(-3));
    ASSERT_TRUE(t.face.setAnimDensity(INT_MIN));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimDensity, "5"), wrote(kAnimDensity, "-3"), wrote(kAnimDensity, "-2147483648")));
    const int fd = t.fd(kAnimDensity);
    t.clear();
    t.board.sandbox().failCalls(kAnimDensity, Call::Write, EIO);
    EXPECT_FALSE(t.face.setAnimDensity(9));
    EXPECT_EQ(t.face.readAnimDensity(), 9);
    EXPECT_TRUE(t.face.setAnimDensity(9));  // kept: the retry writes nothing
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimDensity, "9") + " !5"));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setAnimDensity", EIO, "9", fd)));
}

TEST(RgbLedFace, SwitchingTheAnimationOffWritesNoneAndOnWritesNothing) {
    Fixture t(0xA563);
    ASSERT_TRUE(t.face.setAnimEnable(false));  // already off: nothing
    ASSERT_TRUE(t.face.setAnimEnable(true));   // on: nothing
    ASSERT_TRUE(t.face.setAnimEnable(true));
    EXPECT_THAT(t.board.journal(), IsEmpty());
    ASSERT_TRUE(t.face.setAnimEnable(false));
    ASSERT_TRUE(t.face.setAnimEnable(false));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimTrigger, "none")));
    EXPECT_EQ(t.board.value(kAnimTrigger), "none");
    ASSERT_TRUE(t.face.setAnimEnable(true));
    const int fd = t.fd(kAnimTrigger);
    t.clear();
    t.board.sandbox().failCalls(kAnimTrigger, Call::Write, EIO);
    EXPECT_FALSE(t.face.setAnimEnable(false));
    EXPECT_FALSE(t.face.readAnimEnable());
    EXPECT_TRUE(t.face.setAnimEnable(false));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimTrigger, "none") + " !5"));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setAnimEnable", EIO, "none", fd)));
}

TEST(RgbLedFace, EveryNewStepWritesStepClockwise) {
    Fixture t(0xEC70);
    ASSERT_TRUE(t.face.setAnimStep(-1));  // the stored step is -1 already
    ASSERT_TRUE(t.face.setAnimStep(3));
    ASSERT_TRUE(t.face.setAnimStep(4));
    ASSERT_TRUE(t.face.setAnimStep(4));
    ASSERT_TRUE(t.face.setAnimStep(0));
    ASSERT_TRUE(t.face.setAnimStep(INT_MAX));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimTrigger, "step_cw"), wrote(kAnimTrigger, "step_cw"),
                                         wrote(kAnimTrigger, "step_cw"), wrote(kAnimTrigger, "step_cw")));
    const int fd = t.fd(kAnimTrigger);
    t.clear();
    t.board.sandbox().shortWrite(kAnimTrigger, 3);
    errno = 0;
    EXPECT_FALSE(t.face.setAnimStep(5));
    EXPECT_TRUE(t.face.setAnimStep(5));
    t.board.sandbox().failCalls(kAnimTrigger, Call::Write, EINTR, 1);
    EXPECT_TRUE(t.face.setAnimStep(6));
    EXPECT_THAT(t.journal(), ElementsAre(wrote(kAnimTrigger, "step_cw") + " ->3", wrote(kAnimTrigger, "step_cw") + " !4",
                                         wrote(kAnimTrigger, "step_cw")));
    EXPECT_THAT(t.log.records(), ElementsAre(failedWrite("setAnimStep", 0, "step_cw", fd)));
}

TEST(RgbLedFace, AnAnimationBoardSetAfterInitWritesToClosedFiles) {
    // The board is looked up on every call: the animation files of a board that had none at init
    // are not open, and the writes fail.
    Fixture t(kPlainBoard);
    CameraInfo::instance()["sysid"] = 0xA563ULL;
    EXPECT_FALSE(t.face.setAnimStep(1));
    EXPECT_THAT(t.journal(), IsEmpty());  // a closed descriptor never reaches the simulator
    EXPECT_THAT(t.log.records(), ElementsAre(Expected{kSource, "setAnimStep", 3, EBADF, "Failed to write 'step_cw' to proc entry 0xffffffff"}));
    CameraInfo::instance()["sysid"] = static_cast<unsigned long long>(kPlainBoard);
}

// ---- steady state ----

TEST(RgbLedFace, UnchangedSettingsCostNoCallAndNoAllocation) {
    Fixture t(0xA563);
    ASSERT_TRUE(t.face.setValue(60, false));
    ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_RED, BaseLed::COLOR_BLUE));
    ASSERT_TRUE(t.face.setAnimDensity(4));
    ASSERT_TRUE(t.face.setAnimEnable(true));
    ASSERT_TRUE(t.face.setAnimStep(2));
    t.clear();
    AllocationScope allocations;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(t.face.setValue(60, false));
        EXPECT_TRUE(t.face.setColor(BaseLed::COLOR_RED, BaseLed::COLOR_BLUE));
        EXPECT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_RED, BaseLed::COLOR_BLUE));
        EXPECT_TRUE(t.face.setAnimDensity(4));
        EXPECT_TRUE(t.face.setAnimEnable(true));
        EXPECT_TRUE(t.face.setAnimStep(2));
    }
    EXPECT_EQ(allocations.count(), 0u);
    EXPECT_THAT(t.board.journal(), IsEmpty());
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(RgbLedFace, ChangesCostExactlyTheirWritesAndNoAllocation) {
    Fixture t(0xEC70);
    ASSERT_TRUE(t.face.setValue(60, false));
    t.clear();
    size_t cost;
    {
        AllocationScope allocations;
        ASSERT_TRUE(t.face.setValue(0, false));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_GREEN, BaseLed::COLOR_BLUE));
        ASSERT_TRUE(t.face.setColor(BaseLed::COLOR_WHITE_GREEN, BaseLed::COLOR_MAGENTA));
        ASSERT_TRUE(t.face.setAnimColor(BaseLed::COLOR_WHITE_MAGENTA, BaseLed::COLOR_AMBER));
        ASSERT_TRUE(t.face.setAnimDensity(12));
        ASSERT_TRUE(t.face.setAnimEnable(true));
        ASSERT_TRUE(t.face.setAnimStep(7));
        ASSERT_TRUE(t.face.setAnimEnable(false));
        int value = -1;
        ASSERT_TRUE(t.face.readValue(value));
        EXPECT_EQ(value, 0);
        cost = allocations.count();
    }
    const std::vector<JournalEntry> made = t.board.journal();
    EXPECT_THAT(described(made),
                ElementsAre(wrote(kAvBrightness, "0"), wrote(kAvColorFg, "white_green"), wrote(kAvColorBg, "blue"),
                            wrote(kAvColorBg, "magenta"), wrote(kAnimColorFg, "white_magenta"), wrote(kAnimColorBg, "amber"),
                            wrote(kAnimDensity, "12"), wrote(kAnimTrigger, "step_cw"), wrote(kAnimTrigger, "none"),
                            "read " + kAvBrightness + " ->2"));
    t.board.sandbox().clearJournal();
    EXPECT_EQ(cost, simulatorCost(made));
    EXPECT_THAT(t.log.records(), IsEmpty());
}

TEST(RgbLedFace, AFailingCloseDoesNotStopTheDestructor) {
    SimBoard board(0xEC70);
    LogCapture log;
    {
        RgbLedFace face;
        ASSERT_TRUE(face.init("rgb"));
        board.sandbox().clearJournal();
        board.sandbox().failCalls(kAvColorFg, Call::Close, EIO);
        board.sandbox().failCalls(kAnimColorBg, Call::Close, EINTR);
    }
    EXPECT_THAT(described(board.journal()),
                ElementsAre(closed(kAvBrightness), closed(kAvColorFg) + " !5", closed(kAvColorBg), closed(kAnimDensity),
                            closed(kAnimColorFg), closed(kAnimColorBg) + " !4", closed(kAnimTrigger)));
    EXPECT_EQ(board.sandbox().openDescriptors(), 0);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(RgbLedFace, AFailingTriggerCloseStillLetsInitSucceed) {
    SimBoard board(0xA573);
    LogCapture log;
    board.sandbox().failCalls(kAvTrigger, Call::Close, EIO);
    RgbLedFace face;
    EXPECT_TRUE(face.init("rgb"));
    EXPECT_EQ(described(board.journal()).back(), closed(kAvTrigger) + " !5");
    EXPECT_THAT(log.records(), IsEmpty());
}
