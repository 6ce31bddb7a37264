// What a client says of itself when it connects, the same on both kinds of port.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

/// The mark that connections and the broadcast area begin with, trailing blank included.
constexpr char kKelcommMagic[] = "KelComm ";
constexpr std::size_t kKelcommMagicSize = 8;
/// The version of the protocol.
constexpr std::uint32_t kKelcommVersion = 2;

}  // namespace Kyr::Connectors::Common::Kelcomm
