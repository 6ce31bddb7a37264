#include "lab/simproduct/commands/RecordCommands.h"

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

Bytes EncodeBatch(RecordKind kind, const std::vector<ProductRecord>& batch) {
    CWireWriter writer;
    for (const ProductRecord& record : batch) {
        writer.AddBytes(kRecordsField, BytesOf(kind, record));
    }
    // The result code is 0, the default, and so not written: no records make no payload at all.
    return writer.Written();
}

InnerReply HandOut(const CRecordLists& lists, RecordKind kind, const LineSink& sink,
                   const InnerAction& action) {
    const std::uint64_t offset = ReadInteger(action.inner.body, kOffsetField).value_or(0);
    const std::vector<ProductRecord> batch = lists.From(kind, offset);
    if (!batch.empty()) {
        sink(CLine("handed")
                 .With("kind", NameOf(kind))
                 .With("from", offset + 1)
                 .With("records", batch.size()));
    }
    InnerReply reply;
    reply.payload = EncodeBatch(kind, batch);
    return reply;
}

}  // namespace

InnerCommandGroup RecordCommands(const CRecordLists& lists, LineSink sink) {
    const auto handOut = [&](RecordKind kind) {
        return [&lists, kind, sink](const InnerAction& action) {
            return HandOut(lists, kind, sink, action);
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
