#include "lab/simproduct/records/RecordLists.h"

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// The field of a reply that holds a record (protocol).
constexpr std::uint32_t kRecordsField = 1;

constexpr std::size_t Index(RecordKind kind) {
    return static_cast<std::size_t>(kind);
}

}  // namespace

CRecordLists::CRecordLists(const std::string& path)
    : file_(std::make_unique<CRecordFile>(path, [this](RecordKind kind, ProductRecord record) {
          lists_[Index(kind)].records.push_back(std::move(record));
      })) {}

std::uint64_t CRecordLists::Append(RecordKind kind, const MakeRecord& make) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    List& list = lists_[Index(kind)];
    const std::uint64_t number = list.records.size() + 1;
    ProductRecord record = make(number);
    if (file_) {
        file_->Append(kind, record);
    }
    list.records.push_back(std::move(record));
    list.lastBatch.reset();
    return number;
}

std::uint64_t CRecordLists::Count(RecordKind kind) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return lists_[Index(kind)].records.size();
}

RecordBatch CRecordLists::Batch(RecordKind kind, std::uint64_t offset) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    List& list = lists_[Index(kind)];
    if (!list.lastBatch || list.lastOffset != offset) {
        list.lastBatch = Encode(kind, offset);
        list.lastOffset = offset;
    }
    return *list.lastBatch;
}

RecordBatch CRecordLists::Encode(RecordKind kind, std::uint64_t offset) const {
    const std::vector<ProductRecord>& records = lists_[Index(kind)].records;
    CWireWriter writer;
    std::size_t count = 0;
    std::uint64_t bytes = 0;
    for (std::uint64_t place = offset; place < records.size(); ++place) {
        const ProductRecord& record = records[static_cast<std::size_t>(place)];
        bytes += record.text.size();
        if (count == limit_.records || (count != 0 && bytes > limit_.bytes)) {
            break;
        }
        writer.AddBytes(kRecordsField, BytesOf(kind, record));
        ++count;
    }
    // The result code is 0, the default, and so not written: no records make no payload at all.
    return {count, writer.TakeWritten()};
}

BatchLimit CRecordLists::Limit() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return limit_;
}

void CRecordLists::SetLimit(const BatchLimit& limit) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    limit_ = limit;
    for (List& list : lists_) {
        list.lastBatch.reset();
    }
}

}  // namespace Kyr::Lab::SimProduct
