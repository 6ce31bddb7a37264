#include "lab/devhost/typed/FaultCommands.h"

#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

void Fail(CFaults& faults, CCommandWords& words) {
    const Fault fault = ParseFault(words.TakeWord("fault"));
    const FaultLimits limits{words.TakeNumber("for"), words.TakeValue("of")};
    words.Finish();
    if (limits.count == 0u) {
        throw std::invalid_argument("for=0 would be no fault at all");
    }
    faults.Add(fault, limits);
}

void TellFaults(const CFaults& faults, const char* command, const LineSink& tell) {
    const std::vector<std::string> active = faults.List();
    for (const std::string& fault : active) {
        tell(AnswerTo(command).With("fault", fault));
    }
    tell(AnswerTo(command).With("faults", active.size()));
}

}  // namespace

ConsoleCommandGroup FaultCommands(CFaults& faults) {
    return {
        {"fail", "[read|write|publish|log [for=<count>] [of=<subject>]]",
         "Fails the module so often, or until it is mended: reads and writes of the database, what "
         "it publishes, its lines for the log; of one key, of \"actions\", of one message's name "
         "or "
         "one line only; tells what fails.",
         [&faults](CCommandWords& words, const LineSink& tell) {
             if (!words.IsEmpty()) {
                 Fail(faults, words);
             }
             TellFaults(faults, "fail", tell);
         }},
        {"mend", "read|write|publish|log", "Ends that fault; tells what still fails.",
         [&faults](CCommandWords& words, const LineSink& tell) {
             const Fault fault = ParseFault(words.TakeWord("fault"));
             words.Finish();
             faults.Mend(fault);
             TellFaults(faults, "mend", tell);
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
