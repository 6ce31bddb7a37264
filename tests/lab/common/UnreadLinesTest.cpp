#include <gtest/gtest.h>

#include "lab/common/UnreadLines.h"

namespace Kyr::Lab {
namespace {

TEST(UnreadLinesTest, LineComesWhenItIsWholeAndWithoutItsEnd) {
    CUnreadLines lines;
    lines.Append("ki", 2);
    EXPECT_EQ(std::nullopt, lines.Take());
    lines.Append("ll\r\n\nb\rc\nli", 11);
    EXPECT_EQ("kill", lines.Take());
    EXPECT_EQ("", lines.Take());
    EXPECT_EQ("b\rc", lines.Take());
    EXPECT_EQ(std::nullopt, lines.Take());
}

TEST(UnreadLinesTest, LastLineMayLackItsEndAndMayHaveIt) {
    for (const std::string text : {"a\nquit", "a\nquit\n"}) {
        CUnreadLines lines;
        lines.Append(text.data(), text.size());
        EXPECT_FALSE(lines.HasEnded());
        lines.End();
        EXPECT_TRUE(lines.HasEnded());
        EXPECT_EQ("a", lines.Take());
        EXPECT_EQ("quit", lines.Take());
        EXPECT_EQ(std::nullopt, lines.Take());
    }
}

}  // namespace
}  // namespace Kyr::Lab
