#include "kelcomm/messages/SendAgentUUIDRequest.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Test::BytesAt;
using Test::HexBytes;

TEST(SendAgentUUIDRequestTest, TwoRecordsFollowTheHeader) {
    EXPECT_EQ(CSendAgentUUIDRequest("ab").Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 9A 00 00 00"  // header
                       "04 01 00 00 04 00 00 00 03 00 00 00"  // tag 0x104: the constant 3
                       "02 00 10 00 03 00 00 00 61 62 00"));  // tag 0x100002: the text and a zero
}

TEST(SendAgentUUIDRequestTest, UuidOf36CharactersGives69Bytes) {
    const auto bytes = CSendAgentUUIDRequest("6f9619ff-8b86-4d01-b42d-00cf4fc964ff").Serialize();
    ASSERT_EQ(bytes.size(), 69u);
    EXPECT_EQ(bytes[28], 37);  // the second record's length
    EXPECT_EQ(bytes.back(), 0);
}

TEST(SendAgentUUIDRequestTest, EmptyTextIsOneZero) {
    const auto bytes = CSendAgentUUIDRequest("").Serialize();
    EXPECT_EQ(bytes.size(), 33u);
    EXPECT_EQ(BytesAt(bytes, 24, 9), HexBytes("02 00 10 00 01 00 00 00 00"));
}

TEST(SendAgentUUIDRequestTest, TextIsCutAtItsFirstZero) {
    EXPECT_EQ(CSendAgentUUIDRequest(std::string("ab\0cd", 5)).Serialize(),
              CSendAgentUUIDRequest("ab").Serialize());
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
