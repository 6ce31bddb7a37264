#include <gmock/gmock.h>
#include <stdexcept>
#include <string>

#include "probe/Input.h"
#include "probe/decode/Decode.h"
#include "probe/decode/HexText.h"
#include "probe/decode/Payload.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

constexpr std::uint32_t kGetStatus = 0x21;
constexpr std::uint32_t kGetTaskStatus = 0x70;
constexpr std::uint32_t kGetIndicators = 0x00100000;

/// "<offset>+<length> <name>: <value>", and " !<what is wrong>".
std::vector<std::string> Lines(const Layout& layout) {
    std::vector<std::string> lines;
    for (const Field& field : layout.fields) {
        lines.push_back(std::to_string(field.offset) + '+' + std::to_string(field.length) + ' ' +
                        field.name + ": " + field.value +
                        (field.wrong.empty() ? "" : " !" + field.wrong));
    }
    return lines;
}

std::vector<std::string> DecodeHex(const std::string& hex, const std::string& kind,
                                   std::optional<std::uint32_t> command = {}) {
    return Lines(Decode(FromHexText(hex), kind, command));
}

/// What is wrong with the last field that something is wrong with; empty: nothing.
std::string Wrong(const std::string& hex, const std::string& kind,
                  std::optional<std::uint32_t> command = {}) {
    std::string wrong;
    for (const Field& field : Decode(FromHexText(hex), kind, command).fields) {
        wrong = field.wrong.empty() ? wrong : field.name + ": " + field.wrong;
    }
    return wrong;
}

TEST(DecodeTest, RequestForTheStatusHasAHeaderOnly) {
    EXPECT_THAT(DecodeHex("0c000000 00060001 21000000", "request"),
                ElementsAre("0+4 size of the header: 12 (0xc)", "4+4 marker: 16778752 (0x1000600)",
                            "8+4 command: 33 (0x21), get-status"));
}

TEST(DecodeTest, WhatIsBehindARequestWithoutBodyIsReadByNobody) {
    EXPECT_EQ(Wrong("0c000000 00060001 21000000 ff", "request"),
              "behind the end: nothing reads this");
}

TEST(DecodeTest, RequestOfAnotherProtocolIsBlamedFieldByField) {
    EXPECT_THAT(DecodeHex("0d000000 01000000 99990000 01", "request"),
                ElementsAre("0+4 size of the header: 13 (0xd) !must be 12 (0xc)",
                            "4+4 marker: 1 !must be 16778752 (0x1000600)",
                            "8+4 command: 39321 (0x9999) !not a command of the product",
                            "12+1 not read: 01"));
}

TEST(DecodeTest, CutRequestSaysWhatIsMissing) {
    EXPECT_THAT(DecodeHex("0c000000 0006", "request"),
                ElementsAre("0+4 size of the header: 12 (0xc)",
                            "4+2 marker: 0006 !ends early: 2 of 4 bytes are there"));
}

TEST(DecodeTest, IdentityIsTakenApartRecordByRecord) {
    EXPECT_THAT(DecodeHex("0c000000 00060001 9a000000  04010000 04000000 03000000"
                          "  02001000 03000000 614200",
                          "request"),
                testing::Contains("20+4 value: 03000000"));
    EXPECT_EQ(Wrong("0c000000 00060001 9a000000  04010000 ff000000 03", "request"),
              "value: ends early: 1 of 255 bytes are there");
}

TEST(DecodeTest, RefusalIsNamed) {
    EXPECT_THAT(DecodeHex("0c000000 0e000000 00000000", "reply"),
                ElementsAre("0+4 size of the header: 12 (0xc)",
                            "4+4 status: 14 (0xe), not an administrator !the product refuses",
                            "8+4 length of the body: 0"));
}

TEST(DecodeTest, StatusThatIsNoXmlIsBlamed) {
    EXPECT_EQ(Wrong("0c000000 00000000 03000000 3c613e", "reply", kGetStatus),
              "text: <unspecified file>(1): unexpected end of data");
    EXPECT_EQ(Wrong("0c000000 00000000 04000000 3c612f3e", "reply", kGetStatus), "");
}

TEST(DecodeTest, WhatIsBehindTheBodyOfAReplyIsNoPartOfIt) {
    EXPECT_THAT(DecodeHex("0c000000 00000000 04000000 3c612f3e ff", "reply", kGetStatus),
                testing::IsSupersetOf({"16+1 behind the body: ff", "12+4 text: \"<a/>\""}));
    EXPECT_EQ(Wrong("0c000000 00000000 04000000 3c612f3e ff", "reply", kGetStatus), "");
}

TEST(DecodeTest, OutcomeTellsItsTask) {
    EXPECT_THAT(DecodeHex("0c000000 00000000 18000000  eeeeeeee 05000000 0c000000"
                          "  61003b00 62003b00 63000000",
                          "reply", kGetTaskStatus),
                testing::IsSupersetOf({"16+4 status: 5, failure", "24+10 user data: \"a;b;c\""}));
    EXPECT_EQ(Wrong("0c000000 00000000 10000000  eeeeeeee 00000000 0c000000  61000000", "reply",
                    kGetTaskStatus),
              "user data: must be three identifiers, are 1");
    EXPECT_EQ(
        Wrong("0c000000 00000000 0c000000  eeeeeeee 00000000 ffffffff", "reply", kGetTaskStatus),
        "place of the user data: outside of the record: the user data are empty");
}

TEST(DecodeTest, RecordsAreShownWithTheirText) {
    EXPECT_THAT(DecodeHex("0c000000 00000000 06000000  0a026162 1000", "reply", kGetIndicators),
                testing::IsSupersetOf({"12+4 record: \"ab\"", "16+2 result code: 0"}));
    EXPECT_EQ(Wrong("0c000000 00000000 04000000  0a056162", "reply", kGetIndicators),
              "record: ends early: 2 of 5 bytes are there");
}

TEST(DecodeTest, MessageOfTheLegacyPortHasItsDataEntries) {
    EXPECT_THAT(DecodeHex("2000 3800 0000 2400 00000000 00000000 00000000 00000000"
                          "  03000000 00000000 00000100 02000000 0010a200 68010000 0000b400"
                          " 00000100",
                          "lpc-request"),
                testing::IsSupersetOf({"24+4 port command: 3, request", "36+4 data entries: 2",
                                       "40+4 address of the request: 10620928 (0xa21000)",
                                       "52+4 capacity of the reply: 65536 (0x10000)"}));
}

TEST(DecodeTest, LengthsOfAMessageMustAgree) {
    EXPECT_EQ(Wrong("0000 1900 0000 0000 00000000 00000000 00000000 00000000"
                    "  00000000 00000000 00000000 00000000",
                    "alpc-request"),
              "length of the message: must be 24");
}

TEST(DecodeTest, AreaOfAnotherVersionIsBlamed) {
    EXPECT_THAT(
        DecodeHex("20000000 00000000 4b656c436f6d6d20 03000000 00000000 20000000 00000000", "area"),
        testing::IsSupersetOf({"0+4 size of the head: 32 (0x20)", "8+8 magic: \"KelComm \"",
                               "16+4 version: 3 !must be 2",
                               "56+4 value 0:  !outside of the area"}));
}

TEST(DecodeTest, RowOfSymbolsIsShownSymbolBySymbol) {
    EXPECT_THAT(DecodeHex("01000000 07000000 01000000 ffffffffffffffff", "symbols"),
                ElementsAre("0+4 number of symbols: 1", "4+4 symbol: 7", "8+4 kind: 1, number",
                            "12+8 value: 18446744073709551615 (0xffffffffffffffff), -1 with its"
                            " sign"));
    EXPECT_EQ(Wrong("01000000 07000000 09000000", "symbols"),
              "kind: a kind of value that does not exist");
}

TEST(DecodeTest, PolicyThatIsDamagedSaysHow) {
    EXPECT_EQ(Wrong("ff", "policy"),
              "policy: not a compressed blob, does not inflate to 0 bytes (zlib -3)");
}

TEST(DecodeTest, KindIsGuessedFromTheFirstBytes) {
    EXPECT_EQ(GuessKind(FromHexText("0c000000 00060001 21000000")), "request");
    EXPECT_EQ(GuessKind(FromHexText("0c000000 00000000 00000000")), "reply");
    EXPECT_EQ(GuessKind(FromHexText("20000000 00000000 4b656c436f6d6d20")), "area");
    EXPECT_EQ(GuessKind("nothing of the kind"), std::nullopt);
    EXPECT_EQ(GuessKind(""), std::nullopt);
}

TEST(DecodeTest, NothingIsDecodedAsWhatDoesNotExist) {
    EXPECT_THROW(Decode("", "letter", {}), std::invalid_argument);
}

TEST(DecodeTest, CommandsHaveNamesAndNumbers) {
    EXPECT_EQ(CommandOf("get-status"), 0x21u);
    EXPECT_EQ(CommandOf("0x100001"), 0x100001u);
    EXPECT_EQ(CommandOf("112"), 112u);
    EXPECT_EQ(CommandOf("get"), std::nullopt);
    EXPECT_EQ(CommandOf("0x"), std::nullopt);
    EXPECT_EQ(CommandOf(""), std::nullopt);
}

TEST(DecodeTest, TextIsShownOnOneLine) {
    EXPECT_THAT(DecodeHex("0c000000 00000000 06000000 610a22c3a4ff", "reply"),
                testing::Contains("12+6 text: \"a\\x0a\\x22\xC3\xA4\\xff\""));
}

TEST(InputTest, WhatCannotBeReadIsSaid) {
    EXPECT_THROW(ReadInput("/no/such/file"), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Probe
