#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

#include "kelcomm/ports/AlpcMessages.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Test {

namespace {

namespace Alpc = Connectors::Common::Kelcomm::Alpc;

/// Memory of a message, full of what it held before.
class AlpcMessagesTest : public testing::Test {
  protected:
    AlpcMessagesTest() { std::fill(std::begin(message_), std::end(message_), std::uint8_t{0xEE}); }

    std::vector<unsigned char> Built(std::size_t length) const {
        return {message_, message_ + length};
    }
    /// A message with these lengths and this result and reply length.
    bool Parse(const char* lengths, const char* head = "07 00 00 00  05 00 00 00") {
        const auto bytes = HexBytes(lengths) + std::vector<unsigned char>(20) + HexBytes(head);
        return Alpc::ParseReply(bytes.data(), head_);
    }

    std::uint8_t message_[Alpc::kMaxMessage];
    Alpc::ReplyHead head_{};
};

TEST_F(AlpcMessagesTest, RequestLeavesNothingOfWhatItsMemoryHeldBefore) {
    Alpc::BuildRequest(message_, {3, "abc", 3, 16, false});
    EXPECT_EQ(HexBytes("13 00 2B 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  00 00 00 00  03 00 00 00  10 00 00 00  61 62 63  EE"),
              Built(44));
}

TEST_F(AlpcMessagesTest, PayloadOfOneByteIsInTheMessage) {
    Alpc::BuildRequest(message_, {3, "a", 1, 16, false});
    EXPECT_EQ(HexBytes("11 00 29 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  00 00 00 00  01 00 00 00  10 00 00 00  61  EE"),
              Built(42));
}

TEST_F(AlpcMessagesTest, GrowableMarkIsAWholeWord) {
    Alpc::BuildRequest(message_, {3, nullptr, 0, 0, true});
    EXPECT_EQ(HexBytes("10 00 28 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "03 00 00 00  01 00 00 00  00 00 00 00  00 00 00 00  EE"),
              Built(41));
}

TEST_F(AlpcMessagesTest, ConnectionMessageLeavesNothingOfWhatItsMemoryHeldBefore) {
    std::uint8_t message[40];
    std::fill(std::begin(message), std::end(message), std::uint8_t{0xEE});
    Alpc::BuildConnectionMessage(message);
    EXPECT_EQ(HexBytes("10 00 28 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
                       "4B 65 6C 43 6F 6D 6D 20  02 00 00 00  CF FF 00 00"),
              std::vector<unsigned char>(std::begin(message), std::end(message)));
}

TEST_F(AlpcMessagesTest, ClearedReplyIsMalformedAndAsksForNoRelease) {
    Alpc::ClearReply(message_);
    EXPECT_EQ(std::vector<unsigned char>(32), Built(32));
    EXPECT_FALSE(Alpc::ParseReply(message_, head_));
    EXPECT_EQ(0U, Alpc::MessageType(message_));
}

TEST_F(AlpcMessagesTest, ClearingAReplyLeavesWhatStandsBehindItsHead) {
    Alpc::ClearReply(message_);
    EXPECT_EQ(0, message_[31]);
    EXPECT_EQ(0xEE, message_[32]);
}

TEST_F(AlpcMessagesTest, ReplyTellsItsCodeItsLengthAndTheBytesThatAreThere) {
    ASSERT_TRUE(Parse("0B 00 23 00"));  // data length 11, total 35
    EXPECT_EQ(7U, head_.result);
    EXPECT_EQ(5U, head_.length);
    EXPECT_EQ(3U, head_.inlineBytes);
}

TEST_F(AlpcMessagesTest, ReplyMayBeAsLongAsItsBufferAndNoLonger) {
    EXPECT_TRUE(Parse("D7 FF EF FF"));   // data length 65495, total 65519
    EXPECT_FALSE(Parse("D8 FF F0 FF"));  // one byte more
}

TEST_F(AlpcMessagesTest, ReplyOfEightDataBytesIsTheShortest) {
    EXPECT_TRUE(Parse("08 00 20 00"));
    EXPECT_FALSE(Parse("07 00 1F 00"));
}

TEST_F(AlpcMessagesTest, LengthsThatDisagreeByOneOrByAWholeTurnAreMalformed) {
    EXPECT_FALSE(Parse("08 00 1F 00"));
    EXPECT_FALSE(Parse("08 00 21 00"));
    EXPECT_FALSE(Parse("F0 FF 08 00"));  // data length 65520, whose total would be 65544
}

}  // namespace

}  // namespace Kyr::Test
