// A list of symbol rows. Locking it locks every row; the list itself stays open.
//
// Threads: none inside; a list belongs to one thread at a time. Rows are shared.
// The order of the virtual operations is the host's contract.
#pragma once

#include <cstddef>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include "host/logs/ILockable.h"
#include "host/logs/ISymbolContainer.h"

namespace Kyr::Common::Logs {

class IMultiSymbolContainer : public ILockable {
  public:
    using Row = boost::shared_ptr<ISymbolContainer>;
    /// A strict ordering: whether the first row comes before the second.
    using Compare = boost::function<bool(const Row&, const Row&)>;

    ~IMultiSymbolContainer() override;
    virtual void AddRow(const Row& row) = 0;
    /// Appends a new empty row and returns it.
    virtual Row CreateRow() = 0;
    /// Throws std::out_of_range "invalid vector subscript".
    virtual Row GetRow(std::size_t index) const = 0;
    virtual std::size_t GetRowCount() const = 0;
    /// Exchanges the rows. Throws std::bad_cast when `other` is of another class.
    virtual void Swap(IMultiSymbolContainer& other) = 0;
    /// Equal rows at equal positions.
    virtual bool Equals(const IMultiSymbolContainer& other) const = 0;
    /// Sorts the rows and keeps the first `limit` of them.
    virtual void SortAndLimit(std::size_t limit, const Compare& compare) = 0;
    /// A deep copy, unlocked.
    virtual boost::shared_ptr<IMultiSymbolContainer> Clone() const = 0;
};

}  // namespace Kyr::Common::Logs
