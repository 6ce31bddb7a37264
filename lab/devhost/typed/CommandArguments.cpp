#include "lab/devhost/typed/CommandArguments.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

CCommandArguments::CCommandArguments(std::vector<std::string> words) : words_(std::move(words)) {}

std::string CCommandArguments::TakeWord(const std::string& what) {
    if (words_.empty()) {
        throw std::invalid_argument("the " + what + " is missing");
    }
    std::string word = words_.front();
    words_.erase(words_.begin());
    return word;
}

std::optional<std::string> CCommandArguments::TakeValue(const std::string& name) {
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

std::optional<std::int32_t> CCommandArguments::TakeInt32(const std::string& name) {
    const auto text = TakeValue(name);
    if (!text) {
        return std::nullopt;
    }
    const std::uint64_t number = ParseNumber(*text);
    if (number > std::numeric_limits<std::int32_t>::max()) {
        throw std::invalid_argument(name + " is too large");
    }
    return static_cast<std::int32_t>(number);
}

bool CCommandArguments::TakeFlag(const std::string& name) {
    const auto found = std::find(words_.begin(), words_.end(), name);
    if (found == words_.end()) {
        return false;
    }
    words_.erase(found);
    return true;
}

void CCommandArguments::Finish() const {
    if (!words_.empty()) {
        throw std::invalid_argument("not understood: " + words_.front());
    }
}

}  // namespace Kyr::Lab::DevHost
