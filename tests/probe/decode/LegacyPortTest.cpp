#include <gmock/gmock.h>

#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;

// The ids and the size of the view.
constexpr char kIds[] = " 00000000 00000000 00000000 00000000 ";
constexpr char kWideIds[] =
    " 0000000000000000 0000000000000000 00000000 00000000 0000000000000000 ";

/// What is behind the 24 bytes of the header.
Lines Behind(const std::string& start, const std::string& rest) {
    return DecodedFrom(24, start + kIds + rest, "lpc-request");
}

TEST(LegacyPortTest, LargeMessageNamesBothBuffers) {
    EXPECT_THAT(Decoded("2000 3800 0000 2400 01000000 02000000 03000000 04000000"
                        "  03000000 00000000 00000100 02000000 0010a200 68010000 0000b400 00000100",
                        "lpc-request"),
                ElementsAre("0+2 length of the data: 32 (0x20)",
                            "2+2 length of the message: 56 (0x38)", "4+2 type: 0, not sent yet",
                            "6+2 place of the data entries: 36 (0x24)", "8+4 process: 1",
                            "12+4 thread: 2", "16+4 message: 3", "20+4 size of the view: 4",
                            "24+4 port command: 3, request", "28+4 flags: 0, a reply is wanted",
                            "32+4 capacity of the reply: 65536 (0x10000)", "36+4 data entries: 2",
                            "40+4 address of the request: 10620928 (0xa21000)",
                            "44+4 length of the request: 360 (0x168)",
                            "48+4 address of the reply: 11796480 (0xb40000)",
                            "52+4 capacity of the reply: 65536 (0x10000)"));
}

TEST(LegacyPortTest, LargeMessageOf64BitsMayHoldItsPayload) {
    EXPECT_THAT(
        Decoded("4000 6800 0000 3400 0100000000000000 0200000000000000 03000000 00000000"
                "  0400000000000000  03000000 00000000 00000100 02000000 00000000"
                "  0500000001000000 06000000 00000000  0000b40001000000 00000100 00000000"
                "  0c000000 00060001 21000000",
                "lpc64-request"),
        ElementsAre(
            "0+2 length of the data: 64 (0x40)", "2+2 length of the message: 104 (0x68)",
            "4+2 type: 0, not sent yet", "6+2 place of the data entries: 52 (0x34)",
            "8+8 process: 1", "16+8 thread: 2", "24+4 message: 3", "32+8 size of the view: 4",
            "40+4 port command: 3, request", "44+4 flags: 0, a reply is wanted",
            "48+4 capacity of the reply: 65536 (0x10000)", "52+4 data entries: 2",
            "60+8 address of the request: 4294967301 (0x100000005)",
            "68+4 length of the request: 6", "76+8 address of the reply: 4306763776 (0x100b40000)",
            "84+4 capacity of the reply: 65536 (0x10000)", "92+4 size of the header: 12 (0xc)",
            "96+4 marker: 16778752 (0x1000600)", "100+4 command: 33 (0x21), get-status"));
}

TEST(LegacyPortTest, SmallMessageHoldsItsPayload) {
    EXPECT_THAT(
        Behind("1800 3000 0000 0000", "03000000 01000000 00000000 0c000000 00060001 21000000"),
        ElementsAre("24+4 port command: 3, request", "28+4 flags: 1, no reply is wanted",
                    "32+4 capacity of the reply: 0", "36+4 size of the header: 12 (0xc)",
                    "40+4 marker: 16778752 (0x1000600)", "44+4 command: 33 (0x21), get-status"));
}

TEST(LegacyPortTest, OtherFlagsDoNotSpeakOfTheReply) {
    EXPECT_THAT(Behind("0c00 2400 0000 0000", "00000000 06000000 00000000"),
                ElementsAre("24+4 port command: 0, ping", "28+4 flags: 6, a reply is wanted",
                            "32+4 capacity of the reply: 0"));
}

TEST(LegacyPortTest, PayloadOfAnotherCommandIsShownAsBytes) {
    EXPECT_THAT(Behind("0d00 2500 0000 0000", "01000000 00000000 00000000 aa"),
                ElementsAre("24+4 port command: 1, not known", "28+4 flags: 0, a reply is wanted",
                            "32+4 capacity of the reply: 0", "36+1 payload: aa"));
}

TEST(LegacyPortTest, DataEntriesAreTwoAndHaveTheirPlace) {
    EXPECT_THAT(Behind("2000 3800 0000 2400",
                       "00000000 00000000 00000000"
                       "  03000000 00000000 00000000 00000000 00000000"),
                Contains("36+4 data entries: 3 !must be 2"));
    EXPECT_THAT(Behind("0c00 2400 0000 2500", "00000000 00000000 00000000"),
                Contains("37+0 data entries:  !must stand at 36"));
    EXPECT_THAT(Wrong(std::string("0c00 2400 0000 0100") + kIds + "00000000 00000000 00000000",
                      "lpc-request"),
                ElementsAre("data entries: must stand at 36"));
}

TEST(LegacyPortTest, PayloadOfOneByteBehindTheDataEntriesIsSeen) {
    EXPECT_THAT(Behind("2100 3900 0000 2400",
                       "03000000 00000000 00000000"
                       "  02000000 00000000 00000000 00000000 00000000 0c"),
                Contains("56+1 size of the header: 0c !ends early: 1 of 4 bytes are there"));
}

TEST(LegacyPortTest, CutMessageSaysWhatIsMissingAndNoMore) {
    EXPECT_THAT(Behind("2000 3800 0000 2400", "03000000 0000"),
                ElementsAre("24+4 port command: 3, request",
                            "28+2 flags: 0000 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(
        Behind("2000 3800 0000 0000", "03000000 00000000 0000"),
        ElementsAre("24+4 port command: 3, request", "28+4 flags: 0, a reply is wanted",
                    "32+2 capacity of the reply: 0000 !ends early: 2 of 4 bytes are there"));
    EXPECT_THAT(Behind("2000 3800 0000 2400", "03000000 00000000 00000100 02000000 00"),
                Contains("40+1 address of the request: 00 !ends early: 1 of 4 bytes are there"));
    EXPECT_THAT(Decoded("0000 2800 0000", "lpc64-request"),
                Contains("6+0 place of the data entries:  !ends early: 0 of 2 bytes are there"));
}

TEST(LegacyPortTest, HeaderOf64BitsIs40BytesLong) {
    EXPECT_THAT(Wrong(std::string("0c00 2400 0000 0000") + kWideIds + "00000000 00000000 00000000",
                      "lpc64-request"),
                ElementsAre("length of the message: must be 52"));
}

TEST(LegacyPortTest, ReplyIsTakenApartThroughAllLayers) {
    EXPECT_THAT(
        Decoded("1800 3000 0200 0000 01000000 02000000 03000000 04000000"
                "  00000000 10000000 0c000000 00000000 04000000 3c612f3e",
                "lpc-reply", kGetStatus),
        ElementsAre("0+2 length of the data: 24 (0x18)", "2+2 length of the message: 48 (0x30)",
                    "4+2 type: 2, reply", "6+2 place of the data entries: 0", "8+4 process: 1",
                    "12+4 thread: 2", "16+4 message: 3", "20+4 size of the view: 4",
                    "24+4 result code: 0, success", "28+4 length of the reply: 16 (0x10)",
                    "32+4 size of the header: 12 (0xc)", "36+4 status: 0, success",
                    "40+4 length of the body: 4", "44+4 text: \"<a/>\""));
}

TEST(LegacyPortTest, ReplyOf64BitsHasTheWideHeader) {
    EXPECT_THAT(
        Decoded("0800 3000 0200 0000 0100000000000000 0200000000000000 03000000 00000000"
                "  0400000000000000  01000000 00000000",
                "lpc64-reply"),
        ElementsAre("0+2 length of the data: 8", "2+2 length of the message: 48 (0x30)",
                    "4+2 type: 2, reply", "6+2 place of the data entries: 0", "8+8 process: 1",
                    "16+8 thread: 2", "24+4 message: 3", "32+8 size of the view: 4",
                    "40+4 result code: 1, failure", "44+4 length of the reply: 0"));
}

}  // namespace
}  // namespace Kyr::Probe
