// Byte strings and the one place that reads numbers out of them, checked and little-endian.
//
// Errors: CMalformed for whatever a client sent that does not fit its own lengths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kyr::Lab::SimProduct {

using Bytes = std::vector<std::uint8_t>;

/// What a client sent cannot be read.
class CMalformed : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Throws CMalformed unless it is well formed.
void Require(bool isWellFormed, const char* complaint);

std::uint16_t ReadU16(const Bytes& bytes, std::size_t offset);
std::uint32_t ReadU32(const Bytes& bytes, std::size_t offset);

/// The `length` bytes at `offset`.
Bytes ReadBytes(const Bytes& bytes, std::size_t offset, std::size_t length);

void AppendU16(Bytes& bytes, std::uint16_t value);
void AppendU32(Bytes& bytes, std::uint32_t value);

// Overwrite bytes. REQUIRES: they are there.
void WriteU16(Bytes& bytes, std::size_t offset, std::uint16_t value);
void WriteU32(Bytes& bytes, std::size_t offset, std::uint32_t value);

/// Two hexadecimal digits a byte, without blanks.
std::string ToHex(const Bytes& bytes);
/// The way back, of digits in either case. Errors: std::invalid_argument.
Bytes FromHex(const std::string& text);

}  // namespace Kyr::Lab::SimProduct
