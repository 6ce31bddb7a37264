#include "lab/simproduct/typed/ConfigurationCommands.h"

#include <stdexcept>

namespace Kyr::Lab::SimProduct {

namespace {

/// A policy may be as long as a message; a line for people may not.
constexpr std::size_t kLongestShown = 200;

void Run(CConfiguration& configuration, const Words& words, const LineSink& sink) {
    RequireWords(words, 3);
    if (words.size() > 1) {
        if (words[1] != "set" || words.size() < 3) {
            throw std::invalid_argument("a text is wanted behind `set`");
        }
        configuration.Replace(words[2]);
    }
    const std::string text = configuration.Text();
    sink(AnswerTo("configuration")
             .With("length", text.size())
             .With("text", text.substr(0, kLongestShown)));
}

}  // namespace

ConsoleCommandGroup ConfigurationCommands(CConfiguration& configuration, LineSink sink) {
    return {{"configuration", "configuration [set <text>]",
             "what an export gives and an import replaces; a line <component>=off in it turns that "
             "component off",
             [&configuration, sink = std::move(sink)](const Words& words) {
                 Run(configuration, words, sink);
             }}};
}

}  // namespace Kyr::Lab::SimProduct
