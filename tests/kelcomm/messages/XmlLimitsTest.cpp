// How large an XML reply may be. Sanitizers take minutes for these trees.
#include <gtest/gtest.h>
#include <string>

#include <boost/property_tree/xml_parser.hpp>

#include "kelcomm/messages/XmlPayload.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using boost::property_tree::xml_parser_error;
using Test::ThrownText;

/// `count` children of one element.
std::string Wide(const std::string& child, int count) {
    std::string text = "<r>";
    for (int i = 0; i < count; ++i) {
        text += child;
    }
    return text + "</r>";
}

TEST(XmlLimitsTest, QuarterOfAMillionElementsAreParsed) {
    EXPECT_EQ(ParseXml(Wide("<a/>", 249999)).get_child("r").size(), 249999u);
}

TEST(XmlLimitsTest, MoreElementsAreRefusedLikeMalformedText) {
    EXPECT_EQ(ThrownText<xml_parser_error>([] { ParseXml(Wide("<a/>", 250000)); }),
              "<unspecified file>: too many elements");
    // However much text there is to each.
    EXPECT_EQ(ThrownText<xml_parser_error>(
                  [] { ParseXml(Wide("<a>" + std::string(60, 'x') + "</a>", 250000)); }),
              "<unspecified file>: too many elements");
}

TEST(XmlLimitsTest, AttributesAndCommentsCountAgainstTheirText) {
    // 250,000 nodes, and one for each 32 bytes.
    const std::string comment = "<!--" + std::string(13, 'x') + "-->";
    EXPECT_NO_THROW(ParseXml(Wide(comment, 312000)));
    constexpr char kTooMany[] = "<unspecified file>: too many attributes and comments";
    EXPECT_EQ(ThrownText<xml_parser_error>([] { ParseXml(Wide("<!---->", 330000)); }), kTooMany);
    EXPECT_EQ(ThrownText<xml_parser_error>([] { ParseXml(Wide("<a b='' />", 100000)); }), kTooMany);
    std::string attributes;
    for (int i = 0; i < 320000; ++i) {
        attributes += " b=''";
    }
    EXPECT_EQ(ThrownText<xml_parser_error>([&] { ParseXml("<r" + attributes + "/>"); }), kTooMany);
}

TEST(XmlLimitsTest, HundredThousandOrdinaryRecordsAreParsed) {
    const std::string record =
        R"(<RECORD STATUS="1" CATEGORY_RES_ID="71000000000022C" STATUS_RES_ID="7100000000002FF")"
        R"( DESCRIPTION_RES_ID="7100000000003FF"/>)";
    EXPECT_EQ(ParseXml(Wide(record, 100000)).get_child("r").size(), 100000u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
