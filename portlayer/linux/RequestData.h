// What a legacy server reads from, and writes to, the memory that a request's data entries name.
//
// Nothing reaches into another process: the request brings its first entry along, other entries are
// fetched from the waiting client over a stream, and written bytes go with the reply.
// Threads: any.
#pragma once

#include "portlayer/linux/ServerPort.h"

namespace Kyr::PortLayer::Detail {

/// kStatusInvalidParameter: no such entry, or it is shorter. kStatusReplyMessageMismatch: the port
/// has no such open request, or its client is gone.
NtApi::NtStatus ReadRequestData(const CServerPort& port, const CMessageIds& ids,
                                std::uint32_t entryIndex, void* buffer, std::size_t size);
NtApi::NtStatus WriteRequestData(const CServerPort& port, const CMessageIds& ids,
                                 std::uint32_t entryIndex, const void* buffer, std::size_t size);

}  // namespace Kyr::PortLayer::Detail
