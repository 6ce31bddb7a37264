// Everything that can be decoded, by the names that a person gives.
//
// Threads: any. Errors: std::invalid_argument, with a text for that person.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "probe/decode/Layout.h"

namespace Kyr::Probe {

/// The names of what can be decoded.
std::vector<std::string> Kinds();

/// What `bytes` seem to be. Nothing when they could be several things, or none.
std::optional<std::string> GuessKind(std::string_view bytes);

/// `command`: what a reply answers, where that is known.
Layout Decode(std::string_view bytes, const std::string& kind,
              std::optional<std::uint32_t> command);

}  // namespace Kyr::Probe
