// How a task is named: by three UUIDs of the server.
//
// Threads: any. Errors: none.
#pragma once

#include <cstddef>
#include <string_view>

namespace Kyr::Probe {

constexpr std::size_t kIdentifiersOfTask = 3;
constexpr std::size_t kUuidLength = 36;

inline bool IsHexDigit(char sign) {
    return (sign >= '0' && sign <= '9') || (sign >= 'a' && sign <= 'f') ||
           (sign >= 'A' && sign <= 'F');
}

/// The first letters of one in its text form, or all of them, of upper or lower case.
inline bool IsBeginOfUuid(std::string_view text) {
    if (text.empty() || text.size() > kUuidLength) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        if (isDash ? text[i] != '-' : !IsHexDigit(text[i])) {
            return false;
        }
    }
    return true;
}

/// In its text form, of upper or lower case.
inline bool IsUuid(std::string_view text) {
    return text.size() == kUuidLength && IsBeginOfUuid(text);
}

}  // namespace Kyr::Probe
