#include <gtest/gtest.h>

#include "lab/simproduct/requests/InnerRequest.h"
#include "tests/lab/simproduct/Requests.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace Test;

TEST(InnerRequestTest, BodyFollowsTheHeader) {
    const InnerRequest request =
        DecodeInnerRequest(HexBytes("0C 00 00 00 00 06 00 01 02 00 10 00 AA BB"));

    EXPECT_EQ(0x00100002u, request.command);
    EXPECT_EQ((Bytes{0xAA, 0xBB}), request.body);
    EXPECT_TRUE(DecodeInnerRequest(HexBytes("0C 00 00 00 00 06 00 01 21 00 00 00")).body.empty());
}

TEST(InnerRequestTest, AnotherHeaderIsRefused) {
    for (const char* header :
         {"0D 00 00 00 00 06 00 01 02 00 00 00 00", "0C 00 00 00 00 06 01 01 02 00 00 00",
          "0C 00 00 00 00 06 00 01 02 00 00"}) {
        EXPECT_THROW(DecodeInnerRequest(HexBytes(header)), CMalformed) << header;
    }
}

TEST(XmlRequestTest, FunctionAndNodesAreReadAndOtherElementsPassedOver) {
    const XmlCall request = ParseXmlRequest(TextBytes(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><TULK><MESSAGE VERSION=\"1\"><OTHER/><REQUEST "
        "FUNCTION=\"BLOCK_EXECUTABLE_BY_HASH\"><DATA><!-- --><OTHER/>"
        "<NODE NAME=\"HASH_SHA1\" TYPE=\"STRING\" VALUE=\"\" /><NODE NAME=\"DELETE\" VALUE=\"1\" />"
        "<NODE NAME=\"DELETE\" VALUE=\"2\" /></DATA></REQUEST></MESSAGE></TULK>"));

    EXPECT_EQ("BLOCK_EXECUTABLE_BY_HASH", request.function);
    EXPECT_EQ("", request.Find("HASH_SHA1"));
    EXPECT_EQ("1", request.Find("DELETE"));
    EXPECT_EQ(std::nullopt, request.Find("PID"));
}

TEST(XmlRequestTest, RequestWithoutDataHasNoNodes) {
    const XmlCall request = ParseXmlRequest(TextBytes(
        "<TULK><MESSAGE VERSION=\"1\"><REQUEST FUNCTION=\"GET_ENCRYPTION_STORAGE_STATUS\">"
        "</REQUEST></MESSAGE></TULK>"));

    EXPECT_EQ("GET_ENCRYPTION_STORAGE_STATUS", request.function);
    EXPECT_TRUE(request.nodes.empty());
}

TEST(XmlRequestTest, TextThatNestsForeverIsRefused) {
    std::string text;
    for (int i = 0; i < 100000; ++i) {
        text += "<a>";
    }
    EXPECT_EQ("the request's XML has more than 256 tags",
              ThrownText([&] { ParseXmlRequest(TextBytes(text)); }));
}

TEST(XmlRequestTest, TextOf256TagsIsRead) {
    // Three elements around it open and close, REQUEST's 250 children are closed by themselves.
    std::string text = "<TULK><MESSAGE><REQUEST FUNCTION=\"F\">";
    for (int i = 0; i < 250; ++i) {
        text += "<a/>";
    }
    text += "</REQUEST></MESSAGE></TULK>";
    EXPECT_EQ("F", ParseXmlRequest(TextBytes(text)).function);
    EXPECT_THROW(ParseXmlRequest(TextBytes(text + "<")), CMalformed);
}

// clang-format off
const Bytes kKindRecord = HexBytes("04 01 00 00  04 00 00 00  03 00 00 00");
const Bytes kUuidRecord = HexBytes("02 00 10 00  25 00 00 00")
                        + TextBytes("0f0e0d0c-0b0a-0908-0706-050403020100") + HexBytes("00");
// clang-format on

TEST(AgentUuidTest, UuidIsReadAndOtherRecordsArePassedOver) {
    EXPECT_EQ("0f0e0d0c-0b0a-0908-0706-050403020100",
              ParseAgentUuid(HexBytes("07 00 00 00 01 00 00 00 FF") + kKindRecord + kUuidRecord));
}

TEST(AgentUuidTest, BodyThatEndsInARecordIsRefused) {
    const Bytes whole = kKindRecord + kUuidRecord;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(ParseAgentUuid(BytesAt(whole, 0, length)), CMalformed) << length;
    }
}

TEST(AgentUuidTest, WrongRecordIsRefused) {
    // A length beyond every buffer, another kind than three, an identifier without its NUL.
    EXPECT_THROW(ParseAgentUuid(kKindRecord + HexBytes("02 00 10 00 FF FF FF FF 00")), CMalformed);
    EXPECT_THROW(ParseAgentUuid(HexBytes("04 01 00 00 04 00 00 00 02 00 00 00") + kUuidRecord),
                 CMalformed);
    EXPECT_THROW(ParseAgentUuid(kKindRecord + HexBytes("02 00 10 00 01 00 00 00 41")), CMalformed);
}

TEST(XmlRequestTest, WhatIsNoRequestIsRefused) {
    for (const char* text :
         {"", "<TULK>", "<TULK></TULK>", "<TULK><MESSAGE><REQUEST/></MESSAGE></TULK>",
          "<TULK><MESSAGE><REQUEST FUNCTION=\"F\"><DATA><NODE NAME=\"A\"/></DATA>"
          "</REQUEST></MESSAGE></TULK>",
          "<TULK><MESSAGE><REQUEST FUNCTION=\"F\"><DATA><NODE VALUE=\"A\"/></DATA>"
          "</REQUEST></MESSAGE></TULK>"}) {
        EXPECT_THROW(ParseXmlRequest(TextBytes(text)), CMalformed) << text;
    }
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
