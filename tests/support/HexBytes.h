// Bytes as a protocol description writes them: HexBytes("0C 00 00 00 00 06 00 01").
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace Kyr::Test {

/// Two hexadecimal digits a byte, separated by any number of blanks.
inline std::vector<unsigned char> HexBytes(const std::string& text) {
    const auto digit = [](char c) {
        const std::size_t value = std::string("0123456789ABCDEF").find(c);
        if (value == std::string::npos) {
            throw std::invalid_argument("HexBytes: not an upper-case hexadecimal digit");
        }
        return static_cast<unsigned>(value);
    };
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != ' ') {
            bytes.push_back(
                static_cast<unsigned char>(digit(text[i]) * 16 + digit(text.at(i + 1))));
            ++i;
        }
    }
    return bytes;
}

/// The bytes of `text`, without a terminator.
inline std::vector<unsigned char> TextBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

/// `first` followed by `second`.
inline std::vector<unsigned char> operator+(std::vector<unsigned char> first,
                                            const std::vector<unsigned char>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// `length` bytes from `first` on; throws std::out_of_range unless they are all there.
inline std::vector<unsigned char> BytesAt(const std::vector<unsigned char>& bytes,
                                          std::size_t first, std::size_t length) {
    if (first > bytes.size() || length > bytes.size() - first) {
        throw std::out_of_range("BytesAt: the bytes end before");
    }
    const auto* const start = bytes.data() + first;
    return {start, start + length};
}

}  // namespace Kyr::Test
