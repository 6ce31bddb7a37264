#include "lab/devhost/typed/FailureCommands.h"

#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

void Fail(CFailures& failures, CCommandWords& words) {
    const Failure fault = ParseFailure(words.TakeWord("fault"));
    const FailureLimits limits{words.TakeNumber("for"), words.TakeValue("of")};
    words.Finish();
    if (limits.count == 0u) {
        throw std::invalid_argument("for=0 would be no fault at all");
    }
    failures.Add(fault, limits);
}

void TellFailures(const CFailures& failures, const char* command, const LineSink& tell) {
    const std::vector<std::string> active = failures.List();
    for (const std::string& fault : active) {
        tell(AnswerTo(command).With("fault", fault));
    }
    tell(AnswerTo(command).With("faults", active.size()));
}

}  // namespace

ConsoleCommandGroup FailureCommands(CFailures& failures) {
    return {
        {"fail", "[read|write|publish|log [for=<count>] [of=<subject>]]",
         "Fails the module so often, or until it is mended: reads and writes of the database, what "
         "it publishes, its lines for the log; of one key, of \"actions\", of one message's name "
         "or "
         "one line only; tells what fails.",
         [&failures](CCommandWords& words, const LineSink& tell) {
             if (!words.IsEmpty()) {
                 Fail(failures, words);
             }
             TellFailures(failures, "fail", tell);
         }},
        {"mend", "read|write|publish|log", "Ends that fault; tells what still fails.",
         [&failures](CCommandWords& words, const LineSink& tell) {
             const Failure fault = ParseFailure(words.TakeWord("fault"));
             words.Finish();
             failures.Mend(fault);
             TellFailures(failures, "mend", tell);
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
