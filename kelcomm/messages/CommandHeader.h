// The start of every request: the command header, and the commands of the product.
//
// Three little-endian words: the header's size, a fixed marker and the command. The body follows at
// once and runs to the end of the request; no length stands anywhere.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// The numbers are the product's. A reply does not repeat them: who asked knows what comes.
enum class Command : std::uint32_t {
    Xml = 2,  // every request whose body is XML text
    GetStatus = 0x21,
    ImportConfiguration = 0x6D,
    ExportConfiguration = 0x6E,
    GetTaskStatus = 0x70,
    SendAgentUUID = 0x9A,
    GetEcsIndicatorLogs = 0x00100000,
    GetRemediationActions = 0x00100001,
    GetEcsTelemetryLogs = 0x00100002,
};

/// What follows the header's size in every request; the product checks it.
constexpr std::uint32_t kRequestMarker = 0x01000600;

/// The bytes of a request: the header with `command`, then `body` without a terminator.
std::vector<unsigned char> MakeRequest(Command command, std::string_view body = {});

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
