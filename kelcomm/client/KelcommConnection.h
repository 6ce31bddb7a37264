// What both sides of a connection know of each other before a byte has crossed, the same on both
// kinds of port.
//
// The ids stand for the module and for the product: the names of port, mutex and section are made
// of them (KelcommNames.h). The mark is what a client says first on a port, and what the reader of
// the broadcast area looks for.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

constexpr std::uint32_t kKelcommClientId = 0x31564B51;  // the bytes "QKV1"
constexpr std::uint32_t kKelcommServerId = 0x61564B51;  // the bytes "QKVa"

/// The mark that connections and the broadcast area begin with, trailing blank included.
constexpr char kKelcommMagic[] = "KelComm ";
constexpr std::size_t kKelcommMagicSize = 8;
/// The version of the protocol.
constexpr std::uint32_t kKelcommVersion = 2;

}  // namespace Kyr::Connectors::Common::Kelcomm
