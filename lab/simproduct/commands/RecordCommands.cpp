#include "lab/simproduct/commands/RecordCommands.h"

#include <memory>
#include <optional>
#include <utility>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Numbers of commands and of fields: protocol.
constexpr std::uint32_t kGetIndicators = 0x00100000;
constexpr std::uint32_t kGetActions = 0x00100001;
constexpr std::uint32_t kGetTelemetry = 0x00100002;
constexpr std::uint32_t kOffsetField = 1;
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

struct Batch {
    std::size_t records = 0;
    Bytes payload;
};

/// The batches of one kind; keeps the last one. A connector asks for a large one again and again,
/// with more room each time, and encoding it costs more than all else.
class CBatches {
  public:
    CBatches(const CRecordLists& lists, RecordKind kind) : lists_(lists), kind_(kind) {}

    Batch Behind(std::uint64_t offset) {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        // Before the records are read: what comes meanwhile is another edition.
        const auto key = std::pair(lists_.Edition(), offset);
        if (!last_ || lastKey_ != key) {
            std::vector<ProductRecord> records = lists_.From(kind_, offset);
            const std::size_t count = records.size();
            last_ = Batch{count, EncodeBatch(kind_, std::move(records))};
            lastKey_ = key;
        }
        return *last_;
    }

  private:
    const CRecordLists& lists_;
    const RecordKind kind_;
    boost::mutex mutex_;  // guards what follows
    std::pair<std::uint64_t, std::uint64_t> lastKey_;
    std::optional<Batch> last_;
};

InnerReply HandOut(CBatches& batches, RecordKind kind, const LineSink& sink,
                   const InnerAction& action) {
    const std::uint64_t offset = ReadInteger(action.inner.body, kOffsetField).value_or(0);
    Batch batch = batches.Behind(offset);
    if (batch.records != 0) {
        sink(CLine("handed")
                 .With("kind", NameOf(kind))
                 .With("from", offset + 1)
                 .With("records", batch.records));
    }
    InnerReply reply;
    reply.payload = std::move(batch.payload);
    return reply;
}

}  // namespace

InnerCommandGroup RecordCommands(const CRecordLists& lists, LineSink sink) {
    const auto handOut = [&](RecordKind kind) {
        const auto batches = std::make_shared<CBatches>(lists, kind);
        return [batches, kind, sink](const InnerAction& action) {
            return HandOut(*batches, kind, sink, action);
        };
    };
    return {{kGetIndicators, "get-indicators", handOut(RecordKind::kIndicator)},
            {kGetActions, "get-actions", handOut(RecordKind::kAction)},
            {kGetTelemetry, "get-telemetry", handOut(RecordKind::kTelemetry)}};
}

Bytes EncodeResultCode(std::uint32_t code) {
    return CWireWriter().AddInteger(kResultCodeField, code).Written();
}

}  // namespace Kyr::Lab::SimProduct
