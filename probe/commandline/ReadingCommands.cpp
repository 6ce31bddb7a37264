#include "probe/commandline/ReadingCommands.h"

#include <cstdint>
#include <memory>

#include "probe/commands/Actions.h"
#include "probe/commands/Outcomes.h"
#include "probe/commands/Ping.h"
#include "probe/commands/Policy.h"
#include "probe/commands/Records.h"
#include "probe/commands/Status.h"

namespace Kyr::Probe {

namespace {

void AddPing(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    AddReading(app, "ping", "whether the product answers, on each port, and how fast", all)
        .callback([all, &deed] {
            deed = [all] { return Deliver(PingBothPorts(all->Session()), all->output); };
        });
}

void AddQuestion(CLI::App& app, Deed& deed, const char* name, const char* text,
                 Question (*question)()) {
    const auto all = std::make_shared<Common>();
    AddReading(app, name, text, all).callback([all, name, question, &deed] {
        deed = [all, name, question] {
            return Run(name, *all, [&](CSession& session) {
                return Ask(session, question(), all->output.raw);
            });
        };
    });
}

void AddQuestionFrom(CLI::App& app, Deed& deed, const char* name, const char* text,
                     Question (*question)(std::uint64_t)) {
    const auto all = std::make_shared<Common>();
    const auto from = std::make_shared<std::uint64_t>(0);
    CLI::App& command = AddReading(app, name, text, all);
    command.add_option("--from", *from, "a position: how many of them are passed over")
        ->check(CheckNumber)
        ->capture_default_str();
    command.callback([all, from, name, question, &deed] {
        deed = [all, from, name, question] {
            return Run(name, *all, [&](CSession& session) {
                return Ask(session, question(*from), all->output.raw);
            });
        };
    });
}

void AddOutcomes(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto count = std::make_shared<std::uint64_t>(1);
    CLI::App& command = AddReading(
        app, "outcomes",
        "what became of tasks; READING TAKES EACH AWAY from the product, and the connector will "
        "not report it: needs --yes",
        all);
    AddYes(command, all);
    command.add_option("--count", *count, "how many at most")
        ->check(CheckNumber)
        ->capture_default_str();
    command.callback([all, count, &deed] {
        deed = [all, count] {
            return RunIfYes(
                "outcomes", *all,
                "reading takes outcomes away from the product, and the connector will "
                "not report them",
                [&](CSession& session) { return TakeOutcomes(session, *count, all->output.raw); });
        };
    });
}

}  // namespace

void AddReadingCommands(CLI::App& app, Deed& deed) {
    AddPing(app, deed);
    AddQuestion(app, deed, "status", "what the product says of its protection", StatusQuestion);
    AddQuestion(app, deed, "policy", "the configuration that the product has", PolicyQuestion);
    AddQuestionFrom(app, deed, "indicators", "indicator records that the product keeps",
                    IndicatorsQuestion);
    AddQuestionFrom(app, deed, "telemetry", "telemetry records that the product keeps",
                    TelemetryQuestion);
    AddQuestionFrom(app, deed, "actions", "remediation actions that the product keeps",
                    ActionsQuestion);
    AddOutcomes(app, deed);
}

}  // namespace Kyr::Probe
