#include "lab/simproduct/requests/Bytes.h"

#include <iterator>

#include <boost/algorithm/hex.hpp>
#include <boost/endian/conversion.hpp>

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
    return boost::endian::load_little_u16(&bytes[offset]);
}

std::uint32_t ReadU32(const Bytes& bytes, std::size_t offset) {
    RequireInside(bytes, offset, 4);
    return boost::endian::load_little_u32(&bytes[offset]);
}

Bytes ReadBytes(const Bytes& bytes, std::size_t offset, std::size_t length) {
    RequireInside(bytes, offset, length);
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(length));
}

void AppendU16(Bytes& bytes, std::uint16_t value) {
    bytes.resize(bytes.size() + 2);
    WriteU16(bytes, bytes.size() - 2, value);
}

void AppendU32(Bytes& bytes, std::uint32_t value) {
    bytes.resize(bytes.size() + 4);
    WriteU32(bytes, bytes.size() - 4, value);
}

void WriteU16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
    boost::endian::store_little_u16(&bytes[offset], value);
}

void WriteU32(Bytes& bytes, std::size_t offset, std::uint32_t value) {
    boost::endian::store_little_u32(&bytes[offset], value);
}

std::string ToHex(const Bytes& bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    boost::algorithm::hex_lower(bytes, std::back_inserter(text));
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
