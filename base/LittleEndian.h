// Little-endian numbers in bytes, for everything that crosses a port, a file or shared memory.
//
// Bytes are written and read one by one, so that neither alignment nor the machine's byte order
// matters. The caller has checked the length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Kyr::Base {

/// Writes `value` to the sizeof(Number) bytes at `target`, lowest byte first.
/// REQUIRES: Number is an unsigned integer.
template <typename Number>
void StoreLittleEndian(void* target, Number value) {
    static_assert(std::is_unsigned<Number>::value, "wire numbers are unsigned");
    auto* bytes = static_cast<std::uint8_t*>(target);
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

/// The number in the sizeof(Number) bytes at `source`, lowest byte first.
template <typename Number>
Number LoadLittleEndian(const void* source) {
    static_assert(std::is_unsigned<Number>::value, "wire numbers are unsigned");
    const auto* bytes = static_cast<const std::uint8_t*>(source);
    Number value = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        value = static_cast<Number>(value | static_cast<Number>(bytes[i]) << (8 * i));
    }
    return value;
}

}  // namespace Kyr::Base
