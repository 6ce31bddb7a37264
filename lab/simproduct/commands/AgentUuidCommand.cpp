#include "lab/simproduct/commands/AgentUuidCommand.h"

#include <map>

namespace Kyr::Lab::SimProduct {

namespace {

// Protocol.
constexpr std::uint32_t kAgentUuid = 0x9A;
constexpr std::uint32_t kKindTag = 0x00000104;
constexpr std::uint32_t kUuidTag = 0x00100002;
constexpr std::uint32_t kKind = 3;

using Records = std::map<std::uint32_t, Bytes>;

Records ReadRecords(const Bytes& body) {
    Records records;
    std::size_t position = 0;
    while (position < body.size()) {
        const std::uint32_t tag = ReadU32(body, position);
        const std::uint32_t length = ReadU32(body, position + 4);
        records[tag] = ReadBytes(body, position + 8, length);
        position += std::size_t{8} + length;
    }
    return records;
}

/// The text of a UUID. What it says is the sender's affair: it is no more than a name here.
std::string UuidIn(const Records& records) {
    const auto kind = records.find(kKindTag);
    if (kind == records.end() || kind->second.size() != 4 || ReadU32(kind->second, 0) != kKind) {
        throw CMalformed("the record that says 3 is missing");
    }
    const auto uuid = records.find(kUuidTag);
    if (uuid == records.end() || uuid->second.empty() || uuid->second.back() != 0) {
        throw CMalformed("the record with the UUID and its NUL is missing");
    }
    return {uuid->second.begin(), uuid->second.end() - 1};
}

}  // namespace

InnerCommandGroup AgentUuidCommands(LineSink sink) {
    return {{kAgentUuid, "agent-uuid",
             [sink = std::move(sink)](const InnerAction& action) -> InnerReply {
                 const std::string uuid = UuidIn(ReadRecords(action.inner.body));
                 sink(CLine("did").With("action", "agent-uuid").With("uuid", uuid));
                 return {};
             }}};
}

}  // namespace Kyr::Lab::SimProduct
