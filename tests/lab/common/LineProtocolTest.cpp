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
    EXPECT_EQ("ready", CLine("ready").Text());
    EXPECT_EQ("request transport=lpc length=312",
              CLine("request").With("transport", "lpc").With("length", 312).Text());
}

TEST(LineProtocolTest, ValueIsBareWheneverItCanBe) {
    const struct {
        const char* value;
        const char* text;
    } kRows[] = {
        {"not a lab process", R"(did text="not a lab process")"},
        {"", R"(did text="")"},
        {"a=b", R"(did text="a=b")"},
        {"\"\\\n\r\t\x01\x7F", R"(did text="\"\\\n\r\t\x01\x7f")"},
        {"\xC3\xA4", "did text=\xC3\xA4"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(row.text, CLine("did").With("text", row.value).Text());
    }
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

TEST(LineProtocolTest, StampIsReadBackAndIsNoField) {
    const TimedLine read = ParseLine("00:00:00.000 ready at=123456789012345678");

    EXPECT_EQ(123456789012345678U, read.stamp);
    EXPECT_THAT(read.line.Fields(), IsEmpty());
    EXPECT_EQ(std::nullopt, ParseLine("00:00:00.000 ready").stamp);
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
