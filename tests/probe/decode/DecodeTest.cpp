#include <gmock/gmock.h>
#include <stdexcept>

#include "probe/decode/Payload.h"
#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

std::string Guess(const std::string& hex) {
    return GuessKind(FromHexText(hex)).value_or("nothing");
}

TEST(DecodeTest, KindsHaveNames) {
    EXPECT_THAT(Kinds(),
                testing::ElementsAre("area", "request", "reply", "alpc-connection", "alpc-request",
                                     "alpc-reply", "lpc-request", "lpc-reply", "lpc64-request",
                                     "lpc64-reply", "policy", "symbols"));
}

TEST(DecodeTest, EachKindIsDecodedAsItself) {
    for (const std::string& kind : Kinds()) {
        EXPECT_EQ(Decode("", kind, {}).kind, kind);
    }
}

TEST(DecodeTest, NothingIsDecodedAsWhatDoesNotExist) {
    EXPECT_THROW(Decode("", "letter", {}), std::invalid_argument);
}

TEST(DecodeTest, PayloadsAreKnownByTheirHeader) {
    EXPECT_EQ(Guess("0c000000 00060001 21000000"), "request");
    EXPECT_EQ(Guess("0c000000 00000000 00000000"), "reply");
    EXPECT_EQ(Guess("0c000000 00000000 00000000 00"), "reply");
    EXPECT_EQ(Guess("0d000000 00060001 21000000"), "nothing");
    EXPECT_EQ(Guess("0c000000 00060001 210000"), "nothing");
}

TEST(DecodeTest, AreaIsKnownByItsMagic) {
    EXPECT_EQ(Guess("20000000 00000000 4b656c436f6d6d20"), "area");
    EXPECT_EQ(Guess("20000000 00000000 4b656c436f6d6d20 02000000"), "area");
    EXPECT_EQ(Guess("20000000 00000000 4b656c436f6d6d21 02000000"), "nothing");
    EXPECT_EQ(Guess("20000000 00000000 4b656c436f6d6d"), "nothing");
}

TEST(DecodeTest, ConnectionIsKnownByLengthsAndMagic) {
    const std::string ids = " 00000000 00000000 00000000 00000000 ";
    EXPECT_EQ(Guess("1000 2800 0000 0000" + ids + "4b656c436f6d6d20 02000000 cfff0000"),
              "alpc-connection");
    EXPECT_EQ(Guess("1000 2800 0000 0000" + ids + "00000000 00000000 00000000 00000000"),
              "nothing");
    EXPECT_EQ(Guess("1100 2800 0000 0000" + ids + "4b656c436f6d6d20 02000000 cfff0000"), "nothing");
    EXPECT_EQ(Guess("1000 2800 0000 0000" + ids + "4b656c436f6d6d20 02000000 cfff0000 00"),
              "nothing");
}

TEST(DecodeTest, MessageOf64BitsIsKnownByItsLengths) {
    const std::string ids = "0000000000000000 0000000000000000 00000000 00000000 0000000000000000 ";
    EXPECT_EQ(Guess("0c00 3400 0000 3400 " + ids + "00000000 00000000 00000000"), "lpc64-request");
    EXPECT_EQ(Guess("0c00 3400 0200 0000 " + ids + "00000000 00000000 00000000"), "lpc64-reply");
    EXPECT_EQ(Guess("0c00 3400 0220 0000 " + ids + "00000000 00000000 00000000"), "lpc64-reply");
    EXPECT_EQ(Guess("0c00 3400 0002 0000 " + ids + "00000000 00000000 00000000"), "lpc64-request");
    EXPECT_EQ(Guess("0c00 3400 0300 0000 " + ids + "00000000 00000000 00000000"), "lpc64-request");
    EXPECT_EQ(Guess("0d00 3400 0000 0000 " + ids + "00000000 00000000 00000000"), "nothing");
}

TEST(DecodeTest, WhatIsTooShortIsNothing) {
    EXPECT_EQ(GuessKind("nothing of the kind"), std::nullopt);
    EXPECT_EQ(GuessKind(""), std::nullopt);
    EXPECT_EQ(Guess("0c"), "nothing");
}

TEST(DecodeTest, CommandsHaveNames) {
    EXPECT_EQ(CommandOf("xml"), 2u);
    EXPECT_EQ(CommandOf("get-status"), 0x21u);
    EXPECT_EQ(CommandOf("import"), 0x6Du);
    EXPECT_EQ(CommandOf("export"), 0x6Eu);
    EXPECT_EQ(CommandOf("get-task-status"), 0x70u);
    EXPECT_EQ(CommandOf("send-agent-uuid"), 0x9Au);
    EXPECT_EQ(CommandOf("get-indicators"), 0x00100000u);
    EXPECT_EQ(CommandOf("get-actions"), 0x00100001u);
    EXPECT_EQ(CommandOf("get-telemetry"), 0x00100002u);
    EXPECT_EQ(CommandOf("get"), std::nullopt);
    EXPECT_EQ(CommandOf(""), std::nullopt);
}

TEST(DecodeTest, CommandsHaveNumbers) {
    EXPECT_EQ(CommandOf("0x100001"), 0x100001u);
    EXPECT_EQ(CommandOf("112"), 112u);
    EXPECT_EQ(CommandOf("0"), 0u);
    EXPECT_EQ(CommandOf("0x"), std::nullopt);
    EXPECT_EQ(CommandOf("00x1"), std::nullopt);
    EXPECT_EQ(CommandOf("12a"), std::nullopt);
    EXPECT_EQ(CommandOf("0x1g"), std::nullopt);
    EXPECT_EQ(CommandOf("4294967296"), std::nullopt);
}

}  // namespace
}  // namespace Kyr::Probe
