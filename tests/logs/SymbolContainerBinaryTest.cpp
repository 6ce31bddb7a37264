#include <gmock/gmock.h>
#include <ios>
#include <vector>

#include "logs/SymbolTime.h"
#include "tests/logs/SymbolFixture.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Common::Logs {
namespace {

using namespace Test;

std::string Bytes(const std::string& hex) {
    const auto bytes = HexBytes(hex);
    return {bytes.begin(), bytes.end()};
}

/// The beginning of a row: 65536 as its count, and as many ids.
std::string ManyIds() {
    std::string bytes("\x00\x00\x01\x00", 4);
    for (int id = 0; id < 65536; ++id) {
        bytes += {static_cast<char>(id & 0xFF), static_cast<char>(id >> 8), 0, 0};
    }
    return bytes;
}

class SymbolContainerBinaryTest : public Test::SymbolFixture {
  protected:
    std::string Written() const {
        std::string out = "old content";
        row_.SerializeToBinary(out);
        EXPECT_EQ(row_.GetBinarySize(), out.size());
        return out;
    }

    void Read(const std::string& hex) { row_.DeserializeFromBinary(Bytes(hex)); }
};

TEST_F(SymbolContainerBinaryTest, EmptyRowIsItsCount) {
    EXPECT_EQ(Written(), Bytes("00 00 00 00"));
}

TEST_F(SymbolContainerBinaryTest, IdsComeFirstThenTagsAndValues) {
    row_.AddInt64(0x102, -2).AddBool(-1, true);
    EXPECT_EQ(Written(), Bytes("02 00 00 00  02 01 00 00  FF FF FF FF"
                               "01 00 00 00  FE FF FF FF FF FF FF FF"
                               "07 00 00 00  01"));
}

TEST_F(SymbolContainerBinaryTest, BlobIsWritten) {
    row_.AddBlob(1, Bytes("00 FF"));
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  08 00 00 00  02 00 00 00  00 FF"));
}

TEST_F(SymbolContainerBinaryTest, StringIsWritten) {
    row_.AddString(1, "abc");
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  03 00 00 00  03 00 00 00  61 62 63"));
}

TEST_F(SymbolContainerBinaryTest, DoubleIsWritten) {
    row_.AddDouble(1, 1.5);
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  02 00 00 00  00 00 00 00 00 00 F8 3F"));
}

TEST_F(SymbolContainerBinaryTest, ResourceIdIsWritten) {
    row_.AddResourceId(1, 0x07100000000005E2);
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  04 00 00 00  E2 05 00 00 00 00 10 07"));
}

TEST_F(SymbolContainerBinaryTest, UuidIsWritten) {
    row_.AddUuidString(1, kUuidText);
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  05 00 00 00"
                               "01 23 45 67 89 AB CD EF 00 11 22 33 44 55 66 77"));
}

// 1970-01-01T00:00:00 is 0x02ED263D83A88000.
TEST_F(SymbolContainerBinaryTest, TimeIsWrittenAsItsTicks) {
    clock_->SetStartTime(0);
    row_.AddCurrentTime(1);
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  06 00 00 00  00 80 A8 83 3D 26 ED 02"));
}

TEST_F(SymbolContainerBinaryTest, FalseIsWritten) {
    row_.AddBool(1, false);
    EXPECT_EQ(Written(), Bytes("01 00 00 00  01 00 00 00  07 00 00 00  00"));
}

TEST_F(SymbolContainerBinaryTest, SizeCountsEveryKind) {
    FillWithAllKinds(row_);
    // 4 + 8 ids + blob 10 + integer 12 + double 12 + string 12 + resource id 12 + time 12 +
    // uuid 20 + bool 5.
    EXPECT_EQ(row_.GetBinarySize(), 4u + 32 + 10 + 12 + 12 + 12 + 12 + 12 + 20 + 5);
}

TEST_F(SymbolContainerBinaryTest, EveryKindIsRead) {
    Read(
        "08 00 00 00"
        "65 00 00 00 66 00 00 00 67 00 00 00 68 00 00 00"
        "69 00 00 00 6A 00 00 00 6B 00 00 00 6C 00 00 00"
        "08 00 00 00  02 00 00 00  00 FF"
        "01 00 00 00  FE FF FF FF FF FF FF FF"
        "02 00 00 00  00 00 00 00 00 00 F8 3F"
        "03 00 00 00  04 00 00 00  74 65 78 74"
        "04 00 00 00  E2 05 00 00 00 00 10 07"
        "06 00 00 00  00 80 A8 83 3D 26 ED 02"
        "05 00 00 00  01 23 45 67 89 AB CD EF 00 11 22 33 44 55 66 77"
        "07 00 00 00  01");
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{101, 102, 103, 104, 105, 106, 107, 108}));
    EXPECT_EQ(row_.GetBlob(101), Bytes("00 FF"));
    EXPECT_EQ(row_.GetInt64(102), -2);
    EXPECT_EQ(row_.GetDouble(103), 1.5);
    EXPECT_EQ(row_.GetString(104), "text");
    EXPECT_EQ(row_.GetResourceId(105), 0x07100000000005E2u);
    EXPECT_EQ(row_.GetUtcTime(106).year(), 1970);
    EXPECT_EQ(row_.GetUuid(107).uuid(), kUuidText);
    EXPECT_TRUE(row_.GetBool(108));
}

TEST_F(SymbolContainerBinaryTest, OnlyOneIsTrue) {
    Read("02 00 00 00  01 00 00 00 02 00 00 00  07 00 00 00 00  07 00 00 00 02");
    EXPECT_FALSE(row_.GetBool(1));
    EXPECT_FALSE(row_.GetBool(2));
}

TEST_F(SymbolContainerBinaryTest, PointerAndLengthAreTakenToo) {
    const std::string data = Bytes("01 00 00 00  01 00 00 00  07 00 00 00  01") + "more";
    row_.DeserializeFromBinary(data.data(), data.size() - 4);
    EXPECT_TRUE(row_.GetBool(1));
}

TEST_F(SymbolContainerBinaryTest, BytesBehindTheLastValueAreIgnored) {
    Read("01 00 00 00  01 00 00 00  07 00 00 00  01  AA BB");
    EXPECT_EQ(row_.GetCount(), 1u);
}

TEST_F(SymbolContainerBinaryTest, SymbolsAlreadyThereAreKept) {
    row_.AddInt64(7, 1);
    Read("01 00 00 00  01 00 00 00  07 00 00 00  01");
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{7, 1}));
}

TEST_F(SymbolContainerBinaryTest, SymbolThatIsAlreadyThereIsRefused) {
    row_.AddInt64(1, 1);
    EXPECT_EQ(Thrown([&] { Read("01 00 00 00  01 00 00 00  07 00 00 00  01"); }),
              "Symbol 1 is already in container");
}

TEST_F(SymbolContainerBinaryTest, LongTextIsShortened) {
    Read("01 00 00 00  0A 00 00 00  03 00 00 00  0B 00 00 00  61 62 63 64 65 66 67 68 69 6A 6B");
    EXPECT_EQ(row_.GetString(10), "abcdefg...");
}

TEST_F(SymbolContainerBinaryTest, TagsOutsideOneToEightAreRefused) {
    const std::string text = "Unimplemented type handler";
    EXPECT_EQ(Thrown([&] { Read("01 00 00 00  01 00 00 00  09 00 00 00  00"); }), text);
    EXPECT_EQ(Thrown([&] { Read("01 00 00 00  01 00 00 00  00 00 00 00  00"); }), text);
    EXPECT_EQ(Thrown([&] { Read("01 00 00 00  01 00 00 00  FF FF FF FF  00"); }), text);
}

TEST_F(SymbolContainerBinaryTest, SymbolsBeforeTheFaultStay) {
    EXPECT_EQ(Thrown([&] {
                  Read("02 00 00 00  01 00 00 00 02 00 00 00  07 00 00 00 01  09 00 00 00 00");
              }),
              "Unimplemented type handler");
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{1}));
}

TEST_F(SymbolContainerBinaryTest, LockedRowFailsAtTheFirstAdd) {
    row_.Lock();
    EXPECT_EQ(Thrown([&] { Read("01 00 00 00  07 00 00 00  07 00 00 00  01"); }),
              "Cannot add symbol 7: container is locked");
    EXPECT_NO_THROW(Read("00 00 00 00"));
}

TEST_F(SymbolContainerBinaryTest, EveryTruncationIsAStreamFailure) {
    FillWithAllKinds(row_);
    const std::string whole = Written();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        CSymbolContainer row;
        EXPECT_THROW(row.DeserializeFromBinary(whole.data(), length), std::ios_base::failure)
            << length;
    }
}

// The standard library adds what it makes of its own error code.
TEST_F(SymbolContainerBinaryTest, TruncationSaysThatTheDataEnded) {
    EXPECT_THAT(ThrownText<std::ios_base::failure>([&] { Read("01 00 00"); }),
                testing::StartsWith("symbol container: unexpected end of data"));
}

TEST_F(SymbolContainerBinaryTest, HugeCountIsAStreamFailure) {
    EXPECT_THROW(Read("FF FF FF FF  01 00 00 00"), std::ios_base::failure);
}

TEST(AllocationWatchTest, LargestAllocationIsSeen) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    const Kyr::Test::CAllocationWatch watch;
    const std::vector<char> bytes(5000);
    EXPECT_GE(watch.Largest(), bytes.size());
}

TEST_F(SymbolContainerBinaryTest, HugeCountAllocatesNothing) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    const Kyr::Test::CAllocationWatch watch;
    EXPECT_THROW(Read("FF FF FF FF  01 00 00 00"), std::ios_base::failure);
    EXPECT_LT(watch.Largest(), 4096u);
}

TEST_F(SymbolContainerBinaryTest, IdsWithoutValuesAllocateNoValues) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    // 65536 ids and the first two bytes of a tag; a value takes more in memory than its id.
    const std::string bytes = ManyIds() + std::string(2, '\0');
    const Kyr::Test::CAllocationWatch watch;
    EXPECT_THROW(row_.DeserializeFromBinary(bytes), std::ios_base::failure);
    EXPECT_LE(watch.Largest(), 2 * bytes.size());
}

TEST_F(SymbolContainerBinaryTest, RoomForValuesFollowsFromTheirBytesAndNotFromTheirCount) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    // 65536 ids, and behind them as many bytes: 13107 values at most, none of which begins so.
    const std::string bytes = ManyIds() + std::string(65536, '\0');
    const Kyr::Test::CAllocationWatch watch;
    EXPECT_THROW(row_.DeserializeFromBinary(bytes), std::runtime_error);
    EXPECT_LE(watch.Largest(), 2 * bytes.size());
}

TEST_F(SymbolContainerBinaryTest, HugeLengthAllocatesNothing) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    const Kyr::Test::CAllocationWatch watch;
    EXPECT_THROW(Read("01 00 00 00  01 00 00 00  08 00 00 00  FF FF FF FF  00"),
                 std::ios_base::failure);
    EXPECT_LT(watch.Largest(), 4096u);
}

TEST_F(SymbolContainerBinaryTest, HugeLengthIsAStreamFailure) {
    EXPECT_THROW(Read("01 00 00 00  01 00 00 00  08 00 00 00  FF FF FF FF  00"),
                 std::ios_base::failure);
    EXPECT_THROW(Read("01 00 00 00  01 00 00 00  03 00 00 00  FF FF FF 7F  00"),
                 std::ios_base::failure);
}

TEST_F(SymbolContainerBinaryTest, TimeWithoutACalendarDateSurvivesTheRoundTrip) {
    const std::string hex = "01 00 00 00  01 00 00 00  06 00 00 00  FE FF FF FF FF FF FF 7F";
    Read(hex);
    EXPECT_TRUE(row_.GetTime(1).is_not_a_date_time());
    EXPECT_THROW(row_.GetUtcTime(1), std::out_of_range);
    EXPECT_EQ(Written(), Bytes(hex));
}

TEST_F(SymbolContainerBinaryTest, EqualRowsInAnotherOrderHaveOtherBytes) {
    CSymbolContainer other;
    row_.AddBool(1, true).AddBool(2, false);
    other.AddBool(2, false).AddBool(1, true);
    std::string otherBytes;
    other.SerializeToBinary(otherBytes);
    EXPECT_TRUE(row_.Equals(other));
    EXPECT_NE(Written(), otherBytes);
}

}  // namespace
}  // namespace Kyr::Common::Logs
