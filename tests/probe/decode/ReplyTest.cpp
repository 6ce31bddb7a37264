#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t kXml = 2;
constexpr std::uint32_t kImport = 0x6D;
constexpr std::uint32_t kExport = 0x6E;
constexpr std::uint32_t kSendAgentUuid = 0x9A;
constexpr std::uint32_t kGetIndicators = 0x00100000;
constexpr std::uint32_t kGetActions = 0x00100001;
constexpr std::uint32_t kGetTelemetry = 0x00100002;

/// Of a reply with status 0, a told length (8 digits) and this body: what is behind the status.
Lines ReplyOf(const std::string& length, const std::string& body,
              std::optional<std::uint32_t> command = {}) {
    return DecodedFrom(8, "0c000000 00000000 " + length + ' ' + body, "reply", command);
}

TEST(ReplyTest, ReplyWithoutBodyIsItsHeader) {
    EXPECT_THAT(Decoded("0c000000 00000000 00000000", "reply"),
                ElementsAre("0+4 size of the header: 12 (0xc)", "4+4 status: 0, success",
                            "8+4 length of the body: 0"));
}

TEST(ReplyTest, RefusalIsNamed) {
    EXPECT_THAT(Decoded("0c000000 0e000000 00000000", "reply"),
                ElementsAre("0+4 size of the header: 12 (0xc)",
                            "4+4 status: 14 (0xe), not an administrator !the product refuses",
                            "8+4 length of the body: 0"));
    EXPECT_THAT(Decoded("0c000000 05000000 00000000", "reply"),
                testing::Contains("4+4 status: 5, reply buffer too small !the product refuses"));
    EXPECT_THAT(Decoded("0c000000 13000000 00000000", "reply"),
                testing::Contains("4+4 status: 19 (0x13), refused !the product refuses"));
}

TEST(ReplyTest, SuccessWithoutAValueIsNoRefusal) {
    EXPECT_THAT(Decoded("0c000000 12000000 00000000", "reply"),
                testing::Contains("4+4 status: 18 (0x12), success without a value"));
}

TEST(ReplyTest, HeaderOfAnotherSizeIsBlamed) {
    EXPECT_THAT(Wrong("0b000000 00000000 00000000", "reply"),
                ElementsAre("size of the header: must be 12 (0xc)"));
}

TEST(ReplyTest, CutHeaderSaysWhatIsMissing) {
    EXPECT_THAT(Decoded("0c000000 0000", "reply"),
                ElementsAre("0+4 size of the header: 12 (0xc)",
                            "4+2 status: 0000 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(ReplyOf("0100", ""),
                ElementsAre("8+2 length of the body: 0100 !ends early: 2 of 4 bytes are there"));
}

TEST(ReplyTest, BodyIsTextWhenNobodyKnowsTheQuestion) {
    EXPECT_THAT(ReplyOf("02000000", "6162"),
                ElementsAre("8+4 length of the body: 2", "12+2 text: \"ab\""));
    EXPECT_THAT(ReplyOf("02000000", "6162", 0x99),
                ElementsAre("8+4 length of the body: 2", "12+2 text: \"ab\""));
}

TEST(ReplyTest, BodyThatIsShorterThanItsLengthIsBlamed) {
    EXPECT_THAT(
        ReplyOf("05000000", "3c612f3e", kGetStatus),
        ElementsAre("8+4 length of the body: 5 !only 4 bytes are there", "12+4 text: \"<a/>\""));
}

TEST(ReplyTest, WhatIsBehindTheBodyIsNoPartOfIt) {
    EXPECT_THAT(ReplyOf("04000000", "3c612f3e ff", kGetStatus),
                ElementsAre("8+4 length of the body: 4", "16+1 behind the body: ff",
                            "12+4 text: \"<a/>\""));
    EXPECT_THAT(ReplyOf("00000000", "ff"),
                ElementsAre("8+4 length of the body: 0", "12+1 behind the body: ff"));
}

TEST(ReplyTest, StatusMustBeXml) {
    EXPECT_THAT(ReplyOf("03000000", "3c613e", kGetStatus),
                ElementsAre("8+4 length of the body: 3",
                            "12+3 text: \"<a>\" !<unspecified file>(1): unexpected end of data"));
}

TEST(ReplyTest, ConfigurationIsText) {
    EXPECT_THAT(ReplyOf("03000000", "613d31", kExport),
                ElementsAre("8+4 length of the body: 3", "12+3 text: \"a=1\""));
}

TEST(ReplyTest, BodyThatTheConnectorDoesNotReadIsShownAsBytes) {
    for (const std::uint32_t command : {kXml, kImport, kSendAgentUuid}) {
        EXPECT_THAT(ReplyOf("01000000", "41", command),
                    ElementsAre("8+4 length of the body: 1", "12+1 not read: 41"));
    }
}

TEST(ReplyTest, RecordsAreShownWithTheirText) {
    for (const std::uint32_t command : {kGetIndicators, kGetTelemetry}) {
        EXPECT_THAT(
            ReplyOf("06000000", "0a026162 1007", command),
            ElementsAre("8+4 length of the body: 6", "12+4 record: \"ab\"", "16+2 result code: 7"));
    }
}

TEST(ReplyTest, RecordThatIsCutSaysSo) {
    EXPECT_THAT(ReplyOf("04000000", "0a056162", kGetIndicators),
                ElementsAre("8+4 length of the body: 4",
                            "14+2 record: 6162 !ends early: 2 of 5 bytes are there"));
}

TEST(ReplyTest, ActionsAreShownAsBytes) {
    EXPECT_THAT(
        ReplyOf("06000000", "0a020803 1000", kGetActions),
        ElementsAre("8+4 length of the body: 6", "12+4 action: 0803", "16+2 result code: 0"));
}

}  // namespace
}  // namespace Kyr::Probe
