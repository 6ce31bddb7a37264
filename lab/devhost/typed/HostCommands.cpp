#include "lab/devhost/typed/HostCommands.h"

#include <stdexcept>
#include <string>

#include "lab/devhost/printing/MemoryUse.h"
#include "lab/devhost/typed/MinerCommand.h"
#include "lab/devhost/typed/PolicyBuilder.h"
#include "lab/devhost/typed/ReplyBuilder.h"
#include "lab/devhost/typed/RequestBuilder.h"
#include "lab/devhost/typed/TaskBuilder.h"

namespace Kyr::Lab::DevHost {

namespace {

CLine Answer(const char* command) {
    return CLine("answer").With("command", command);
}

/// Builds a message from the words of the command and publishes it.
template <typename Build>
auto Publishing(const CommandTargets& targets, const char* command, Build build) {
    CBus& bus = targets.bus;
    return [&bus, command, build](CCommandArguments& arguments, const LineSink& answer) {
        const auto message = build(arguments);
        answer(Answer(command));
        bus.PublishAsHost(message);
    };
}

/// The same for a task, whose identifiers are told.
template <typename Build>
auto PublishingTask(const CommandTargets& targets, const char* command, Build build) {
    CBus& bus = targets.bus;
    return [&bus, command, build](CCommandArguments& arguments, const LineSink& answer) {
        const TaskPointer task = build(arguments);
        // Answered first, so that whoever reads knows the identifiers before they come back.
        answer(Answer(command).With("ids", IdentifiersOf(*task)));
        bus.PublishAsHost(task);
    };
}

void SetValue(CDatabase& database, CCommandArguments& arguments, const LineSink& answer) {
    const std::string key = arguments.TakeWord("key");
    const std::string value = arguments.TakeWord("value");
    arguments.Finish();
    if (!database.KeyValues().SetValue(key, value)) {
        throw std::runtime_error("the database refused the value");
    }
    answer(Answer("set").With("key", key).With("value", value));
}

void GetValue(CDatabase& database, CCommandArguments& arguments, const LineSink& answer) {
    const std::string key = arguments.TakeWord("key");
    arguments.Finish();
    answer(Answer("get").With("key", key).With("value", database.KeyValues().GetValue(key)));
}

void Dump(const CommandTargets& targets, const LineSink& answer) {
    const std::vector<std::string> dumps = targets.bus.DumpSubscribers();
    for (std::size_t index = 0; index < dumps.size(); ++index) {
        answer(Answer("dump")
                   .With("subscriber", std::uint64_t{index + 1})
                   .With("pending", dumps[index]));
    }
    answer(Answer("dump").With("instance", targets.database.InstanceUuid()));
    for (const std::string& action : targets.database.RemediationActions().StoredActions()) {
        answer(Answer("dump").With("remediation-action", action));
    }
}

}  // namespace

std::vector<HostCommand> MakeHostCommands(const CommandTargets& targets) {
    using Arguments = CCommandArguments;
    return {
        {"kill", "pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]",
         "Sends the task that ends a process.", PublishingTask(targets, "kill", BuildKillTask)},
        {"block", "sha256=<text> [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]",
         "Sends the task that blocks an executable.",
         PublishingTask(targets, "block", BuildBlockTask)},
        {"policy", "file=<path>|text=<text> [repeat=<n>] [length=<n>] [broken=blob|stream|policy]",
         "Sends a policy to be applied; its text n times over, with another length stated, or with "
         "something broken.",
         Publishing(targets, "policy", BuildPolicy)},
        {"export", "[type=<number>] [ids=<a>,<b>,<c>]",
         "Asks for the configuration of a product of that type.",
         PublishingTask(targets, "export", BuildConfigurationRequest)},
        {"trigger", "kind=<number>",
         "Sends what the connector sends itself: 0 protection status, 2 task results, 3 indicators,"
         " 4 telemetry, 5 remediation actions.",
         Publishing(targets, "trigger", BuildTrigger)},
        {"reply", "[type=688|1] [request=<number>] [alien]",
         "Sends a reply to a request, or, alien, another message of its type.",
         Publishing(targets, "reply", BuildReply)},
        {"get", "<key>", "Shows a key-value entry.",
         [targets](Arguments& arguments, const LineSink& answer) {
             GetValue(targets.database, arguments, answer);
         }},
        {"set", "<key> <value>", "Stores a key-value entry.",
         [targets](Arguments& arguments, const LineSink& answer) {
             SetValue(targets.database, arguments, answer);
         }},
        MakeMinerCommand(targets.database),
        {"dump", "", "Shows what waits in the module, and what the database holds.",
         [targets](Arguments& arguments, const LineSink& answer) {
             arguments.Finish();
             Dump(targets, answer);
         }},
        {"memory", "", "Tells how much memory the host uses.",
         [](Arguments& arguments, const LineSink& answer) {
             arguments.Finish();
             answer(MemoryLine("asked"));
             answer(Answer("memory"));
         }},
        {"stop", "[force]", "Stops the module; with force also one that is still busy.",
         [targets](Arguments& arguments, const LineSink& answer) {
             const bool force = arguments.TakeFlag("force");
             arguments.Finish();
             answer(Answer("stop"));
             targets.stop(force);
         }},
        {"quit", "[force]", "Stops the module and ends the host.",
         [targets](Arguments& arguments, const LineSink& answer) {
             const bool force = arguments.TakeFlag("force");
             arguments.Finish();
             answer(Answer("quit"));
             targets.quit(force);
         }},
    };
}

}  // namespace Kyr::Lab::DevHost
