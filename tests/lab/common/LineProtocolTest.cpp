#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(LineProtocolTest, LineIsKindAndFieldsInOrder) {
    EXPECT_EQ("request transport=lpc length=312",
              CLine("request").With("transport", "lpc").With("length", 312).Text());
}

TEST(LineProtocolTest, LineWithoutFieldsIsItsKind) {
    EXPECT_EQ("ready", CLine("ready").Text());
}

TEST(LineProtocolTest, ValueWithBlankIsQuoted) {
    EXPECT_EQ(R"(did outcome="not a lab process")",
              CLine("did").With("outcome", "not a lab process").Text());
}

TEST(LineProtocolTest, EmptyValueIsQuoted) {
    EXPECT_EQ(R"(did name="")", CLine("did").With("name", "").Text());
}

TEST(LineProtocolTest, ValueWithEqualsSignIsQuoted) {
    EXPECT_EQ(R"(did name="a=b")", CLine("did").With("name", "a=b").Text());
}

TEST(LineProtocolTest, QuotesBackslashesAndControlBytesAreEscaped) {
    EXPECT_EQ(R"(did text="\"\\\n\r\t\x01\x7f")",
              CLine("did").With("text", "\"\\\n\r\t\x01\x7F").Text());
}

TEST(LineProtocolTest, BytesAboveAsciiStayBare) {
    EXPECT_EQ("did name=\xC3\xA4", CLine("did").With("name", "\xC3\xA4").Text());
}

TEST(LineProtocolTest, FindReturnsFirstFieldOfThatName) {
    const CLine line = CLine("did").With("pid", "1").With("pid", "2");

    ASSERT_NE(nullptr, line.Find("pid"));
    EXPECT_EQ("1", *line.Find("pid"));
    EXPECT_EQ(nullptr, line.Find("name"));
}

TEST(LineProtocolTest, WrittenLineIsReadBack) {
    const TimedLine read = ParseLine(R"(23:59:07.042 did pid=7 text="a \"b\"\n\x1f" name="")");

    EXPECT_EQ("23:59:07.042", read.time);
    EXPECT_EQ("did", read.line.Kind());
    EXPECT_THAT(read.line.Fields(),
                ElementsAre(Pair("pid", "7"), Pair("text", "a \"b\"\n\x1f"), Pair("name", "")));
}

TEST(LineProtocolTest, LineWithoutFieldsIsReadBack) {
    EXPECT_THAT(ParseLine("00:00:00.000 ready").line.Fields(), IsEmpty());
}

TEST(LineProtocolTest, StampIsReadBackAndIsNoField) {
    const TimedLine read = ParseLine("00:00:00.000 did pid=7 at=123456789012345678");

    EXPECT_EQ(123456789012345678U, read.stamp);
    EXPECT_THAT(read.line.Fields(), ElementsAre(Pair("pid", "7")));
    EXPECT_EQ(std::nullopt, ParseLine("00:00:00.000 did pid=7").stamp);
}

class MalformedLineTest : public ::testing::TestWithParam<const char*> {};

TEST_P(MalformedLineTest, IsRefused) {
    EXPECT_THROW(ParseLine(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(
    LineProtocolTest, MalformedLineTest,
    ::testing::Values("", "ready", "0:00:00.000 ready", "00:00:00,000 ready", "00:00:0a.000 ready",
                      "00:00:00.000", "00:00:00.000 ", "00:00:00.000  ready", "00:00:00.000 did =1",
                      "00:00:00.000 did pid", "00:00:00.000 did pid=", "00:00:00.000 did pid=1 ",
                      "00:00:00.000 did pid=1=2", "00:00:00.000 did name=\"a",
                      "00:00:00.000 did name=\"a\"b", "00:00:00.000 did name=\"\\q\"",
                      "00:00:00.000 did name=\"\\x0\"", "00:00:00.000 did name=\"\\x0G\"",
                      "00:00:00.000 Did pid=1", "00:00:00.000 did at=soon"));

}  // namespace
}  // namespace Kyr::Lab
