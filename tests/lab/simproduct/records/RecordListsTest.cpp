#include <gmock/gmock.h>

#include "lab/simproduct/records/RecordLists.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class RecordListsTest : public ::testing::Test {
  protected:
    CRecordLists lists_;
};

TEST_F(RecordListsTest, RecordsAreNumberedFromOneInEachList) {
    std::vector<std::uint64_t> numbers;
    const auto note = [&](std::uint64_t number) {
        numbers.push_back(number);
        return ProductRecord();
    };
    EXPECT_EQ(1u, lists_.Append(RecordKind::kIndicator, note));
    EXPECT_EQ(2u, lists_.Append(RecordKind::kIndicator, note));
    EXPECT_EQ(1u, lists_.Append(RecordKind::kTelemetry, note));
    EXPECT_THAT(numbers, ElementsAre(1, 2, 1));
    EXPECT_EQ(2u, lists_.Count(RecordKind::kIndicator));
}

TEST_F(RecordListsTest, BatchBeginsBehindTheOffsetAndEndsAtALimit) {
    const struct {
        const char* name;
        BatchLimit limit;
        std::uint64_t offset;
        std::size_t records;
        const char* payload;
    } kRows[] = {
        {"all", {1000, 1000}, 0, 3, "0A 01 61 0A 02 62 62 0A 01 63"},
        {"behind two", {1000, 1000}, 2, 1, "0A 01 63"},
        {"at the end", {1000, 1000}, 3, 0, ""},
        {"beyond the end", {1000, 1000}, 0xFFFFFFFFFFFFFFFF, 0, ""},
        {"limit of records", {2, 1000}, 0, 2, "0A 01 61 0A 02 62 62"},
        {"limit of records, behind one", {2, 1000}, 1, 2, "0A 02 62 62 0A 01 63"},
        {"limit of bytes", {1000, 3}, 0, 2, "0A 01 61 0A 02 62 62"},
        {"record larger than the limit comes alone", {1000, 1}, 1, 1, "0A 02 62 62"},
    };
    for (const char* text : {"a", "bb", "c"}) {
        lists_.Append(RecordKind::kIndicator, [&](std::uint64_t) {
            return ProductRecord{text, 0};
        });
    }
    for (const auto& row : kRows) {
        lists_.SetLimit(row.limit);
        const RecordBatch batch = lists_.Batch(RecordKind::kIndicator, row.offset);
        EXPECT_EQ(row.records, batch.records) << row.name;
        EXPECT_EQ(Kyr::Test::HexBytes(row.payload), batch.payload) << row.name;
    }
    EXPECT_EQ(0u, lists_.Batch(RecordKind::kTelemetry, 0).records);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
