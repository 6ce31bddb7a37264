#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A request with this command (8 digits) and this body.
std::string RequestOf(const std::string& command, const std::string& body = {}) {
    return "0c000000 00060001 " + command + ' ' + body;
}

TEST(RequestTest, RequestForTheStatusHasAHeaderOnly) {
    EXPECT_THAT(Decoded(RequestOf("21000000"), "request"),
                ElementsAre("0+4 size of the header: 12 (0xc)", "4+4 marker: 16778752 (0x1000600)",
                            "8+4 command: 33 (0x21), get-status"));
}

TEST(RequestTest, RequestOfAnotherProtocolIsBlamedFieldByField) {
    EXPECT_THAT(Decoded("0d000000 01000000 99990000 01", "request"),
                ElementsAre("0+4 size of the header: 13 (0xd) !must be 12 (0xc)",
                            "4+4 marker: 1 !must be 16778752 (0x1000600)",
                            "8+4 command: 39321 (0x9999) !not a command of the product",
                            "12+1 not read: 01"));
    EXPECT_THAT(DecodedFrom(12, RequestOf("99990000"), "request"), IsEmpty());
}

TEST(RequestTest, CutRequestSaysWhatIsMissing) {
    EXPECT_THAT(Decoded("0c000000 0006", "request"),
                ElementsAre("0+4 size of the header: 12 (0xc)",
                            "4+2 marker: 0006 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(DecodedFrom(8, "0c000000 00060001 2100", "request"),
                ElementsAre("8+2 command: 2100 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(Decoded("", "request"),
                ElementsAre("0+0 size of the header:  !ends early: 0 of 4 bytes are there"));
}

TEST(RequestTest, WhatIsBehindARequestWithoutBodyIsReadByNobody) {
    for (const char* const command : {"21000000", "6e000000", "70000000"}) {
        EXPECT_THAT(DecodedFrom(12, RequestOf(command, "ff"), "request"),
                    ElementsAre("12+1 behind the end: ff !nothing reads this"));
    }
}

TEST(RequestTest, RequestsWithoutBodyAreNamed) {
    EXPECT_THAT(DecodedFrom(8, RequestOf("6e000000"), "request"),
                ElementsAre("8+4 command: 110 (0x6e), export"));
    EXPECT_THAT(DecodedFrom(8, RequestOf("70000000"), "request"),
                ElementsAre("8+4 command: 112 (0x70), get-task-status"));
}

TEST(RequestTest, XmlIsReadAsTheProductDoes) {
    EXPECT_THAT(DecodedFrom(8, RequestOf("02000000", "3c612f3e"), "request"),
                ElementsAre("8+4 command: 2, xml", "12+4 text: \"<a/>\""));
    EXPECT_THAT(DecodedFrom(12, RequestOf("02000000", "3c613e"), "request"),
                ElementsAre("12+3 text: \"<a>\" !<unspecified file>(1): unexpected end of data"));
    EXPECT_THAT(DecodedFrom(12, RequestOf("02000000"), "request"), IsEmpty());
}

TEST(RequestTest, ConfigurationIsText) {
    EXPECT_THAT(DecodedFrom(8, RequestOf("6d000000", "613d31"), "request"),
                ElementsAre("8+4 command: 109 (0x6d), import", "12+3 text: \"a=1\""));
    EXPECT_THAT(DecodedFrom(12, RequestOf("6d000000"), "request"), IsEmpty());
}

TEST(RequestTest, QuestionsForRecordsAndActionsHaveAnOffset) {
    EXPECT_THAT(
        DecodedFrom(8, RequestOf("00001000", "08ac02"), "request"),
        ElementsAre("8+4 command: 1048576 (0x100000), get-indicators", "12+3 offset: 300 (0x12c)"));
    EXPECT_THAT(DecodedFrom(8, RequestOf("01001000", "0805"), "request"),
                ElementsAre("8+4 command: 1048577 (0x100001), get-actions", "12+2 offset: 5"));
    EXPECT_THAT(DecodedFrom(8, RequestOf("02001000", "0806"), "request"),
                ElementsAre("8+4 command: 1048578 (0x100002), get-telemetry", "12+2 offset: 6"));
}

TEST(RequestTest, IdentityIsTakenApartRecordByRecord) {
    EXPECT_THAT(
        DecodedFrom(8,
                    RequestOf("9a000000",
                              "04010000 04000000 03000000"
                              "  02001000 03000000 414200"
                              "  07000000 01000000 ff"),
                    "request"),
        ElementsAre("8+4 command: 154 (0x9a), send-agent-uuid",
                    "12+4 tag: 260 (0x104), kind of client", "16+4 length: 4",
                    "20+4 value: 03000000", "24+4 tag: 1048578 (0x100002), identifier of the agent",
                    "28+4 length: 3", "32+3 value: \"AB\\x00\"", "35+4 tag: 7, not known",
                    "39+4 length: 1", "43+1 value: ff"));
}

TEST(RequestTest, IdentityMayEndAnywhere) {
    EXPECT_THAT(DecodedFrom(12, RequestOf("9a000000", "04"), "request"),
                ElementsAre("12+1 tag: 04 !ends early: 1 of 4 bytes are there"));
    EXPECT_THAT(DecodedFrom(12, RequestOf("9a000000", "04010000 ff"), "request"),
                ElementsAre("12+4 tag: 260 (0x104), kind of client",
                            "16+1 length: ff !ends early: 1 of 4 bytes are there"));
    EXPECT_THAT(DecodedFrom(12, RequestOf("9a000000", "04010000 ff000000 03"), "request"),
                ElementsAre("12+4 tag: 260 (0x104), kind of client", "16+4 length: 255 (0xff)",
                            "20+1 value: 03 !ends early: 1 of 255 bytes are there"));
}

}  // namespace
}  // namespace Kyr::Probe
