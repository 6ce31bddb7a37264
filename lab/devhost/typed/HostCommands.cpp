#include "lab/devhost/typed/HostCommands.h"

#include <stdexcept>
#include <string>

#include <boost/algorithm/string/join.hpp>

#include "host/message/Task.h"
#include "lab/devhost/printing/MemoryUse.h"
#include "lab/devhost/typed/MessageBuilder.h"

namespace Kyr::Lab::DevHost {

namespace {

/// The identifiers of a task, as `ids` takes them.
std::string IdentifiersOf(const Common::Message::CTask& task) {
    return task.GetFirstIdentifier().uuid() + "," + task.GetSecondIdentifier().uuid() + "," +
           task.GetThirdIdentifier().uuid();
}

/// Builds a message from the words of the command and publishes it.
auto Publishing(CBus& bus, const char* command, MessagePointer (*build)(CCommandWords&)) {
    return [&bus, command, build](CCommandWords& words, const LineSink& tell) {
        const MessagePointer message = build(words);
        CLine answer = AnswerTo(command);
        if (const auto* task = dynamic_cast<const Common::Message::CTask*>(message.get())) {
            answer.With("ids", IdentifiersOf(*task));
        }
        // Answered first, so that whoever reads knows the identifiers before they come back.
        tell(answer);
        bus.PublishAsHost(message);
    };
}

void SetValue(CDatabase& database, CCommandWords& words, const LineSink& tell) {
    const std::string key = words.TakeWord("key");
    const std::string value = words.TakeWord("value");
    words.Finish();
    if (!database.SetValue(key, value)) {
        throw std::runtime_error("the database refused the value");
    }
    tell(AnswerTo("set").With("key", key).With("value", value));
}

void GetValue(CDatabase& database, CCommandWords& words, const LineSink& tell) {
    const std::string key = words.TakeWord("key");
    words.Finish();
    tell(AnswerTo("get").With("key", key).With("value", database.GetValue(key)));
}

void CallLife(const LifeCalls& calls, CCommandWords& words, const LineSink& tell) {
    const std::string call = boost::algorithm::join(words.TakeRest(), " ");
    const auto found = calls.find(call);
    if (found == calls.end()) {
        throw std::invalid_argument("no such call: " + call);
    }
    tell(AnswerTo("life"));
    found->second();
}

void Dump(const CommandTargets& targets, const LineSink& tell) {
    const std::vector<std::string> dumps = targets.bus.DumpSubscribers();
    for (std::size_t index = 0; index < dumps.size(); ++index) {
        tell(AnswerTo("dump")
                 .With("subscriber", std::uint64_t{index + 1})
                 .With("pending", dumps[index]));
    }
    tell(AnswerTo("dump").With("instance", targets.database.InstanceUuid()));
    for (const std::string& action : targets.database.StoredActions()) {
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

ConsoleCommandGroup MakeHostCommands(const CommandTargets& targets) {
    return {
        {"kill", "pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]",
         "Sends the task that ends a process.", Publishing(targets.bus, "kill", BuildKillTask)},
        {"block", "sha256=<text> [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]",
         "Sends the task that blocks an executable.",
         Publishing(targets.bus, "block", BuildBlockTask)},
        {"policy", "file=<path>|text=<text> [repeat=<n>] [length=<n>] [broken=blob|stream|policy]",
         "Sends a policy to be applied; its text n times over (up to 67108864 bytes), with another "
         "length stated, or with something broken.",
         Publishing(targets.bus, "policy", BuildPolicy)},
        {"export", "[type=<number>] [ids=<a>,<b>,<c>]",
         "Asks for the configuration of a product of that type.",
         Publishing(targets.bus, "export", BuildConfigurationRequest)},
        {"trigger", "kind=<number>",
         "Sends what the connector sends itself: 0 protection status, 2 task results, 3 indicators,"
         " 4 telemetry, 5 remediation actions.",
         Publishing(targets.bus, "trigger", BuildTrigger)},
        {"reply", "[type=688|1] [request=<number>] [alien]",
         "Sends a reply to a request, or, alien, another message of its type.",
         Publishing(targets.bus, "reply", BuildReply)},
        {"get", "<key>", "Shows a key-value entry.",
         [targets](CCommandWords& words, const LineSink& tell) {
             GetValue(targets.database, words, tell);
         }},
        {"set", "<key> <value>", "Stores a key-value entry.",
         [targets](CCommandWords& words, const LineSink& tell) {
             SetValue(targets.database, words, tell);
         }},
        MakeMinerCommand(targets.database),
        {"dump", "", "Shows what waits in the module, and what the database holds.",
         [targets](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             Dump(targets, tell);
         }},
        {"memory", "", "Tells how much memory the host uses.",
         [](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             tell(MemoryLine("asked"));
             tell(AnswerTo("memory"));
         }},
        {"life", "initialize|start|request-stop|stop [force]|destroy",
         "Calls the module once, in whatever state it is; no other command until it returns.",
         [targets](CCommandWords& words, const LineSink& tell) {
             CallLife(targets.lifeCalls, words, tell);
         }},
        {"stop", "[force]", "Stops the module; with force also one that is still busy.",
         [targets](CCommandWords& words, const LineSink& tell) {
             const bool force = words.TakeFlag("force");
             words.Finish();
             tell(AnswerTo("stop"));
             targets.stop(force);
         }},
        {"quit", "", "Stops the module and ends the host.",
         [targets](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             tell(AnswerTo("quit"));
             targets.quit();
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
