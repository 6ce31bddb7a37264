#include "kelcomm/messages/ReplyReader.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Test::HexBytes;
using Test::kNotFullEnough;
using Test::TextThrownBy;

TEST(ReplyReaderTest, ElevenBytesAreNotFullEnough) {
    EXPECT_EQ(TextThrownBy([] { CReplyReader(HexBytes("0C 00 00 00 00 00 00 00 00 00 00")); }),
              kNotFullEnough);
}

TEST(ReplyReaderTest, EmptyReplyIsNotFullEnough) {
    EXPECT_EQ(TextThrownBy([] { CReplyReader({}); }), kNotFullEnough);
}

TEST(ReplyReaderTest, PayloadLengthIsTheThirdWord) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  04 03 02 81"));
    EXPECT_EQ(reader.GetPayloadLength(), 0x81020304u);
}

TEST(ReplyReaderTest, SizeAndStatusAreSkippedUnseen) {
    CReplyReader reader(HexBytes("FF FF FF FF  0E 00 00 00  01 00 00 00  61"));
    EXPECT_EQ(reader.ReadPayload(), "a");
}

TEST(ReplyReaderTest, BytesBehindThePayloadAreIgnored) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  02 00 00 00  61 62 63"));
    EXPECT_EQ(reader.ReadPayload(), "ab");
}

TEST(ReplyReaderTest, PayloadLongerThanTheReplyIsNotFullEnough) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  03 00 00 00  61 62"));
    EXPECT_EQ(TextThrownBy([&] { reader.ReadPayload(); }), kNotFullEnough);
}

TEST(ReplyReaderTest, LargestPayloadLengthIsNotFullEnough) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  FF FF FF FF  61 62"));
    EXPECT_EQ(TextThrownBy([&] { reader.ReadPayload(); }), kNotFullEnough);
}

TEST(ReplyReaderTest, EmptyPayloadIsAnEmptyText) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  00 00 00 00"));
    EXPECT_EQ(reader.ReadPayload(), "");
}

TEST(ReplyReaderTest, MovesCountFromThePayloadsStart) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  04 00 00 00  61 62 63 64"));
    reader.MoveTo(1);
    EXPECT_EQ(reader.ReadU16(), 0x6362);
    EXPECT_TRUE(reader.HasRemaining(1));
    EXPECT_FALSE(reader.HasRemaining(2));
}

TEST(ReplyReaderTest, MovesBehindTheEndLeaveNothing) {
    CReplyReader reader(HexBytes("0C 00 00 00  00 00 00 00  04 00 00 00  61 62 63 64"));
    for (const std::uint32_t offset : {4u, 5u, 0xFFFFFFF4u, 0xFFFFFFFFu}) {
        reader.MoveTo(offset);
        EXPECT_FALSE(reader.HasRemaining(1)) << offset;
    }
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
