#include "lab/simproduct/typed/ConsoleCommand.h"

#include <stdexcept>

namespace Kyr::Lab::SimProduct {

CLine AnswerTo(const std::string& command) {
    return CLine("answer").With("command", command);
}

std::optional<std::string> ValueOf(const std::string& word, const std::string& name) {
    const std::string start = name + '=';
    return word.compare(0, start.size(), start) == 0 ? std::optional(word.substr(start.size()))
                                                     : std::nullopt;
}

void RequireWords(const Words& words, std::size_t most) {
    if (words.size() > most) {
        throw std::invalid_argument("'" + words[most] + "' is one word too many");
    }
}

}  // namespace Kyr::Lab::SimProduct
