#include <gmock/gmock.h>

#include "probe/decode/Protobuf.h"
#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kOfAnotherKind[] = " !not of the kind that it must be: not read";

Lines Message(const std::string& hex) {
    Layout layout;
    const std::string bytes = FromHexText(hex);
    CFieldReader reader(bytes, layout);
    DecodeProtobuf(reader, {{1, "number", ProtobufKind::kNumber},
                            {2, "text", ProtobufKind::kText},
                            {3, "bytes", ProtobufKind::kBytes},
                            {4, "message", ProtobufKind::kMessage}});
    return LinesOf(layout);
}

TEST(ProtobufTest, FieldsOfEachKindAreNamed) {
    EXPECT_THAT(Message("089601 12026162 1a02ff00 22020805"),
                ElementsAre("0+3 number: 150 (0x96)", "3+4 text: \"ab\"", "7+4 bytes: ff00",
                            "11+4 message: 0805"));
    EXPECT_THAT(Message(""), IsEmpty());
}

TEST(ProtobufTest, NumbersHaveUpTo64Bits) {
    EXPECT_THAT(Message("087f 088001"),
                ElementsAre("0+2 number: 127 (0x7f)", "2+3 number: 128 (0x80)"));
    EXPECT_THAT(Message("08ffffffffffffffffff01"),
                ElementsAre("0+11 number: 18446744073709551615 (0xffffffffffffffff)"));
}

TEST(ProtobufTest, FieldsWithoutANameAreShownAndAreNotWrong) {
    EXPECT_THAT(Message("2805 29 0102030405060708 2d 01020304 2a0161"),
                ElementsAre("0+2 field 5: 5", "2+9 field 5: 0102030405060708",
                            "11+5 field 5: 01020304", "16+3 field 5: 61"));
    EXPECT_THAT(Message("820101ff"), ElementsAre("0+4 field 16: ff"));
}

TEST(ProtobufTest, FieldOfAnotherKindThanItsOwnIsBlamed) {
    EXPECT_THAT(Message("0a0161"), ElementsAre(std::string("0+3 number: 61") + kOfAnotherKind));
    EXPECT_THAT(Message("1005 1806 2007"),
                ElementsAre(std::string("0+2 text: 5") + kOfAnotherKind,
                            std::string("2+2 bytes: 6") + kOfAnotherKind,
                            std::string("4+2 message: 7") + kOfAnotherKind));
    EXPECT_THAT(Message("09 0102030405060708 15 01020304"),
                ElementsAre(std::string("0+9 number: 0102030405060708") + kOfAnotherKind,
                            std::string("9+5 text: 01020304") + kOfAnotherKind));
}

TEST(ProtobufTest, GroupsEndTheReading) {
    EXPECT_THAT(
        Message("2805 0b 0805"),
        ElementsAre("0+2 field 5: 5", "2+1 number:  !a group, which the product does not write"));
    EXPECT_THAT(Message("0c 0805"),
                ElementsAre("0+1 number:  !a group, which the product does not write"));
}

TEST(ProtobufTest, KindsThatDoNotExistEndTheReading) {
    EXPECT_THAT(Message("2805 0e 0805"),
                ElementsAre("0+2 field 5: 5", "2+1 number:  !a kind of value that does not exist"));
    EXPECT_THAT(Message("0f 0805"),
                ElementsAre("0+1 number:  !a kind of value that does not exist"));
}

TEST(ProtobufTest, MessageMayEndAnywhere) {
    EXPECT_THAT(Message("80"), ElementsAre("0+1 tag: 80 !ends early: 1 of 2 bytes are there"));
    EXPECT_THAT(Message("0805 08"),
                ElementsAre("0+2 number: 5", "3+0 number:  !ends early: 0 of 1 bytes are there"));
    EXPECT_THAT(Message("0880"), ElementsAre("1+1 number: 80 !ends early: 1 of 2 bytes are there"));
    EXPECT_THAT(Message("12"), ElementsAre("1+0 text:  !ends early: 0 of 1 bytes are there"));
    EXPECT_THAT(Message("120361"), ElementsAre("2+1 text: 61 !ends early: 1 of 3 bytes are there"));
    EXPECT_THAT(Message("2901"),
                ElementsAre("1+1 field 5: 01 !ends early: 1 of 8 bytes are there"));
    EXPECT_THAT(Message("2d01"),
                ElementsAre("1+1 field 5: 01 !ends early: 1 of 4 bytes are there"));
}

TEST(ProtobufTest, NumberHasNoMoreThanTenBytes) {
    EXPECT_THAT(Message("08 808080808080808080"),
                ElementsAre("1+9 number: 808080808080808080 !ends early: 9 of 10 bytes are there"));
    EXPECT_THAT(Message("08 80808080808080808080"),
                ElementsAre("1+10 number: 80808080808080808080 !a number of more than ten bytes"));
    EXPECT_THAT(Message("80808080808080808080 01 0805"),
                ElementsAre("0+10 tag: 80808080808080808080 !a number of more than ten bytes"));
    EXPECT_THAT(Message("08 80808080808080808080 0805"),
                ElementsAre("1+10 number: 80808080808080808080 !a number of more than ten bytes"));
}

}  // namespace
}  // namespace Kyr::Probe
