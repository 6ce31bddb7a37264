#include "lab/simproduct/typed/ResultsCommands.h"

#include <stdexcept>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimProduct {

namespace {

void Add(CTaskResults& results, const Words& words) {
    RequireWords(words, 5);
    if (words.size() < 4) {
        throw std::invalid_argument("an outcome and its user data are wanted");
    }
    TaskResult result;
    result.outcome = ParseNumber32(words[2]);
    result.userData = words[3];
    if (words.size() > 4) {
        const auto offset = ValueOf(words[4], "offset");
        if (!offset) {
            throw std::invalid_argument("'" + words[4] + "' is not understood");
        }
        result.offset = ParseNumber32(*offset);
    }
    results.Add(result);
}

void List(const CTaskResults& results, const LineSink& sink) {
    const std::vector<TaskResult> waiting = results.List();
    for (const TaskResult& result : waiting) {
        sink(AnswerTo("results")
                 .With("outcome", result.outcome)
                 .With("userdata", result.userData)
                 .With("offset", result.offset));
    }
    sink(AnswerTo("results").With("waiting", waiting.size()));
}

void Run(CTaskResults& results, const Words& words, const LineSink& sink) {
    const std::string what = words.size() > 1 ? words[1] : "list";
    if (what == "add") {
        Add(results, words);
    } else if (what == "clear") {
        RequireWords(words, 2);
        results.Clear();
    } else if (what != "list") {
        throw std::invalid_argument("'" + what + "' is not understood");
    }
    List(results, sink);
}

}  // namespace

ConsoleCommandGroup ResultsCommands(CTaskResults& results, LineSink sink) {
    return {
        {"results", "results add <outcome> <user data> [offset=<n>]",
         "the outcomes that wait to be fetched; also: results [list], results clear",
         [&results, sink = std::move(sink)](const Words& words) { Run(results, words, sink); }}};
}

}  // namespace Kyr::Lab::SimProduct
