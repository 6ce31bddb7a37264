#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;

// The ids and the size of the view, as a client sends them.
constexpr char kZeros[] = " 00000000 00000000 00000000 00000000 ";
constexpr char kStatusRequest[] = "0c000000 00060001 21000000";
constexpr char kEmptyReply[] = "0c000000 00000000 00000000";

/// A request, of which `lengths` are the first four bytes and `rest` is what follows the header:
/// what is behind the header.
Lines AlpcRequest(const std::string& lengths, const std::string& rest) {
    return DecodedFrom(24, lengths + " 0000 0000" + kZeros + rest, "alpc-request");
}

Lines AlpcReply(const std::string& lengths, const std::string& rest) {
    return DecodedFrom(24, lengths + " 0200 0000" + kZeros + rest, "alpc-reply", kGetStatus);
}

std::string TypeOf(const std::string& type) {
    return Decoded("1000 2800 " + type + " 0000" + kZeros + "00000000 00000000 00000000 00000000",
                   "alpc-request")[2];
}

TEST(AdvancedPortTest, ConnectionSaysWhoConnects) {
    EXPECT_THAT(
        Decoded("1000 2800 0a20 0000 01000000 02000000 03000000 04000000"
                "  4b656c436f6d6d20 02000000 cfff0000",
                "alpc-connection"),
        ElementsAre("0+2 length of the data: 16 (0x10)", "2+2 length of the message: 40 (0x28)",
                    "4+2 type: 8202 (0x200a), connection request, to be sent back",
                    "6+2 place of the data entries: 0", "8+4 process: 1", "12+4 thread: 2",
                    "16+4 message: 3", "20+4 size of the view: 4", "24+8 magic: \"KelComm \"",
                    "32+4 version: 2", "36+4 longest reply in a message: 65487 (0xffcf)"));
}

TEST(AdvancedPortTest, ConnectionOfAnotherProtocolIsBlamed) {
    const std::string header = std::string("1000 2800 0000 0000") + kZeros;
    EXPECT_THAT(Wrong(header + "4b656c436f6d6d2e 03000000 cfff0000", "alpc-connection"),
                ElementsAre("magic: must be \"KelComm \"", "version: must be 2"));
    EXPECT_THAT(DecodedFrom(24, header + "4b656c", "alpc-connection"),
                ElementsAre("24+3 magic: 4b656c !ends early: 3 of 8 bytes are there"));
}

TEST(AdvancedPortTest, TypesOfMessagesAreNamed) {
    EXPECT_EQ(TypeOf("0000"), "4+2 type: 0, not sent yet");
    EXPECT_EQ(TypeOf("0100"), "4+2 type: 1, request");
    EXPECT_EQ(TypeOf("0200"), "4+2 type: 2, reply");
    EXPECT_EQ(TypeOf("0300"), "4+2 type: 3, datagram");
    EXPECT_EQ(TypeOf("0400"), "4+2 type: 4, lost reply");
    EXPECT_EQ(TypeOf("0500"), "4+2 type: 5, port closed");
    EXPECT_EQ(TypeOf("0600"), "4+2 type: 6, client died");
    EXPECT_EQ(TypeOf("0700"), "4+2 type: 7, not known");
    EXPECT_EQ(TypeOf("0a00"), "4+2 type: 10 (0xa), connection request");
    EXPECT_EQ(TypeOf("0b00"), "4+2 type: 11 (0xb), connection reply");
    EXPECT_EQ(TypeOf("0230"), "4+2 type: 12290 (0x3002), reply, to be sent back");
    EXPECT_EQ(TypeOf("0250"), "4+2 type: 20482 (0x5002), reply");
}

TEST(AdvancedPortTest, RequestIsTakenApartThroughAllLayers) {
    EXPECT_THAT(
        AlpcRequest("1c00 3400",
                    std::string("03000000 01000000 0c000000 00000100") + kStatusRequest),
        ElementsAre("24+4 port command: 3, request", "28+4 the reply may grow: 1",
                    "32+4 length of the request: 12 (0xc)",
                    "36+4 capacity of the reply: 65536 (0x10000)",
                    "40+4 size of the header: 12 (0xc)", "44+4 marker: 16778752 (0x1000600)",
                    "48+4 command: 33 (0x21), get-status"));
}

TEST(AdvancedPortTest, PingHasNoPayload) {
    EXPECT_THAT(AlpcRequest("1000 2800", "00000000 00000000 00000000 00000000"),
                ElementsAre("24+4 port command: 0, ping", "28+4 the reply may grow: 0",
                            "32+4 length of the request: 0", "36+4 capacity of the reply: 0"));
}

TEST(AdvancedPortTest, PayloadOfAnotherCommandIsShownAsBytes) {
    EXPECT_THAT(AlpcRequest("1100 2900", "07000000 00000000 01000000 00000000 aa"),
                ElementsAre("24+4 port command: 7, not known", "28+4 the reply may grow: 0",
                            "32+4 length of the request: 1", "36+4 capacity of the reply: 0",
                            "40+1 payload: aa"));
}

TEST(AdvancedPortTest, LongPayloadIsElsewhere) {
    EXPECT_THAT(
        AlpcRequest("1000 2800", "03000000 01000000 c8ff0000 00000000"),
        ElementsAre("24+4 port command: 3, request", "28+4 the reply may grow: 1",
                    "32+4 length of the request: 65480 (0xffc8)", "36+4 capacity of the reply: 0",
                    "40+0 payload: elsewhere: in the view that goes with the message"));
    EXPECT_THAT(Wrong(std::string("1100 2900 0000 0000") + kZeros +
                          "03000000 01000000 c8ff0000 00000000 ff",
                      "alpc-request"),
                ElementsAre("behind the end: nothing reads this"));
}

TEST(AdvancedPortTest, ShortPayloadMustBeThere) {
    EXPECT_THAT(
        AlpcRequest("1000 2800", "03000000 01000000 c7ff0000 00000000"),
        ElementsAre("24+4 port command: 3, request", "28+4 the reply may grow: 1",
                    "32+4 length of the request: 65479 (0xffc7)", "36+4 capacity of the reply: 0",
                    "40+0 payload:  !must be 65479 bytes, are 0"));
    EXPECT_THAT(AlpcRequest("1200 2a00", "03000000 01000000 01000000 00000000 aabb"),
                Contains("40+2 payload: aabb !must be 1 bytes, are 2"));
}

TEST(AdvancedPortTest, CutRequestSaysWhatIsMissing) {
    EXPECT_THAT(
        AlpcRequest("1000 2800", "03000000 01000000 0c00"),
        ElementsAre("24+4 port command: 3, request", "28+4 the reply may grow: 1",
                    "32+2 length of the request: 0c00 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(
        AlpcRequest("1000 2800", "03000000 01000000 0c000000 0000"),
        ElementsAre("24+4 port command: 3, request", "28+4 the reply may grow: 1",
                    "32+4 length of the request: 12 (0xc)",
                    "36+2 capacity of the reply: 0000 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(AlpcRequest("1000 2800", "03"),
                ElementsAre("24+1 port command: 03 !ends early: 1 of 4 bytes are there"));
}

TEST(AdvancedPortTest, LengthsOfAMessageMustAgree) {
    EXPECT_THAT(
        Wrong(std::string("1000 2900 0000 0000") + kZeros + "00000000 00000000 00000000 00000000",
              "alpc-request"),
        ElementsAre("length of the message: must be 40"));
}

TEST(AdvancedPortTest, CutHeaderSaysWhatIsMissing) {
    EXPECT_THAT(Decoded("10", "alpc-request"),
                ElementsAre("0+1 length of the data: 10 !ends early: 1 of 2 bytes are there"));
    EXPECT_THAT(Decoded("1000 28", "alpc-request"),
                ElementsAre("0+2 length of the data: 16 (0x10)",
                            "2+1 length of the message: 28 !ends early: 1 of 2 bytes are there"));
}

TEST(AdvancedPortTest, ReplyIsTakenApartThroughAllLayers) {
    EXPECT_THAT(AlpcReply("1800 3000", "00000000 10000000 0c000000 00000000 04000000 3c612f3e"),
                ElementsAre("24+4 result code: 0, success", "28+4 length of the reply: 16 (0x10)",
                            "32+4 size of the header: 12 (0xc)", "36+4 status: 0, success",
                            "40+4 length of the body: 4", "44+4 text: \"<a/>\""));
}

TEST(AdvancedPortTest, HeaderOfAReplyIsThatOfEveryMessage) {
    EXPECT_THAT(
        Decoded("0800 2000 0200 0000 01000000 02000000 03000000 04000000 00000000 00000000",
                "alpc-reply"),
        ElementsAre("0+2 length of the data: 8", "2+2 length of the message: 32 (0x20)",
                    "4+2 type: 2, reply", "6+2 place of the data entries: 0", "8+4 process: 1",
                    "12+4 thread: 2", "16+4 message: 3", "20+4 size of the view: 4",
                    "24+4 result code: 0, success", "28+4 length of the reply: 0"));
}

TEST(AdvancedPortTest, FailureOfThePortIsNamed) {
    EXPECT_THAT(AlpcReply("0800 2000", "01000000 00000000"),
                ElementsAre("24+4 result code: 1, failure", "28+4 length of the reply: 0"));
}

TEST(AdvancedPortTest, BytesBehindAReplyOfNoBytesAreNotRead) {
    EXPECT_THAT(AlpcReply("0c00 2400", "00000000 00000000 0c000000"),
                ElementsAre("24+4 result code: 0, success", "28+4 length of the reply: 0"));
}

TEST(AdvancedPortTest, ReplyMayBeElsewhere) {
    EXPECT_THAT(AlpcReply("0800 2000", "00000000 0c000000"),
                ElementsAre("24+4 result code: 0, success",
                            "28+4 length of the reply: 12 (0xc), elsewhere: in a view, or written "
                            "into the buffer of who asked"));
}

TEST(AdvancedPortTest, ReplyIsAsLongAsItIsTold) {
    EXPECT_THAT(AlpcReply("1500 2d00", std::string("00000000 0d000000 ") + kEmptyReply),
                Contains("28+4 length of the reply: 13 (0xd) !only 12 bytes are there"));
    EXPECT_THAT(AlpcReply("1500 2d00", std::string("00000000 0c000000 ") + kEmptyReply + "ff"),
                ElementsAre("24+4 result code: 0, success", "28+4 length of the reply: 12 (0xc)",
                            "44+1 behind the body: ff", "32+4 size of the header: 12 (0xc)",
                            "36+4 status: 0, success", "40+4 length of the body: 0"));
    EXPECT_THAT(AlpcReply("0900 2100", "00000000 01000000 0c"),
                ElementsAre("24+4 result code: 0, success", "28+4 length of the reply: 1",
                            "32+1 size of the header: 0c !ends early: 1 of 4 bytes are there"));
}

TEST(AdvancedPortTest, CutReplySaysWhatIsMissing) {
    EXPECT_THAT(AlpcReply("0800 2000", "00000000 0c"),
                ElementsAre("24+4 result code: 0, success",
                            "28+1 length of the reply: 0c !ends early: 1 of 4 bytes are there"));
    EXPECT_THAT(AlpcReply("0800 2000", ""),
                ElementsAre("24+0 result code:  !ends early: 0 of 4 bytes are there"));
}

}  // namespace
}  // namespace Kyr::Probe
