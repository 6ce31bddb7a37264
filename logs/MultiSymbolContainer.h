// A list of symbol rows.
//
// The rows are shared with whoever added or asked for them; a copy of the list has rows of its own.
// Threads: none inside; a list belongs to one thread at a time.
// The list has no lock of its own: Lock and Unlock pass on to the rows that are there, and rows
// that are added later are unlocked.
#pragma once

#include <vector>

#include "base/Clock.h"
#include "host/logs/IMultiSymbolContainer.h"

namespace Kyr::Common::Logs {

class CMultiSymbolContainer : public IMultiSymbolContainer {
  public:
    /// `clock` goes to the rows that CreateRow makes.
    explicit CMultiSymbolContainer(boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CMultiSymbolContainer() override;

    // ILockable. Rows that cannot be locked are passed over.
    void Lock() override;
    void Unlock() override;

    // IMultiSymbolContainer
    /// REQUIRES: `row` is not empty.
    void AddRow(const Row& row) override;
    Row CreateRow() override;
    Row GetRow(std::size_t index) const override;
    std::size_t GetRowCount() const override;
    void Swap(IMultiSymbolContainer& other) override;
    bool Equals(const IMultiSymbolContainer& other) const override;
    void SortAndLimit(std::size_t limit, const Compare& compare) override;
    boost::shared_ptr<IMultiSymbolContainer> Clone() const override;

  private:
    std::vector<Row> rows_;
    boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Common::Logs
