#include "probe/doctor/TextKeyValues.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace Kyr::Probe {

namespace {

// Entries of the connector are short; a host has some more.
constexpr std::size_t kLongestText = std::size_t{1} << 20;

bool IsOfKey(char sign) {
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') ||
           (sign >= '0' && sign <= '9') || sign == '_' || sign == '-' || sign == '.';
}

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text(kLongestText + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > kLongestText) {
        throw std::runtime_error("no SQLite database, and too long for lines key=value");
    }
    if (text.find('\0') != std::string::npos) {
        throw std::runtime_error("neither an SQLite database nor a text");
    }
    return text;
}

}  // namespace

CTextKeyValues::CTextKeyValues(const std::string& path) {
    const std::string text = ReadText(path);
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line(text.data() + begin, end - begin);
        begin = end + 1;
        ++number;
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t sign = line.find('=');
        const std::string_view key = line.substr(0, sign);
        if (sign == std::string_view::npos || key.empty() ||
            !std::all_of(key.begin(), key.end(), IsOfKey)) {
            throw std::runtime_error("a text whose line " + std::to_string(number) +
                                     " is not key=value, and no SQLite database");
        }
        values_[std::string(key)] = line.substr(sign + 1);
    }
}

std::optional<std::string> CTextKeyValues::Find(const std::string& key) const {
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace Kyr::Probe
