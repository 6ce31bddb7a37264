// What command 3 of the protocol carries: the connector's requests and the product's replies.
//
// Threads: any. Errors: none; what is wrong stands in the layout.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

/// The command that a person means by its name ("get-status") or its number ("0x21").
std::optional<std::uint32_t> CommandOf(const std::string& text);

/// From the header on.
void DecodeRequest(CFieldReader& reader);

/// From the header on. A reply does not repeat the command that it answers; without one its body is
/// noted as it is.
void DecodeReply(CFieldReader& reader, std::optional<std::uint32_t> command);

}  // namespace Kyr::Probe
