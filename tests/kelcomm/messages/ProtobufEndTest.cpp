#include <gtest/gtest.h>

#include "kelcomm/messages/ProtobufEnd.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

bool Ends(const std::string& hex) {
    const auto bytes = Kyr::Test::HexBytes(hex);
    return EndsEarly({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

TEST(ProtobufEndTest, WholeFieldsDoNotEndEarly) {
    EXPECT_FALSE(Ends(""));
    // "a", the number 300, four bytes, eight bytes, a field of number 16, nothing.
    EXPECT_FALSE(
        Ends("0A 01 61  10 AC 02  1D 01 02 03 04  21 01 02 03 04 05 06 07 08"
             "82 01 00  0A 00"));
}

TEST(ProtobufEndTest, FieldWithoutItsLastByteEndsEarly) {
    EXPECT_TRUE(Ends("0A 02 61"));
    EXPECT_TRUE(Ends("10 AC"));
    EXPECT_TRUE(Ends("1D 01 02 03"));
    EXPECT_TRUE(Ends("21 01 02 03 04 05 06 07"));
    EXPECT_TRUE(Ends("0A 01 61  0A 02 61"));
}

TEST(ProtobufEndTest, NumberOfTenBytesIsWhole) {
    EXPECT_TRUE(Ends("10 FF FF FF FF FF FF FF FF FF 01  0A"));
}

TEST(ProtobufEndTest, FieldThatIsJustBegunEndsEarly) {
    EXPECT_TRUE(Ends("0A"));
    EXPECT_TRUE(Ends("0A 80"));
    EXPECT_TRUE(Ends("10"));
    EXPECT_TRUE(Ends("82"));
}

TEST(ProtobufEndTest, BytesThatNothingMakesWholeDoNotEndEarly) {
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

TEST(ProtobufEndTest, DamageBeforeTheEndIsNoEarlyEnd) {
    EXPECT_FALSE(Ends("0F  0A 05 61"));
}

TEST(ProtobufEndTest, InsideOfAFieldIsNotLookedAt) {
    EXPECT_FALSE(Ends("0A 02 0A 05"));
}

TEST(ProtobufEndTest, GroupWithoutItsEndEndsEarly) {
    EXPECT_TRUE(Ends("0B"));
    EXPECT_TRUE(Ends("0B 10 01"));
    EXPECT_TRUE(Ends("0B 13 14"));
    EXPECT_FALSE(Ends("0B 13 14 0C"));
}

TEST(ProtobufEndTest, EndOfAGroupThatHasNotBegunIsNoEarlyEnd) {
    EXPECT_FALSE(Ends("0C"));
    EXPECT_FALSE(Ends("0C 0A 05"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
