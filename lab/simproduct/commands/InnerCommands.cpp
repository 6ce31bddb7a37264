#include "lab/simproduct/commands/InnerCommands.h"

#include <boost/locale/encoding_utf.hpp>

#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// The field of a request for records that says how many were fetched so far (protocol).
constexpr std::uint32_t kOffsetField = 1;

InnerReply TextReply(const std::string& text) {
    return {kStatusDone, Bytes(text.begin(), text.end())};
}

InnerReply PerformFunction(CTaskBook& tasks, const XmlCall& xml) {
    const Hashes hashes{xml.Find("HASH_SHA1"), xml.Find("HASH_SHA2_256")};
    const std::string userData = xml.Find("USERDATA").value_or("");
    if (xml.function == "KILL_PROCESS_BY_PID") {
        tasks.KillProcess(xml.Find("PID"), hashes, userData);
    } else if (xml.function == "BLOCK_EXECUTABLE_BY_HASH") {
        tasks.BlockExecutable(hashes, xml.Find("DELETE") == "1", userData);
    } else {
        return ErrorReply(kStatusUnknownFunction);
    }
    return {};
}

InnerReply Import(CConfiguration& configuration, const Bytes& body, const LineSink& sink) {
    configuration.Replace({body.begin(), body.end()});
    sink(CLine("did").With("action", "import").With("length", body.size()));
    return {};
}

InnerReply Export(const CConfiguration& configuration, const LineSink& sink) {
    const std::string text = configuration.Text();
    sink(CLine("did").With("action", "export").With("length", text.size()));
    return TextReply(text);
}

/// u32 0, u32 outcome, u32 offset of the user data, then the user data in UTF-16 with a final 0.
/// The offset is written as it is told; the user data always follows it.
Bytes EncodeTaskResult(const TaskResult& result) {
    Bytes bytes;
    AppendU32(bytes, 0);
    AppendU32(bytes, result.outcome);
    AppendU32(bytes, result.offset);
    for (const char16_t unit : boost::locale::conv::utf_to_utf<char16_t>(result.userData)) {
        AppendU16(bytes, unit);
    }
    AppendU16(bytes, 0);
    return bytes;
}

/// A reply without payload when no result is left.
InnerReply NextResult(CTaskResults& results, const LineSink& sink) {
    const std::optional<TaskResult> result = results.Take();
    if (!result) {
        return {};
    }
    sink(CLine("did")
             .With("action", "task-result")
             .With("outcome", result->outcome)
             .With("userdata", result->userData));
    return {kStatusDone, EncodeTaskResult(*result)};
}

InnerReply NoteAgentUuid(const Bytes& body, const LineSink& sink) {
    sink(CLine("did").With("action", "agent-uuid").With("uuid", ParseAgentUuid(body)));
    return {};
}

auto HandOut(CRecordLists& lists, RecordKind kind, const LineSink& sink) {
    return [&lists, kind, sink](const InnerRequest& request) -> InnerReply {
        const std::uint64_t offset = ReadInteger(request.body, kOffsetField).value_or(0);
        RecordBatch batch = lists.Batch(kind, offset);
        if (batch.records != 0) {
            sink(CLine("handed")
                     .With("kind", NameOf(kind))
                     .With("from", offset + 1)
                     .With("records", batch.records));
        }
        return {kStatusDone, std::move(batch.payload)};
    };
}

}  // namespace

// The numbers: protocol.
CInnerCommands::CInnerCommands(Subjects on, const LineSink& sink)
    : rows_{
          {kXmlCommand, "xml",
           [on](const InnerRequest& request) { return PerformFunction(on.tasks, request.xml); }},
          {0x21, "status", [on](const InnerRequest&) { return TextReply(on.protection.Report()); }},
          {0x6D, "import",
           [on, sink](const InnerRequest& request) {
               return Import(on.configuration, request.body, sink);
           }},
          {0x6E, "export",
           [on, sink](const InnerRequest&) { return Export(on.configuration, sink); }},
          {0x70, "task-status",
           [on, sink](const InnerRequest&) { return NextResult(on.results, sink); }},
          {0x9A, "agent-uuid",
           [sink](const InnerRequest& request) { return NoteAgentUuid(request.body, sink); }},
          {0x00100000, "get-indicators", HandOut(on.records, RecordKind::kIndicator, sink)},
          {0x00100001, "get-actions", HandOut(on.records, RecordKind::kAction, sink)},
          {0x00100002, "get-telemetry", HandOut(on.records, RecordKind::kTelemetry, sink)},
      } {}

InnerReply CInnerCommands::Perform(const InnerRequest& request) const {
    const Row* const row = Find(request.command);
    return row == nullptr ? ErrorReply(kStatusUnknownCommand) : row->handler(request);
}

const char* CInnerCommands::NameOf(std::uint32_t number) const {
    const Row* const row = Find(number);
    return row == nullptr ? "unknown" : row->name;
}

const CInnerCommands::Row* CInnerCommands::Find(std::uint32_t number) const {
    for (const Row& row : rows_) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace Kyr::Lab::SimProduct
