#include "lab/devhost/typed/HostCommands.h"

#include <stdexcept>
#include <string>

#include "lab/devhost/printing/MemoryUse.h"

namespace Kyr::Lab::DevHost {

namespace {

void Dump(const CBus& bus, CDatabase& database, const LineSink& tell) {
    const std::vector<std::string> dumps = bus.DumpSubscribers();
    for (std::size_t index = 0; index < dumps.size(); ++index) {
        tell(AnswerTo("dump")
                 .With("subscriber", std::uint64_t{index + 1})
                 .With("pending", dumps[index]));
    }
    tell(AnswerTo("dump").With("instance", database.InstanceUuid()));
    for (const std::string& action : database.StoredActions()) {
        tell(AnswerTo("dump").With("remediation-action", action));
    }
}

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
         "or one line only; tells what fails.",
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

ConsoleCommandGroup StoreCommands(const CBus& bus, CDatabase& database) {
    return {
        {"get", "<key>", "Shows a key-value entry.",
         [&database](CCommandWords& words, const LineSink& tell) {
             const std::string key = words.TakeWord("key");
             words.Finish();
             tell(AnswerTo("get").With("key", key).With("value", database.GetValue(key)));
         }},
        {"set", "<key> <value>", "Stores a key-value entry.",
         [&database](CCommandWords& words, const LineSink& tell) {
             const std::string key = words.TakeWord("key");
             const std::string value = words.TakeWord("value");
             words.Finish();
             if (!database.SetValue(key, value)) {
                 throw std::runtime_error("the database refused the value");
             }
             tell(AnswerTo("set").With("key", key).With("value", value));
         }},
        MakeMinerCommand(database),
        {"dump", "", "Shows what waits in the module, and what the database holds.",
         [&bus, &database](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             Dump(bus, database, tell);
         }},
        {"memory", "", "Tells how much memory the host uses.",
         [](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             tell(MemoryLine("asked"));
             tell(AnswerTo("memory"));
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
