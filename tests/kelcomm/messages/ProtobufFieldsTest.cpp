#include <gtest/gtest.h>

#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/ProtobufFields.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

bool Ends(const std::string& hex) {
    const auto bytes = Kyr::Test::HexBytes(hex);
    return EndsEarly({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

TEST(ProtobufFieldsTest, WholeFieldsDoNotEndEarly) {
    EXPECT_FALSE(Ends(""));
    // "a", the number 300, four bytes, eight bytes, a field of number 16, nothing.
    EXPECT_FALSE(
        Ends("0A 01 61  10 AC 02  1D 01 02 03 04  21 01 02 03 04 05 06 07 08"
             "82 01 00  0A 00"));
}

TEST(ProtobufFieldsTest, FieldWithoutItsLastByteEndsEarly) {
    EXPECT_TRUE(Ends("0A 02 61"));
    EXPECT_TRUE(Ends("10 AC"));
    EXPECT_TRUE(Ends("1D 01 02 03"));
    EXPECT_TRUE(Ends("21 01 02 03 04 05 06 07"));
    EXPECT_TRUE(Ends("0A 01 61  0A 02 61"));
}

TEST(ProtobufFieldsTest, NumberOfTenBytesIsWhole) {
    EXPECT_TRUE(Ends("10 FF FF FF FF FF FF FF FF FF 01  0A"));
}

TEST(ProtobufFieldsTest, FieldThatIsJustBegunEndsEarly) {
    EXPECT_TRUE(Ends("0A"));
    EXPECT_TRUE(Ends("0A 80"));
    EXPECT_TRUE(Ends("10"));
    EXPECT_TRUE(Ends("82"));
}

TEST(ProtobufFieldsTest, BytesThatNothingMakesWholeDoNotEndEarly) {
    EXPECT_FALSE(Ends("07"));
    EXPECT_FALSE(Ends("06"));
    EXPECT_FALSE(Ends("FF"));
    EXPECT_FALSE(Ends("00"));                                // there is no field 0
    EXPECT_FALSE(Ends("82 80 80 80 10"));                    // nor one of more than 32 bits
    EXPECT_FALSE(Ends("10 FF FF FF FF FF FF FF FF FF FF"));  // a number without an end
    EXPECT_FALSE(Ends("0A FF FF FF FF 0F  61"));             // 2^32 - 1 bytes
    EXPECT_FALSE(Ends("0A 80 80 80 80 08  61"));             // 2^31
    EXPECT_TRUE(Ends("0A FF FF FF FF 07  61"));              // one less
}

TEST(ProtobufFieldsTest, DamageBeforeTheEndIsNoEarlyEnd) {
    EXPECT_FALSE(Ends("0F  0A 05 61"));
}

TEST(ProtobufFieldsTest, InsideOfAFieldIsNotLookedAt) {
    EXPECT_FALSE(Ends("0A 02 0A 05"));
}

TEST(ProtobufFieldsTest, GroupWithoutItsEndEndsEarly) {
    EXPECT_TRUE(Ends("0B"));
    EXPECT_TRUE(Ends("0B 10 01"));
    EXPECT_TRUE(Ends("0B 13 14"));
    EXPECT_FALSE(Ends("0B 13 14 0C"));
}

TEST(ProtobufFieldsTest, EndOfAGroupThatHasNotBegunIsNoEarlyEnd) {
    EXPECT_FALSE(Ends("0C"));
    EXPECT_FALSE(Ends("0C 0A 05"));
}

TEST(ProtobufFieldsTest, EndOfAnotherGroupIsNoEarlyEnd) {
    EXPECT_FALSE(Ends("0B 14"));
    EXPECT_FALSE(Ends("0B 14 0A 05"));
    EXPECT_FALSE(Ends("0B 13 0C"));
}

/// So many groups, one in the other, none of them ended.
std::string Groups(int depth) {
    std::string hex;
    for (int i = 0; i < depth; ++i) {
        hex += "0B";
    }
    return hex;
}

TEST(ProtobufFieldsTest, GroupsDeeperThanTheRuntimeReadsAreNoEarlyEnd) {
    EXPECT_TRUE(Ends(Groups(100)));
    EXPECT_FALSE(Ends(Groups(101)));
}

/// How many bytes of these the first `limit` fields are.
std::size_t First(const std::string& hex, Records records, std::size_t limit) {
    const auto bytes = Kyr::Test::HexBytes(hex);
    return FirstFields({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, records, limit)
        .size();
}

TEST(ProtobufFieldsTest, FieldsBeyondTheLimitAreLeftOut) {
    constexpr char kFour[] = "0A 01 61  10 01  0A 00  1A 02 61 62";
    EXPECT_EQ(First(kFour, Records::kTexts, 4), 11u);
    EXPECT_EQ(First(kFour, Records::kTexts, 3), 7u);
    EXPECT_EQ(First(kFour, Records::kTexts, 2), 5u);
    EXPECT_EQ(First(kFour, Records::kTexts, 0), 0u);
    EXPECT_EQ(First("", Records::kTexts, 0), 0u);
}

TEST(ProtobufFieldsTest, FieldsOfRecordsThatAreMessagesCount) {
    // A record with two fields, one with none, a field that is no record.
    constexpr char kRecords[] = "0A 04 08 03 10 01  0A 00  1A 02 08 03";
    EXPECT_EQ(First(kRecords, Records::kMessages, 5), 12u);
    EXPECT_EQ(First(kRecords, Records::kMessages, 4), 8u);
    EXPECT_EQ(First(kRecords, Records::kMessages, 3), 6u);
    EXPECT_EQ(First(kRecords, Records::kMessages, 2), 0u);
    EXPECT_EQ(First(kRecords, Records::kTexts, 2), 8u);
}

TEST(ProtobufFieldsTest, GroupThatEndsAsAnotherStaysWithThePayload) {
    EXPECT_EQ(First("0B 14  10 01  10 01", Records::kTexts, 3), 6u);
    EXPECT_EQ(First("0B 0C  10 01  10 01", Records::kTexts, 3), 4u);
}

TEST(ProtobufFieldsTest, TagHasItsLowest32BitsAsForTheParser) {
    // Twice field 1 in five bytes, with one bit above the 32, then once in one.
    constexpr char kLong[] = "8A 80 80 80 10 00  8A 80 80 80 10 02 08 03  0A 00";
    const auto bytes = Kyr::Test::HexBytes(kLong);
    GetRemediationActionsResponse parsed;
    ASSERT_TRUE(parsed.ParseFromArray(bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_EQ(parsed.actions_size(), 3);
    EXPECT_EQ(First(kLong, Records::kMessages, 4), 16u);
    EXPECT_EQ(First(kLong, Records::kMessages, 3), 14u);
    EXPECT_EQ(First(kLong, Records::kMessages, 2), 6u);
    // In six bytes it is none.
    EXPECT_FALSE(Ends("8A 80 80 80 80 00 00  0A"));
}

TEST(ProtobufFieldsTest, GroupIsNotDivided) {
    constexpr char kGroup[] = "0A 00  1B 20 01 1C  0A 00";
    EXPECT_EQ(First(kGroup, Records::kTexts, 5), 8u);
    EXPECT_EQ(First(kGroup, Records::kTexts, 4), 6u);
    EXPECT_EQ(First(kGroup, Records::kTexts, 3), 2u);
}

TEST(ProtobufFieldsTest, PayloadThatGoesWrongBeforeTheLimitIsLeftAsItIs) {
    EXPECT_EQ(First("0A 00  0A 05 61", Records::kTexts, 2), 5u);
    EXPECT_EQ(First("0A 00  07  0A 00", Records::kTexts, 2), 5u);
    EXPECT_EQ(First("0A 00  07  0A 00", Records::kTexts, 0), 0u);
    EXPECT_EQ(First("0A 02 08 83  0A 00", Records::kMessages, 2), 6u);
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
