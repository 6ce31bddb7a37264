// Recognises identifiers in text form, character by character: regular expressions of the test
// library differ between systems, and those of the standard library do not pass our warnings with a
// sanitizer.
#pragma once

#include <cstddef>
#include <string>

namespace Kyr::Test {

/// Identifiers in lower-case text form without braces, `count` of them with commas between.
inline bool AreUuidTexts(const std::string& text, int count) {
    static const std::string kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    std::string form = kForm;
    for (int i = 1; i < count; ++i) {
        form += "," + kForm;
    }
    if (text.size() != form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool digit = std::string("0123456789abcdef").find(text[i]) != std::string::npos;
        if (form[i] == 'x' ? !digit : text[i] != form[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace Kyr::Test
