#include "lab/common/CommandWords.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/join.hpp>

#include "lab/common/LineScanner.h"

namespace Kyr::Lab {

std::vector<std::string> SplitWords(std::string_view command) {
    CLineScanner scanner(command);
    std::vector<std::string> words;
    for (scanner.SkipBlanks(); !scanner.AtEnd(); scanner.SkipBlanks()) {
        words.push_back(scanner.TakeWord());
    }
    return words;
}

std::uint64_t ParseNumber(std::string_view text) {
    const bool hexadecimal = text.substr(0, 2) == "0x";
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::invalid_argument("'" + std::string(text) + "' is not a number");
    }
    return number;
}

std::uint32_t ParseNumber32(std::string_view text) {
    const std::uint64_t number = ParseNumber(text);
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        throw std::invalid_argument("'" + std::string(text) + "' is too large");
    }
    return static_cast<std::uint32_t>(number);
}

std::size_t PlaceOf(const std::string& name, const std::vector<std::string>& names,
                    const std::string& what) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        throw std::invalid_argument("no such " + what + ": \"" + name + "\"; there are " +
                                    boost::algorithm::join(names, ", "));
    }
    return static_cast<std::size_t>(found - names.begin());
}

CCommandWords::CCommandWords(std::vector<std::string> words) : words_(std::move(words)) {}

std::string CCommandWords::TakeWord(const std::string& what) {
    if (words_.empty()) {
        throw std::invalid_argument("the " + what + " is missing");
    }
    std::string word = std::move(words_.front());
    words_.erase(words_.begin());
    return word;
}

std::vector<std::string> CCommandWords::TakeRest() {
    return std::exchange(words_, {});
}

std::optional<std::string> CCommandWords::TakeValue(const std::string& name) {
    const std::string start = name + "=";
    const auto found = std::find_if(words_.begin(), words_.end(), [&](const std::string& word) {
        return word.compare(0, start.size(), start) == 0;
    });
    if (found == words_.end()) {
        return std::nullopt;
    }
    std::string value = found->substr(start.size());
    words_.erase(found);
    return value;
}

std::optional<std::uint64_t> CCommandWords::TakeNumber(const std::string& name,
                                                       std::uint64_t most) {
    const auto text = TakeValue(name);
    if (!text) {
        return std::nullopt;
    }
    const std::uint64_t number = ParseNumber(*text);
    if (number > most) {
        throw std::invalid_argument(name + " is at most " + std::to_string(most));
    }
    return number;
}

bool CCommandWords::TakeFlag(const std::string& name) {
    const auto found = std::find(words_.begin(), words_.end(), name);
    if (found == words_.end()) {
        return false;
    }
    words_.erase(found);
    return true;
}

void CCommandWords::Finish() const {
    if (!words_.empty()) {
        throw std::invalid_argument("not understood: " + words_.front());
    }
}

}  // namespace Kyr::Lab
