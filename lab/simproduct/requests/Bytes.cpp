#include "lab/simproduct/requests/Bytes.h"

#include <iterator>

#include <boost/algorithm/hex.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

void RequireInside(const Bytes& bytes, std::size_t offset, std::size_t length) {
    if (offset > bytes.size() || length > bytes.size() - offset) {
        throw CMalformed(std::to_string(length) + " bytes expected at " + std::to_string(offset) +
                         " of " + std::to_string(bytes.size()));
    }
}

}  // namespace

void Require(bool isWellFormed, const char* complaint) {
    if (!isWellFormed) {
        throw CMalformed(complaint);
    }
}

std::uint16_t ReadU16(const Bytes& bytes, std::size_t offset) {
    RequireInside(bytes, offset, 2);
    return static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

std::uint32_t ReadU32(const Bytes& bytes, std::size_t offset) {
    RequireInside(bytes, offset, 4);
    return static_cast<std::uint32_t>(bytes[offset]) |
           static_cast<std::uint32_t>(bytes[offset + 1]) << 8 |
           static_cast<std::uint32_t>(bytes[offset + 2]) << 16 |
           static_cast<std::uint32_t>(bytes[offset + 3]) << 24;
}

Bytes ReadBytes(const Bytes& bytes, std::size_t offset, std::size_t length) {
    RequireInside(bytes, offset, length);
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(length));
}

void AppendU16(Bytes& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
}

void AppendU32(Bytes& bytes, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void WriteU16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
    bytes[offset] = static_cast<std::uint8_t>(value);
    bytes[offset + 1] = static_cast<std::uint8_t>(value >> 8);
}

std::string ToHex(const Bytes& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

Bytes FromHex(const std::string& text) {
    Bytes bytes;
    try {
        boost::algorithm::unhex(text, std::back_inserter(bytes));
    } catch (const boost::algorithm::hex_decode_error&) {
        throw std::invalid_argument("'" + text + "' is not two hexadecimal digits a byte");
    }
    return bytes;
}

}  // namespace Kyr::Lab::SimProduct
