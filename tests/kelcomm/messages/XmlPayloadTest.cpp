#include <gtest/gtest.h>

#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/XmlPayload.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using boost::property_tree::ptree_bad_path;
using boost::property_tree::xml_parser_error;
using Test::CGroupingLocale;
using Test::ThrownText;

/// `count` elements inside each other.
std::string Nested(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += "<a>";
    }
    for (int i = 0; i < count; ++i) {
        text += "</a>";
    }
    return text;
}

TEST(XmlPayloadTest, EmptyTextIsAnEmptyTree) {
    EXPECT_TRUE(ParseXml("").empty());
}

TEST(XmlPayloadTest, PathsAreSeparatedByDots) {
    EXPECT_EQ(ParseXml("<A><B><C>text</C></B></A>").get<std::string>("A.B.C"), "text");
}

// Ten levels of ten would be thirty gigabytes.
TEST(XmlPayloadTest, EntitiesOfADocumentTypeAreNotExpanded) {
    std::string text = "<!DOCTYPE A [<!ENTITY a0 \"bomb\">";
    for (int level = 1; level <= 10; ++level) {
        text += "<!ENTITY a" + std::to_string(level) + " \"";
        for (int times = 0; times < 10; ++times) {
            text += "&a" + std::to_string(level - 1) + ";";
        }
        text += "\">";
    }
    const auto tree = ParseXml(text + "]><A X=\"&a10;\">&a10;</A>");
    EXPECT_EQ(tree.get<std::string>("A"), "&a10;");
    EXPECT_EQ(tree.get<std::string>("A.<xmlattr>.X"), "&a10;");
}

TEST(XmlPayloadTest, EntityOfAFileIsNotFollowed) {
    const auto tree =
        ParseXml("<!DOCTYPE A [<!ENTITY f SYSTEM \"file:///etc/passwd\">]><A>&f;</A>");
    EXPECT_EQ(tree.get<std::string>("A"), "&f;");
}

TEST(XmlPayloadTest, MalformedTextThrowsTheParsersError) {
    EXPECT_THROW(ParseXml("<A><B></A>trailing"), xml_parser_error);
    EXPECT_THROW(ParseXml("no element"), xml_parser_error);
}

TEST(XmlPayloadTest, MissingPathThrowsBadPath) {
    EXPECT_THROW(ParseXml("<A/>").get_child("A.B"), ptree_bad_path);
}

TEST(XmlPayloadTest, WhitespaceIsKeptAndCommentsAreChildren) {
    const auto tree = ParseXml("<A> x <!--c--></A>");
    EXPECT_EQ(tree.get<std::string>("A"), " x ");
    EXPECT_EQ(tree.get<std::string>("A.<xmlcomment>"), "c");
}

TEST(XmlPayloadTest, AttributesAreReadByName) {
    const auto tree = ParseXml(R"(<A X="1" Y=""/>)");
    EXPECT_EQ(ReadAttribute(tree.get_child("A"), "X"), "1");
    EXPECT_EQ(ReadAttribute(tree.get_child("A"), "Y"), "");
}

TEST(XmlPayloadTest, MissingMandatoryAttributeThrowsBadPath) {
    EXPECT_THROW(ReadAttribute(ParseXml("<A X='1'/>").get_child("A"), "Z"), ptree_bad_path);
    EXPECT_THROW(ReadAttribute(ParseXml("<A/>").get_child("A"), "Z"), ptree_bad_path);
}

TEST(XmlPayloadTest, MissingOptionalAttributeIsNone) {
    const auto tree = ParseXml(R"(<A X="1"/>)");
    EXPECT_EQ(FindAttribute(tree.get_child("A"), "Z"), std::nullopt);
    EXPECT_EQ(FindAttribute(tree.get_child("A"), "X"), "1");
}

TEST(XmlPayloadTest, HexadecimalNumbers) {
    EXPECT_EQ(CHexReader().Read32("1"), 1u);
    EXPECT_EQ(CHexReader().Read32("10"), 16u);
    EXPECT_EQ(CHexReader().Read32("FFFFFFFF"), 0xFFFFFFFFu);
    EXPECT_EQ(CHexReader().Read32("ffffffff"), 0xFFFFFFFFu);
    EXPECT_EQ(CHexReader().Read64("071000000000021E"), 0x071000000000021E);
    EXPECT_EQ(CHexReader().Read64("-1"), -1);
}

TEST(XmlPayloadTest, TextThatIsNoNumberIsZero) {
    EXPECT_EQ(CHexReader().Read32(""), 0u);
    EXPECT_EQ(CHexReader().Read32("xyz"), 0u);
    EXPECT_EQ(CHexReader().Read64("g"), 0);
}

TEST(XmlPayloadTest, WhatFollowsTheDigitsIsIgnored) {
    EXPECT_EQ(CHexReader().Read32("2 or so"), 2u);
}

TEST(XmlPayloadTest, NumberTooLargeIsTheTypesLimit) {
    EXPECT_EQ(CHexReader().Read32("1FFFFFFFF"), 0xFFFFFFFFu);
    EXPECT_EQ(CHexReader().Read64("FFFFFFFFFFFFFFFF"), 0x7FFFFFFFFFFFFFFF);
}

TEST(XmlPayloadTest, NumberDoesNotDependOnTheOnesBefore) {
    CHexReader reader;
    EXPECT_EQ(reader.Read32("1FFFFFFFF"), 0xFFFFFFFFu);
    EXPECT_EQ(reader.Read32("10 or so"), 16u);
    EXPECT_EQ(reader.Read64(""), 0);
    EXPECT_EQ(reader.Read64("xyz"), 0);
    EXPECT_EQ(reader.Read64(" -2"), -2);
    EXPECT_EQ(reader.Read32("a"), 10u);
}

TEST(XmlPayloadTest, DigitGroupsOfTheProcessesLocaleAreNotRead) {
    const CGroupingLocale locale;
    EXPECT_EQ(CHexReader().Read32("1,000"), 1u);
}

TEST(XmlPayloadTest, NestingOf256ElementsIsParsed) {
    EXPECT_FALSE(ParseXml(Nested(256)).empty());
}

TEST(XmlPayloadTest, NestingOf257ElementsIsRefusedLikeMalformedText) {
    EXPECT_EQ(ThrownText<xml_parser_error>([] { ParseXml(Nested(257)); }),
              "<unspecified file>: elements nest too deep");
}

TEST(XmlPayloadTest, NestingThatWouldUseUpTheStackIsRefused) {
    EXPECT_THROW(ParseXml(Nested(1000000)), xml_parser_error);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
