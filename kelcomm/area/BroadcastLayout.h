// The head of the product's broadcast area, a shared-memory format: offsets of little-endian words.
//
// The product writes the area at any time; a reader takes each word once and checks what it took.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

constexpr std::size_t kBroadcastHeaderSizeField = 0;   // u32, must be kBroadcastHeaderSize
constexpr std::size_t kBroadcastMagicField = 8;        // 8 bytes, kKelcommMagic
constexpr std::size_t kBroadcastVersionField = 16;     // u32, kKelcommVersion
constexpr std::size_t kBroadcastDataOffsetField = 24;  // u32, from the start of the section
constexpr std::size_t kBroadcastDataSizeField = 28;    // u32, bounds every read
constexpr std::uint32_t kBroadcastHeaderSize = 32;

}  // namespace Kyr::Connectors::Common::Kelcomm
