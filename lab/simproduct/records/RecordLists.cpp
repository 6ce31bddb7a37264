#include "lab/simproduct/records/RecordLists.h"

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

constexpr std::size_t Index(RecordKind kind) {
    return static_cast<std::size_t>(kind);
}

}  // namespace

CRecordLists::CRecordLists(const std::string& path)
    : file_(std::make_unique<CRecordFile>(path, [this](RecordKind kind, ProductRecord record) {
          lists_[Index(kind)].push_back(std::move(record));
      })) {}

std::uint64_t CRecordLists::Append(RecordKind kind, const MakeRecord& make) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    std::vector<ProductRecord>& list = lists_[Index(kind)];
    const std::uint64_t number = list.size() + 1;
    ProductRecord record = make(number);
    if (file_) {
        file_->Append(kind, record);
    }
    list.push_back(std::move(record));
    ++edition_;
    return number;
}

std::uint64_t CRecordLists::Count(RecordKind kind) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return lists_[Index(kind)].size();
}

std::vector<ProductRecord> CRecordLists::From(RecordKind kind, std::uint64_t offset) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const std::vector<ProductRecord>& list = lists_[Index(kind)];
    std::vector<ProductRecord> batch;
    std::uint64_t bytes = 0;
    for (std::uint64_t place = offset; place < list.size(); ++place) {
        const ProductRecord& record = list[static_cast<std::size_t>(place)];
        bytes += record.text.size();
        if (batch.size() == limit_.records || (!batch.empty() && bytes > limit_.bytes)) {
            break;
        }
        batch.push_back(record);
    }
    return batch;
}

std::uint64_t CRecordLists::Edition() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return edition_;
}

BatchLimit CRecordLists::Limit() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return limit_;
}

void CRecordLists::SetLimit(const BatchLimit& limit) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    limit_ = limit;
    ++edition_;
}

}  // namespace Kyr::Lab::SimProduct
