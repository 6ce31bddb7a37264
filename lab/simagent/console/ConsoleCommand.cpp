#include "lab/simagent/console/ConsoleCommand.h"

#include <stdexcept>

namespace Kyr::Lab::SimAgent {

CLine AnswerTo(const std::string& command) {
    return CLine("answer").With("command", command);
}

void RequireWords(const Words& words, std::size_t most) {
    if (words.size() > most) {
        throw std::invalid_argument("'" + words[most] + "' is one word too many");
    }
}

}  // namespace Kyr::Lab::SimAgent
