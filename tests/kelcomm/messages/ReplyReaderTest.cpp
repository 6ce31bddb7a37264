#include "kelcomm/messages/ReplyReader.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using namespace Test;

TEST(ReplyReaderTest, ElevenBytesAreNotFullEnough) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  00 00 00");
    EXPECT_EQ(ThrownText([&] { CReplyReader reader(reply); }), kNotFullEnough);
}

TEST(ReplyReaderTest, EmptyReplyIsNotFullEnough) {
    const std::vector<unsigned char> reply;
    EXPECT_EQ(ThrownText([&] { CReplyReader reader(reply); }), kNotFullEnough);
}

TEST(ReplyReaderTest, PayloadLengthIsTheThirdWord) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  04 03 02 81");
    CReplyReader reader(reply);
    EXPECT_EQ(reader.GetPayloadLength(), 0x81020304u);
}

TEST(ReplyReaderTest, SizeAndStatusAreSkippedUnseen) {
    const auto reply = HexBytes("FF FF FF FF  0E 00 00 00  01 00 00 00  61");
    CReplyReader reader(reply);
    EXPECT_EQ(reader.ReadPayload(), "a");
}

TEST(ReplyReaderTest, PayloadIsTheReplysOwnBytes) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  02 00 00 00  61 00");
    const std::string_view payload = CReplyReader(reply).ReadPayload();
    EXPECT_EQ(payload, std::string_view("a\0", 2));
    EXPECT_EQ(static_cast<const void*>(payload.data()), &reply[12]);
}

TEST(ReplyReaderTest, NumbersAreReadLittleEndianOneAfterTheOther) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  01 00 00 00  04 03 02 81  06 85  FF");
    CReplyReader reader(reply);
    EXPECT_EQ(reader.ReadU32(), 0x81020304u);
    EXPECT_EQ(reader.ReadU16(), 0x8506);
    EXPECT_EQ(ThrownText([&] { reader.ReadU16(); }), kNotFullEnough);
    EXPECT_TRUE(reader.HasRemaining(1));
}

TEST(ReplyReaderTest, NumberPastTheEndIsNotFullEnough) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  03 00 00 00  61 62 63");
    CReplyReader reader(reply);
    EXPECT_EQ(ThrownText([&] { reader.ReadU32(); }), kNotFullEnough);
}

TEST(ReplyReaderTest, BytesBehindThePayloadAreIgnored) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  02 00 00 00  61 62 63");
    CReplyReader reader(reply);
    EXPECT_EQ(reader.ReadPayload(), "ab");
}

TEST(ReplyReaderTest, PayloadLongerThanTheReplyIsNotFullEnough) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  03 00 00 00  61 62");
    CReplyReader reader(reply);
    EXPECT_EQ(ThrownText([&] { reader.ReadPayload(); }), kNotFullEnough);
}

TEST(ReplyReaderTest, LargestPayloadLengthIsNotFullEnough) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  FF FF FF FF  61 62");
    CReplyReader reader(reply);
    EXPECT_EQ(ThrownText([&] { reader.ReadPayload(); }), kNotFullEnough);
}

TEST(ReplyReaderTest, EmptyPayloadIsAnEmptyText) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  00 00 00 00");
    CReplyReader reader(reply);
    EXPECT_EQ(reader.ReadPayload(), "");
}

TEST(ReplyReaderTest, MovesCountFromThePayloadsStart) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  04 00 00 00  61 62 63 64");
    CReplyReader reader(reply);
    reader.MoveTo(1);
    EXPECT_EQ(reader.ReadU16(), 0x6362);
    EXPECT_TRUE(reader.HasRemaining(1));
    EXPECT_FALSE(reader.HasRemaining(2));
}

TEST(ReplyReaderTest, MovesBehindTheEndLeaveNothing) {
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  04 00 00 00  61 62 63 64");
    CReplyReader reader(reply);
    for (const std::uint32_t offset : {4u, 5u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
        reader.MoveTo(offset);
        EXPECT_FALSE(reader.HasRemaining(1)) << offset;
    }
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
