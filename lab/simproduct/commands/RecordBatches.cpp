#include "lab/simproduct/commands/RecordBatches.h"

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Numbers of fields: protocol.
constexpr std::uint32_t kRecordsField = 1;
constexpr std::uint32_t kResultCodeField = 2;

Bytes EncodeBatch(RecordKind kind, std::vector<ProductRecord> batch) {
    CWireWriter writer;
    for (ProductRecord& record : batch) {
        writer.AddBytes(kRecordsField, BytesOf(kind, std::move(record)));
    }
    // The result code is 0, the default, and so not written: no records make no payload at all.
    return writer.TakeWritten();
}

}  // namespace

RecordBatch CRecordBatches::Behind(std::uint64_t offset) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    // Before the records are read: what comes meanwhile is another edition.
    const auto key = std::pair(lists_.Edition(), offset);
    if (!last_ || lastKey_ != key) {
        std::vector<ProductRecord> records = lists_.From(kind_, offset);
        const std::size_t count = records.size();
        last_ = RecordBatch{count, EncodeBatch(kind_, std::move(records))};
        lastKey_ = key;
    }
    return *last_;
}

Bytes EncodeResultCode(std::uint32_t code) {
    return CWireWriter().AddInteger(kResultCodeField, code).Written();
}

}  // namespace Kyr::Lab::SimProduct
