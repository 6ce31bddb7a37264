#include <typeinfo>

#include "logs/MultiSymbolContainer.h"
#include "tests/logs/ForeignSymbolContainer.h"
#include "tests/logs/SymbolFixture.h"

namespace Kyr::Common::Logs {
namespace {

using Test::CForeignSymbolContainer;
using Test::ThrownText;
using Row = IMultiSymbolContainer::Row;

class CForeignRows : public IMultiSymbolContainer {
  public:
    void Lock() override {}
    void Unlock() override {}
    void AddRow(const Row&) override {}
    Row CreateRow() override { return {}; }
    Row GetRow(std::size_t) const override { return {}; }
    std::size_t GetRowCount() const override { return 0; }
    void Swap(IMultiSymbolContainer&) override {}
    bool Equals(const IMultiSymbolContainer&) const override { return false; }
    void SortAndLimit(std::size_t, const Compare&) override {}
    boost::shared_ptr<IMultiSymbolContainer> Clone() const override { return {}; }
};

class MultiSymbolContainerTest : public Test::SymbolFixture {
  protected:
    void AddRows(std::initializer_list<std::int64_t> values) {
        for (const std::int64_t value : values) {
            rows_.CreateRow()->AddInt64(1, value);
        }
    }

    static std::vector<std::int64_t> ValuesOf(const IMultiSymbolContainer& rows) {
        std::vector<std::int64_t> values;
        for (std::size_t index = 0; index < rows.GetRowCount(); ++index) {
            values.push_back(rows.GetRow(index)->GetInt64(1));
        }
        return values;
    }

    static bool Smaller(const Row& left, const Row& right) {
        return left->GetInt64(1) < right->GetInt64(1);
    }

    CMultiSymbolContainer rows_{clock_};
};

TEST_F(MultiSymbolContainerTest, NewListIsEmpty) {
    EXPECT_EQ(rows_.GetRowCount(), 0u);
}

TEST_F(MultiSymbolContainerTest, CreateRowAppendsAnEmptyRow) {
    const Row first = rows_.CreateRow();
    const Row second = rows_.CreateRow();
    EXPECT_EQ(rows_.GetRow(0), first);
    EXPECT_EQ(rows_.GetRow(1), second);
    EXPECT_EQ(second->GetCount(), 0u);
}

TEST_F(MultiSymbolContainerTest, CreatedRowHasTheListsClock) {
    clock_->SetStartTime(0);
    const Row row = rows_.CreateRow();
    row->AddCurrentTime(1);
    EXPECT_EQ(row->GetUtcTime(1).year(), 1970);
}

TEST_F(MultiSymbolContainerTest, AddRowSharesTheRow) {
    const Row row = boost::make_shared<CSymbolContainer>();
    rows_.AddRow(row);
    row->AddInt64(1, 5);
    EXPECT_EQ(rows_.GetRow(0)->GetInt64(1), 5);
}

TEST_F(MultiSymbolContainerTest, RowBeyondTheListIsRefused) {
    AddRows({1});
    const auto get = [&] { rows_.GetRow(1); };
    EXPECT_EQ(ThrownText<std::out_of_range>(get), "invalid vector subscript");
}

TEST_F(MultiSymbolContainerTest, LockReachesEveryRow) {
    AddRows({1, 2});
    rows_.Lock();
    for (const std::size_t index : {0u, 1u}) {
        EXPECT_EQ(Thrown([&] { rows_.GetRow(index)->AddInt64(2, 2); }),
                  "Cannot add symbol 2: container is locked");
    }
    rows_.Unlock();
    EXPECT_NO_THROW(rows_.GetRow(1)->AddInt64(2, 2));
}

TEST_F(MultiSymbolContainerTest, LockedListTakesUnlockedRows) {
    rows_.Lock();
    EXPECT_NO_THROW(rows_.CreateRow()->AddInt64(1, 1));
    rows_.AddRow(boost::make_shared<CSymbolContainer>());
    EXPECT_NO_THROW(rows_.GetRow(1)->AddInt64(1, 1));
}

TEST_F(MultiSymbolContainerTest, RowThatCannotBeLockedIsPassedOver) {
    rows_.AddRow(boost::make_shared<CForeignSymbolContainer>());
    AddRows({1});
    rows_.Lock();
    EXPECT_THROW(rows_.GetRow(1)->AddInt64(2, 2), std::runtime_error);
    EXPECT_NO_THROW(rows_.Unlock());
}

TEST_F(MultiSymbolContainerTest, SwapWithAListOfAnotherClassIsRefused) {
    CForeignRows other;
    EXPECT_THROW(rows_.Swap(other), std::bad_cast);
}

TEST_F(MultiSymbolContainerTest, SwapExchangesTheRows) {
    AddRows({1, 2});
    CMultiSymbolContainer other;
    other.CreateRow()->AddInt64(1, 3);
    rows_.Swap(other);
    EXPECT_EQ(ValuesOf(rows_), (std::vector<std::int64_t>{3}));
    EXPECT_EQ(ValuesOf(other), (std::vector<std::int64_t>{1, 2}));
}

TEST_F(MultiSymbolContainerTest, EqualityIsRowByRow) {
    AddRows({1, 2});
    CMultiSymbolContainer other;
    other.CreateRow()->AddInt64(1, 1);
    EXPECT_FALSE(rows_.Equals(other));
    other.CreateRow()->AddInt64(1, 2);
    EXPECT_TRUE(rows_.Equals(other));
    other.GetRow(1)->SetInt64(1, 3);
    EXPECT_FALSE(rows_.Equals(other));
}

TEST_F(MultiSymbolContainerTest, DifferenceInTheFirstRowIsEnough) {
    AddRows({1, 2});
    CMultiSymbolContainer other;
    other.CreateRow()->AddInt64(1, 3);
    other.CreateRow()->AddInt64(1, 2);
    EXPECT_FALSE(rows_.Equals(other));
}

TEST_F(MultiSymbolContainerTest, OrderOfRowsMattersForEquality) {
    AddRows({1, 2});
    CMultiSymbolContainer other;
    other.CreateRow()->AddInt64(1, 2);
    other.CreateRow()->AddInt64(1, 1);
    EXPECT_FALSE(rows_.Equals(other));
}

TEST_F(MultiSymbolContainerTest, SortAndLimitKeepsTheFirstRows) {
    AddRows({3, 1, 2});
    rows_.SortAndLimit(2, &Smaller);
    EXPECT_EQ(ValuesOf(rows_), (std::vector<std::int64_t>{1, 2}));
}

TEST_F(MultiSymbolContainerTest, LimitAboveTheCountKeepsAllRows) {
    AddRows({3, 1, 2});
    rows_.SortAndLimit(10, &Smaller);
    EXPECT_EQ(ValuesOf(rows_), (std::vector<std::int64_t>{1, 2, 3}));
    rows_.SortAndLimit(0, &Smaller);
    EXPECT_EQ(rows_.GetRowCount(), 0u);
}

TEST_F(MultiSymbolContainerTest, CloneIsADeepUnlockedCopy) {
    AddRows({1, 2});
    rows_.Lock();
    const auto copy = rows_.Clone();
    EXPECT_TRUE(copy->Equals(rows_));
    copy->GetRow(0)->SetInt64(1, 9);
    EXPECT_EQ(ValuesOf(rows_), (std::vector<std::int64_t>{1, 2}));
    EXPECT_EQ(ValuesOf(*copy), (std::vector<std::int64_t>{9, 2}));
}

}  // namespace
}  // namespace Kyr::Common::Logs
