#include "logs/MultiSymbolContainer.h"

#include <algorithm>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "logs/SymbolContainer.h"

namespace Kyr::Common::Logs {

CMultiSymbolContainer::CMultiSymbolContainer(boost::shared_ptr<Base::IClock> clock)
    : clock_(std::move(clock)) {}
CMultiSymbolContainer::~CMultiSymbolContainer() = default;

void CMultiSymbolContainer::Lock() {
    for (const Row& row : rows_) {
        if (auto* lockable = dynamic_cast<ILockable*>(row.get())) {
            lockable->Lock();
        }
    }
}

void CMultiSymbolContainer::Unlock() {
    for (const Row& row : rows_) {
        if (auto* lockable = dynamic_cast<ILockable*>(row.get())) {
            lockable->Unlock();
        }
    }
}

void CMultiSymbolContainer::AddRow(const Row& row) {
    rows_.push_back(row);
}

CMultiSymbolContainer::Row CMultiSymbolContainer::CreateRow() {
    rows_.push_back(boost::make_shared<CSymbolContainer>(clock_));
    return rows_.back();
}

CMultiSymbolContainer::Row CMultiSymbolContainer::GetRow(std::size_t index) const {
    if (index >= rows_.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    return rows_[index];
}

std::size_t CMultiSymbolContainer::GetRowCount() const {
    return rows_.size();
}

void CMultiSymbolContainer::Swap(IMultiSymbolContainer& other) {
    rows_.swap(dynamic_cast<CMultiSymbolContainer&>(other).rows_);
}

bool CMultiSymbolContainer::Equals(const IMultiSymbolContainer& other) const {
    if (other.GetRowCount() != rows_.size()) {
        return false;
    }
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        if (!rows_[index]->Equals(*other.GetRow(index))) {
            return false;
        }
    }
    return true;
}

void CMultiSymbolContainer::SortAndLimit(std::size_t limit, const Compare& compare) {
    std::sort(rows_.begin(), rows_.end(), compare);
    rows_.resize(std::min(limit, rows_.size()));
}

boost::shared_ptr<IMultiSymbolContainer> CMultiSymbolContainer::Clone() const {
    auto copy = boost::make_shared<CMultiSymbolContainer>(clock_);
    copy->rows_.reserve(rows_.size());
    for (const Row& row : rows_) {
        copy->rows_.push_back(row->Clone());
    }
    return copy;
}

}  // namespace Kyr::Common::Logs
