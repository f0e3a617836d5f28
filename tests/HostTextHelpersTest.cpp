// The host platform's text helpers at their edges: formatting that does or does not fit the stack
// buffer, and trimming in place.
#include <gtest/gtest.h>

#include <string>

#include "AllocationCounter.h"
#include "orva/platform.h"

namespace {

using orva::test::AllocationScope;

std::string repeated(size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i % 26);
    return text;
}

TEST(HostTextHelpers, FormatOfNothingIsEmpty) {
    EXPECT_EQ(orva::utils::format("%s", ""), "");
    EXPECT_EQ(orva::utils::format("%.0s", "abc"), "");
}

TEST(HostTextHelpers, FormatKeepsEveryLengthAroundTheStackBuffer) {
    for (const size_t length : {1u, 15u, 16u, 254u, 255u, 256u, 257u, 511u, 4096u, 70000u}) {
        const std::string text = repeated(length);
        const std::string formatted = orva::utils::format("%s", text.c_str());
        EXPECT_EQ(formatted.size(), length);
        EXPECT_EQ(formatted, text) << "length " << length;
    }
}

TEST(HostTextHelpers, FormatBeyondTheStackBufferFormatsEveryArgument) {
    const std::string head = repeated(300);
    EXPECT_EQ(orva::utils::format("%s|%d|%u|%s", head.c_str(), -7, 4294967295u, "end"),
              head + "|-7|4294967295|end");
    EXPECT_EQ(orva::utils::format("%400d", 5), std::string(399, ' ') + "5");
}

TEST(HostTextHelpers, FormatOfAShortNumberDoesNotAllocate) {
    AllocationScope scope;
    const std::string text = orva::utils::format("%d", 99);
    EXPECT_EQ(scope.count(), 0u);
    EXPECT_EQ(text, "99");
}

TEST(HostTextHelpers, FormatOfAPathAllocatesOnlyTheResult) {
    AllocationScope scope;
    const std::string text = orva::utils::format("/sys/class/leds/%s/brightness", "orva::av");
    EXPECT_EQ(scope.count(), 1u);
    EXPECT_EQ(text, "/sys/class/leds/orva::av/brightness");
}

TEST(HostTextHelpers, TrimOfEmptyStaysEmpty) {
    std::string text;
    orva::utils::trim(text);
    EXPECT_EQ(text, "");
}

TEST(HostTextHelpers, TrimOfOnlyBlanksLeavesNothing) {
    for (const char* blanks : {" ", "\n", " \t\r\n\v\f ", "          \n"}) {
        std::string text = blanks;
        orva::utils::trim(text);
        EXPECT_EQ(text, "") << "from \"" << blanks << "\"";
    }
}

TEST(HostTextHelpers, TrimKeepsInnerBlanksAndCutsBothEnds) {
    std::string text = "\t a b \n c \r\n";
    orva::utils::trim(text);
    EXPECT_EQ(text, "a b \n c");
    text = "x";
    orva::utils::trim(text);
    EXPECT_EQ(text, "x");
    text = "  x";
    orva::utils::trim(text);
    EXPECT_EQ(text, "x");
    text = "x  ";
    orva::utils::trim(text);
    EXPECT_EQ(text, "x");
}

TEST(HostTextHelpers, TrimOfLongTextWorksInPlace) {
    const std::string body = repeated(1000);
    std::string text = "   " + body + "\n\n";
    AllocationScope scope;
    orva::utils::trim(text);
    EXPECT_EQ(scope.count(), 0u);
    EXPECT_EQ(text, body);
}

TEST(HostTextHelpers, TrimOfAPolledLevelDoesNotAllocate) {
    std::string text = "1\n";
    AllocationScope scope;
    orva::utils::trim(text);
    EXPECT_EQ(scope.count(), 0u);
    EXPECT_EQ(text, "1");
}

}  // namespace
