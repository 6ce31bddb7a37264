#include <gmock/gmock.h>

#include "lab/simproduct/records/RecordLists.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using Texts = std::vector<std::string>;

class RecordListsTest : public ::testing::Test {
  protected:
    Texts From(RecordKind kind, std::uint64_t offset) const {
        Texts texts;
        for (const ProductRecord& record : lists_.From(kind, offset)) {
            texts.push_back(record.text);
        }
        return texts;
    }

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
        Texts batch;
    } kRows[] = {
        {"all", {1000, 1000}, 0, {"one", "two", "three"}},
        {"behind two", {1000, 1000}, 2, {"three"}},
        {"at the end", {1000, 1000}, 3, {}},
        {"beyond the end", {1000, 1000}, 0xFFFFFFFFFFFFFFFF, {}},
        {"limit of records", {2, 1000}, 0, {"one", "two"}},
        {"limit of records, behind one", {2, 1000}, 1, {"two", "three"}},
        {"limit of bytes", {1000, 6}, 0, {"one", "two"}},
        {"record larger than the limit comes alone", {1000, 2}, 0, {"one"}},
    };
    for (const char* text : {"one", "two", "three"}) {
        lists_.Append(RecordKind::kAction, [&](std::uint64_t) { return ProductRecord{text, 0}; });
    }
    for (const auto& row : kRows) {
        lists_.SetLimit(row.limit);
        EXPECT_EQ(row.batch, From(RecordKind::kAction, row.offset)) << row.name;
    }
    EXPECT_EQ(Texts(), From(RecordKind::kTelemetry, 0));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
