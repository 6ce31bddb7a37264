#include <gmock/gmock.h>

#include "lab/simproduct/records/RecordLists.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordListsTest : public ::testing::Test {
  protected:
    void Append(RecordKind kind, const std::string& text) {
        lists_.Append(kind, [&](std::uint64_t) { return ProductRecord{text, 0}; });
    }

    std::vector<std::string> From(RecordKind kind, std::uint64_t offset) const {
        std::vector<std::string> texts;
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
}

TEST_F(RecordListsTest, OffsetSaysHowManyAreLeftOut) {
    Append(RecordKind::kIndicator, "one");
    Append(RecordKind::kIndicator, "two");
    Append(RecordKind::kIndicator, "three");

    EXPECT_THAT(From(RecordKind::kIndicator, 0), ElementsAre("one", "two", "three"));
    EXPECT_THAT(From(RecordKind::kIndicator, 2), ElementsAre("three"));
    EXPECT_EQ(3u, lists_.Count(RecordKind::kIndicator));
}

TEST_F(RecordListsTest, OffsetAtOrBeyondTheEndGivesNothing) {
    Append(RecordKind::kAction, "one");

    EXPECT_THAT(From(RecordKind::kAction, 1), IsEmpty());
    EXPECT_THAT(From(RecordKind::kAction, 0xFFFFFFFFFFFFFFFF), IsEmpty());
    EXPECT_THAT(From(RecordKind::kTelemetry, 0), IsEmpty());
}

TEST_F(RecordListsTest, BatchEndsAtTheLimitOfRecords) {
    lists_.SetLimit({2, 1000});
    for (const char* text : {"one", "two", "three"}) {
        Append(RecordKind::kIndicator, text);
    }
    EXPECT_THAT(From(RecordKind::kIndicator, 0), ElementsAre("one", "two"));
    EXPECT_THAT(From(RecordKind::kIndicator, 2), ElementsAre("three"));
}

TEST_F(RecordListsTest, BatchEndsBeforeTheRecordThatIsBeyondTheLimitOfBytes) {
    lists_.SetLimit({1000, 6});
    for (const char* text : {"one", "two", "three"}) {
        Append(RecordKind::kIndicator, text);
    }
    EXPECT_THAT(From(RecordKind::kIndicator, 0), ElementsAre("one", "two"));
}

TEST_F(RecordListsTest, RecordLargerThanTheLimitComesAlone) {
    lists_.SetLimit({1000, 2});
    Append(RecordKind::kIndicator, "one");
    Append(RecordKind::kIndicator, "two");

    EXPECT_THAT(From(RecordKind::kIndicator, 0), ElementsAre("one"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
