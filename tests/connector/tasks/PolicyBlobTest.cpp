#include <gtest/gtest.h>

#include "connector/tasks/PolicyBlob.h"
#include "host/proto/common.pb.h"
#include "tests/connector/tasks/SmallPolicy.h"
#include "tests/support/host/PackedPolicy.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::DataDefinition::Common::CompressedBlob;
using Kyr::Test::BlobOf;
using Kyr::Test::Packed;

void ExpectRead(const std::string& blob, const std::string& text, const std::string& damage) {
    const PolicyText policy = ReadPolicyBlob(blob);
    ASSERT_TRUE(policy.text);
    EXPECT_EQ(*policy.text, text);
    EXPECT_EQ(policy.damage, damage);
}

TEST(PolicyBlobTest, TextIsReadOutOfItsTwoWrappings) {
    ExpectRead(SmallPolicyBlob(), "abc", "");
}

TEST(PolicyBlobTest, TextMayHoldAnyByte) {
    const std::string text("\0\xFF\xC3(\0", 5);
    ExpectRead(Packed(text), text, "");
}

TEST(PolicyBlobTest, TextThatCompressesToTheUtmostIsRead) {
    ExpectRead(Packed(std::string(std::size_t{1} << 20, 'x')),
               std::string(std::size_t{1} << 20, 'x'), "");
}

TEST(PolicyBlobTest, BytesBehindTheStreamAreNotRead) {
    ExpectRead(BlobOf(5, SmallPolicyStream() + "surplus"), "abc", "");
}

TEST(PolicyBlobTest, StatedLengthOfZeroGivesNothing) {
    ExpectRead(BlobOf(0, SmallPolicyStream()), "", "does not inflate to 0 bytes (zlib -3)");
}

TEST(PolicyBlobTest, StatedLengthThatIsMissingGivesNothing) {
    CompressedBlob blob;
    blob.set_compressed_data(SmallPolicyStream());
    ExpectRead(blob.SerializeAsString(), "", "does not inflate to 0 bytes (zlib -3)");
}

// How much of a text comes out of content that ends in its middle is the protobuf library's affair.

TEST(PolicyBlobTest, StatedLengthThatIsTooSmallCutsTheContent) {
    EXPECT_EQ(ReadPolicyBlob(BlobOf(4, SmallPolicyStream())).damage,
              "does not inflate to 4 bytes (zlib -5), content does not parse");
}

TEST(PolicyBlobTest, TruncatedStreamGoesOnWithZeros) {
    // A stored block of five bytes that ends after two of them; the zeros fill it up, and then
    // stand where its checksum should.
    const PolicyText policy = ReadPolicyBlob(BlobOf(5, SmallPolicyStream().substr(0, 9)));
    EXPECT_EQ(policy.text, std::string(3, '\0'));
    EXPECT_EQ(policy.damage.rfind("does not inflate to 5 bytes", 0), 0u) << policy.damage;
}

TEST(PolicyBlobTest, StatedLengthThatIsTooLargeStillGivesTheText) {
    ExpectRead(BlobOf(6, SmallPolicyStream()), "abc",
               "5 bytes instead of 6, content does not parse");
}

TEST(PolicyBlobTest, HugeStatedLengthStillGivesTheText) {
    ExpectRead(BlobOf(std::uint64_t{1} << 31, SmallPolicyStream()), "abc",
               "5 bytes instead of 2147483648, content does not parse");
    ExpectRead(BlobOf(std::uint64_t{1} << 63, SmallPolicyStream()), "abc",
               "5 bytes instead of 9223372036854775808, content does not parse");
    ExpectRead(BlobOf(UINT64_MAX, SmallPolicyStream()), "abc",
               "5 bytes instead of 18446744073709551615, content does not parse");
}

TEST(PolicyBlobTest, RoomFollowsFromTheBytesOfTheBlob) {
    // Twenty-one bytes, ten of them a length that is the largest there is: 21 times 1032.
    ExpectRead(BlobOf(UINT64_MAX, "not zlib"), "",
               "does not inflate to 21672 bytes (zlib -3), content does not parse");
}

TEST(PolicyBlobTest, StatedLengthAboveTheLargestStillGivesASmallText) {
    // As many bytes behind the stream as would hold the largest policy.
    ExpectRead(BlobOf(kLargestPolicy + 1, SmallPolicyStream() + std::string(65537, 'x')), "abc",
               "5 bytes instead of 67108865, content does not parse");
}

TEST(PolicyBlobTest, BytesThatAreNoStreamGiveNothing) {
    ExpectRead(BlobOf(5, "not zlib"), "",
               "does not inflate to 5 bytes (zlib -3), content does not parse");
}

TEST(PolicyBlobTest, WrongChecksumStillGivesTheText) {
    std::string stream = SmallPolicyStream();
    stream.back() = '\x35';
    ExpectRead(BlobOf(5, stream), "abc", "does not inflate to 5 bytes (zlib -3)");
}

TEST(PolicyBlobTest, ContentThatDoesNotParseGivesNothing) {
    // A stored block with five bytes of the wire type 7, which does not exist.
    const std::string stream("\x78\x01\x01\x05\x00\xFA\xFF\x0F\x0F\x0F\x0F\x0F\x00\xE6\x00\x4C",
                             16);
    ExpectRead(BlobOf(5, stream), "", "content does not parse");
}

TEST(PolicyBlobTest, ContentWithoutTextGivesNothing) {
    // An empty stored block.
    ExpectRead(BlobOf(0, std::string("\x78\x01\x01\x00\x00\xFF\xFF\x00\x00\x00\x01", 11)), "", "");
}

TEST(PolicyBlobTest, BytesThatAreNoBlobGiveNothing) {
    const PolicyText policy = ReadPolicyBlob("\x0F");
    EXPECT_EQ(policy.text, "");
    EXPECT_EQ(policy.damage.find("not a compressed blob, "), 0u) << policy.damage;
}

TEST(PolicyBlobTest, NoBytesGiveNothing) {
    const PolicyText policy = ReadPolicyBlob("");
    EXPECT_EQ(policy.text, "");
    EXPECT_NE(policy.damage, "");
}

TEST(PolicyBlobTest, LargestPolicyIsRead) {
    // Its content is the tag, a length of four bytes and the text.
    const std::string text(kLargestPolicy - 5, 'x');
    const PolicyText policy = ReadPolicyBlob(Packed(text));
    EXPECT_TRUE(policy.text == text);
    EXPECT_EQ(policy.damage, "");
}

TEST(PolicyBlobTest, PolicyThatIsTooLargeIsAbsent) {
    const PolicyText policy = ReadPolicyBlob(Packed(std::string(kLargestPolicy - 4, 'x')));
    EXPECT_FALSE(policy.text);
    EXPECT_EQ(policy.damage, "");
}

TEST(PolicyBlobTest, DamagedBlobOfATooLargePolicyIsStillTold) {
    const PolicyText policy = ReadPolicyBlob(Packed(std::string(kLargestPolicy - 4, 'x')) + "\x0F");
    EXPECT_FALSE(policy.text);
    EXPECT_EQ(policy.damage, "not a compressed blob");
}

TEST(PolicyBlobTest, PolicyThatLiesToBeTheLargestIsCut) {
    CompressedBlob blob;
    ASSERT_TRUE(blob.ParseFromString(Packed(std::string(kLargestPolicy, 'x'))));
    const PolicyText policy = ReadPolicyBlob(BlobOf(kLargestPolicy, blob.compressed_data()));
    EXPECT_TRUE(policy.text);
    EXPECT_EQ(policy.damage,
              "does not inflate to 67108864 bytes (zlib -5), content does not parse");
}

TEST(PolicyBlobTest, PolicyThatIsTooLargeAndLiesAboutItIsCut) {
    // Stated to be small: a length that is too small like any other.
    CompressedBlob blob;
    ASSERT_TRUE(blob.ParseFromString(Packed(std::string(kLargestPolicy, 'x'))));
    EXPECT_EQ(ReadPolicyBlob(BlobOf(5, blob.compressed_data())).damage,
              "does not inflate to 5 bytes (zlib -5), content does not parse");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
