// Recognises identifiers in text form, whatever regular expressions the test library has here.
#pragma once

#include <regex>
#include <string>

namespace Kyr::Test {

/// Identifiers in lower-case text form without braces, `count` of them with commas between.
inline bool AreUuidTexts(const std::string& text, int count) {
    static const std::string kOne = "[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}";
    const std::string others = "(," + kOne + "){" + std::to_string(count - 1) + "}";
    return std::regex_match(text, std::regex(kOne + others));
}

}  // namespace Kyr::Test
