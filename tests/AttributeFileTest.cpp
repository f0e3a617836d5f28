// The attribute-file pattern under failing system calls, through the front light of 0xA533.
#include <cerrno>
#include <cstdlib>

#include "BoardFixture.h"
#include "orva_gpio_utils/LedFace.h"

using namespace orva::test;
using orva::sim::SimBoard;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kPath = "/sys/class/backlight/3.pwm_bl/brightness";
const std::string kSource = "src/LedFace";

std::string hex(long long fd) {
    char text[32];
    snprintf(text, sizeof(text), "0x%llx", fd);
    return text;
}

class AttributeFile : public testing::Test {
protected:
    SimBoard board{0xA533};
    LogCapture log;
    LedFace face;

    long long openedFd() {
        const auto opens = calls(board.journal(), Call::Open);
        return opens.empty() ? -1 : opens.back().result;
    }
};

}  // namespace

TEST_F(AttributeFile, OpenRetriesWhileInterrupted) {
    board.sandbox().failCalls(kPath, Call::Open, EINTR, 2);
    ASSERT_TRUE(face.init("front"));
    const auto opens = calls(board.journal(), Call::Open);
    ASSERT_EQ(opens.size(), 3u);
    EXPECT_EQ(opens[0].error, EINTR);
    EXPECT_EQ(opens[1].error, EINTR);
    EXPECT_GT(opens[2].result, 0);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AttributeFile, OpenFailureOtherThanEintrIsNotRetried) {
    board.sandbox().failCalls(kPath, Call::Open, ENODEV);
    EXPECT_FALSE(face.init("front"));
    EXPECT_EQ(calls(board.journal(), Call::Open).size(), 1u);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + kPath + "'"},
                            Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}));
}

TEST_F(AttributeFile, DescriptorZeroFromOpenIsAFailure) {
    board.sandbox().zeroDescriptor(kPath);
    EXPECT_FALSE(face.init("front"));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "initGPIO", 3, 0, "Failed to open proc entry '" + kPath + "'"},
                            Expected{"src/BaseLed", "init", 3, 0, "Failed to init GPIO"}));
    EXPECT_TRUE(calls(board.journal(), Call::Write).empty());
}

TEST_F(AttributeFile, WriteRetriesWhileInterrupted) {
    ASSERT_TRUE(face.init("front"));
    board.sandbox().failCalls(kPath, Call::Write, EINTR, 3);
    ASSERT_TRUE(face.setValue(40, false));
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 4u);
    for (const auto& write : writes) EXPECT_EQ(write.bytes, withNul("39"));
    EXPECT_EQ(writes[3].result, 3);
    EXPECT_EQ(board.value(kPath), "39");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AttributeFile, WriteErrorIsLoggedWithErrnoAndKeepsTheValue) {
    ASSERT_TRUE(face.init("front"));
    ASSERT_TRUE(face.setValue(20, false));
    board.sandbox().failCalls(kPath, Call::Write, EIO);
    EXPECT_FALSE(face.setValue(40, false));
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "writeValue", 3, EIO, "Failed to write '39' to proc entry " + hex(openedFd())},
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
    EXPECT_EQ(board.value(kPath), "19");
    // The failed value was not recorded: the same request writes again.
    board.sandbox().clearJournal();
    EXPECT_TRUE(face.setValue(40, false));
    EXPECT_EQ(calls(board.journal(), Call::Write).size(), 1u);
    EXPECT_EQ(board.value(kPath), "39");
}

TEST_F(AttributeFile, ShortWriteIsAFailure) {
    ASSERT_TRUE(face.init("front"));
    board.sandbox().shortWrite(kPath, 2);
    errno = 0;
    EXPECT_FALSE(face.setValue(40, false));
    const auto writes = calls(board.journal(), Call::Write);
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0].result, 2);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "writeValue", 3, 0, "Failed to write '39' to proc entry " + hex(openedFd())},
                            Expected{"src/BaseLed", "setValue", 3, 0, "Failed to write value"}));
}

TEST_F(AttributeFile, ReadRetriesWhileInterrupted) {
    board.sandbox().setValue(kPath, "12");
    ASSERT_TRUE(face.init("front"));
    board.sandbox().failCalls(kPath, Call::Read, EINTR, 2);
    int value = 0;
    ASSERT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 12);
    EXPECT_EQ(calls(board.journal(), Call::Read).size(), 3u);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AttributeFile, EmptyReadIsAFailure) {
    ASSERT_TRUE(face.init("front"));
    board.sandbox().emptyRead(kPath);
    errno = 0;
    int value = 77;
    EXPECT_FALSE(face.readValue(value));
    EXPECT_EQ(value, 77);
    EXPECT_THAT(log.records(), ElementsAre(Expected{kSource, "readValue", 3, 0,
                                                    "Failed to read from proc entry " + hex(openedFd()) +
                                                        ", num bytes read 0"}));
}

TEST_F(AttributeFile, ReadErrorReportsMinusOneAndErrno) {
    ASSERT_TRUE(face.init("front"));
    board.sandbox().failCalls(kPath, Call::Read, EIO);
    int value = 77;
    EXPECT_FALSE(face.save());
    EXPECT_TRUE(face.readValue(value));  // the fault was used up by save()
    EXPECT_EQ(value, 0);
    EXPECT_THAT(log.records(),
                ElementsAre(Expected{kSource, "readValue", 3, EIO,
                                     "Failed to read from proc entry " + hex(openedFd()) + ", num bytes read -1"},
                            Expected{"src/BaseLed", "save", 3, 0, "Failed to read value"}));
}

TEST_F(AttributeFile, OnlyFifteenBytesAreRead) {
    board.sandbox().setValue(kPath, "123456789012345678");
    ASSERT_TRUE(face.init("front"));
    int value = 0;
    ASSERT_TRUE(face.readValue(value));
    const auto reads = calls(board.journal(), Call::Read);
    ASSERT_EQ(reads.size(), 1u);
    EXPECT_EQ(reads[0].count, 15u);
    EXPECT_EQ(reads[0].bytes, "123456789012345");
    // Beyond int, the number saturates as the camera's atoi does (its long has 32 bits).
    EXPECT_EQ(value, 2147483647);
}

TEST_F(AttributeFile, NumbersBeyondIntSaturateAsOnTheCamera) {
    const std::pair<const char*, int> cases[] = {{"2147483647", 2147483647}, {"2147483648", 2147483647},
                                                 {"-2147483648", -2147483648}, {"-2147483649", -2147483648},
                                                 {"-99999999999999", -2147483648}, {"4294967295", 2147483647}};
    ASSERT_TRUE(face.init("front"));
    for (const auto& [text, expected] : cases) {
        board.sandbox().setValue(kPath, text);
        int value = 0;
        ASSERT_TRUE(face.readValue(value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST_F(AttributeFile, TextIsTrimmedBeforeConversion) {
    board.sandbox().setValue(kPath, "  42 ");
    ASSERT_TRUE(face.init("front"));
    int value = 0;
    ASSERT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 42);
}

TEST_F(AttributeFile, GarbageReadsAsZero) {
    board.sandbox().setValue(kPath, "bogus");
    ASSERT_TRUE(face.init("front"));
    int value = 5;
    ASSERT_TRUE(face.readValue(value));
    EXPECT_EQ(value, 0);
}
