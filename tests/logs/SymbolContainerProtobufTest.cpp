#include "tests/logs/SymbolFixture.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Common::Logs {
namespace {

using DataDefinition::Logs::LogSymbolContainer;
using Test::HexBytes;
using Test::IdsOf;

std::string Bytes(const std::string& hex) {
    const auto bytes = HexBytes(hex);
    return {bytes.begin(), bytes.end()};
}

// Field 1 of the container: a symbol. Field 1 of the symbol: its number. Field 2: its value, in
// which field 1 is a bool and field 2 an integer.
constexpr char kInteger7[] = "0A 06  08 07  12 02 10 01";
constexpr char kTrue8[] = "0A 06  08 08  12 02 08 01";

class SymbolContainerProtobufTest : public Test::SymbolFixture {
  protected:
    std::string Written() const {
        std::string out = "old content";
        row_.SerializeToString(out);
        return out;
    }
};

TEST_F(SymbolContainerProtobufTest, SymbolsAreWrittenInOrder) {
    row_.AddBool(8, true).AddInt64(7, 1);
    EXPECT_EQ(Written(), Bytes(kTrue8) + Bytes(kInteger7));
}

TEST_F(SymbolContainerProtobufTest, WritingTellsWhetherThereIsOutput) {
    std::string out = "old content";
    EXPECT_FALSE(row_.SerializeToString(out));
    EXPECT_EQ(out, "");
    row_.AddInt64(7, 1);
    EXPECT_TRUE(row_.SerializeToString(out));
}

TEST_F(SymbolContainerProtobufTest, SizeIsThatOfTheWrittenForm) {
    EXPECT_EQ(row_.GetProtobufSize(), 0u);
    row_.AddInt64(7, 1);
    EXPECT_EQ(row_.GetProtobufSize(), 8u);
    FillWithAllKinds(row_);
    EXPECT_EQ(row_.GetProtobufSize(), Written().size());
}

TEST_F(SymbolContainerProtobufTest, MessageIsANewContainerOfTheLibrary) {
    FillWithAllKinds(row_);
    const auto message = row_.GetProtobuf();
    const auto& container = dynamic_cast<const LogSymbolContainer&>(*message);
    ASSERT_EQ(container.symbols_size(), 8);
    EXPECT_EQ(container.symbols(3).symbol_type(), 104);
    EXPECT_EQ(container.symbols(3).symbol_data().ShortDebugString(), R"(val_string: "text")");
    EXPECT_NE(row_.GetProtobuf(), message);
}

TEST_F(SymbolContainerProtobufTest, EveryKindComesBack) {
    FillWithAllKinds(row_);
    CSymbolContainer back;
    EXPECT_TRUE(back.DeserializeFromString(Written()));
    EXPECT_EQ(IdsOf(back), IdsOf(row_));
    EXPECT_TRUE(back.Equals(row_));
}

TEST_F(SymbolContainerProtobufTest, SymbolsAlreadyThereAreKept) {
    row_.AddBool(1, true);
    EXPECT_TRUE(row_.DeserializeFromString(Bytes(kInteger7)));
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{1, 7}));
}

TEST_F(SymbolContainerProtobufTest, SymbolThatIsAlreadyThereIsRefused) {
    row_.AddBool(7, true);
    EXPECT_EQ(Thrown([&] { row_.DeserializeFromString(Bytes(kInteger7)); }),
              "Symbol 7 is already in container");
    EXPECT_TRUE(row_.GetBool(7));
}

TEST_F(SymbolContainerProtobufTest, LockedRowRefusesUpFront) {
    row_.Lock();
    const std::string text = "Failed to deserialize symbols: container is locked";
    EXPECT_EQ(Thrown([&] { row_.DeserializeFromString(""); }), text);
    EXPECT_EQ(Thrown([&] { row_.DeserializeFromString(Bytes(kInteger7)); }), text);
}

TEST_F(SymbolContainerProtobufTest, SymbolsBeforeAFaultAreTaken) {
    EXPECT_FALSE(row_.DeserializeFromString(Bytes(kInteger7) + Bytes("0A 7F")));
    EXPECT_EQ(row_.GetInt64(7), 1);
}

TEST_F(SymbolContainerProtobufTest, IncompleteSymbolIsAFaultAndTaken) {
    // A symbol without its number, which then is 0.
    EXPECT_FALSE(row_.DeserializeFromString(Bytes("0A 04  12 02 10 01")));
    EXPECT_EQ(row_.GetInt64(0), 1);
}

TEST_F(SymbolContainerProtobufTest, SymbolWithoutAValueAddsNothing) {
    EXPECT_TRUE(row_.DeserializeFromString(Bytes("0A 04  08 07  12 00")));
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerProtobufTest, UninitializedTimeIsRefused) {
    EXPECT_EQ(Thrown([&] { row_.DeserializeFromString(Bytes("0A 08  08 07  12 04 32 02 08 01")); }),
              "Symbol 7 value is not fully initialized");
}

TEST_F(SymbolContainerProtobufTest, EmptyInputIsAnEmptyRow) {
    EXPECT_TRUE(row_.DeserializeFromString(""));
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerProtobufTest, LongTextIsShortened) {
    EXPECT_TRUE(row_.DeserializeFromString(Bytes("0A 11  08 0A  12 0D 2A 0B") + "abcdefghijk"));
    EXPECT_EQ(row_.GetString(10), "abcdefg...");
}

}  // namespace
}  // namespace Kyr::Common::Logs
