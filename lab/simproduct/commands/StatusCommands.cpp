#include "lab/simproduct/commands/StatusCommands.h"

#include <boost/locale/encoding_utf.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

// Protocol.
constexpr std::uint32_t kGetStatus = 0x21;
constexpr std::uint32_t kGetTaskStatus = 0x70;

InnerReply TextReply(const std::string& text) {
    InnerReply reply;
    reply.payload.assign(text.begin(), text.end());
    return reply;
}

/// A reply without payload when no result is left.
InnerReply NextResult(CTaskResults& results, const LineSink& sink) {
    InnerReply reply;
    if (const std::optional<TaskResult> result = results.Take()) {
        sink(CLine("did")
                 .With("action", "task-result")
                 .With("outcome", result->outcome)
                 .With("userdata", result->userData));
        reply.payload = EncodeTaskResult(*result);
    }
    return reply;
}

}  // namespace

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

InnerCommandGroup StatusCommands(const CProtection& protection, CTaskResults& results,
                                 LineSink sink) {
    return {{kGetStatus, "status",
             [&protection](const InnerAction&) { return TextReply(protection.Report()); }},
            {kGetTaskStatus, "task-status", [&results, sink = std::move(sink)](const InnerAction&) {
                 return NextResult(results, sink);
             }}};
}

}  // namespace Kyr::Lab::SimProduct
