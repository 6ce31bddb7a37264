// Messages of the two ports: header of the system, what Kelcomm puts behind it, and the payload.
//
// Threads: any. Errors: none; what is wrong stands in the layout.
#pragma once

#include <cstdint>
#include <optional>

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

/// Of the advanced port.
void DecodeAlpcRequest(CFieldReader& reader);
void DecodeAlpcReply(CFieldReader& reader, std::optional<std::uint32_t> command);
void DecodeAlpcConnection(CFieldReader& reader);

/// Of the legacy port; `Word` as in NtApi::PortMessageLayout.
template <typename Word>
void DecodeLpcRequest(CFieldReader& reader);
template <typename Word>
void DecodeLpcReply(CFieldReader& reader, std::optional<std::uint32_t> command);

}  // namespace Kyr::Probe
