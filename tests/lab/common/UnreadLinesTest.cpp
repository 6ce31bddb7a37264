#include <gtest/gtest.h>

#include "lab/common/UnreadLines.h"

namespace Kyr::Lab {
namespace {

TEST(UnreadLinesTest, LineComesWhenItIsWhole) {
    CUnreadLines lines;
    lines.Append("ki", 2);
    EXPECT_EQ(std::nullopt, lines.Take());
    lines.Append("ll\nli", 5);
    EXPECT_EQ("kill", lines.Take());
    EXPECT_EQ(std::nullopt, lines.Take());
}

TEST(UnreadLinesTest, BothEndsOfLineAreCutOff) {
    CUnreadLines lines;
    lines.Append("a\r\n\nb\rc\n", 9);
    EXPECT_EQ("a", lines.Take());
    EXPECT_EQ("", lines.Take());
    EXPECT_EQ("b\rc", lines.Take());
}

TEST(UnreadLinesTest, LastLineMayLackItsEnd) {
    CUnreadLines lines;
    lines.Append("a\nquit", 6);
    EXPECT_FALSE(lines.HasEnded());
    lines.End();
    EXPECT_TRUE(lines.HasEnded());
    EXPECT_EQ("a", lines.Take());
    EXPECT_EQ("quit", lines.Take());
    EXPECT_EQ(std::nullopt, lines.Take());
}

TEST(UnreadLinesTest, EndAddsNoEmptyLine) {
    CUnreadLines lines;
    lines.Append("a\n", 2);
    lines.End();
    EXPECT_EQ("a", lines.Take());
    EXPECT_EQ(std::nullopt, lines.Take());
}

}  // namespace
}  // namespace Kyr::Lab
