#include "probe/ProductCommands.h"

#include <charconv>
#include <csignal>
#include <memory>
#include <utility>

#include "kelcomm/KelcommErrorReplyException.h"
#include "probe/Input.h"
#include "probe/commands/ActionRequest.h"
#include "probe/commands/Actions.h"
#include "probe/commands/Handover.h"
#include "probe/commands/Outcomes.h"
#include "probe/commands/Ping.h"
#include "probe/commands/Policy.h"
#include "probe/commands/Records.h"
#include "probe/commands/Status.h"
#include "probe/commands/Watch.h"
#include "probe/commands/WrongUsage.h"
#include "probe/conform/Conform.h"
#include "probe/doctor/Doctor.h"
#include "probe/record/Record.h"
#include "probe/session/NotReached.h"
#include "probe/session/System.h"
#include "probe/show/Delivery.h"

namespace Kyr::Probe {

namespace {

using Connectors::Common::Kelcomm::CKelcommErrorReplyException;
using Deed = std::function<int()>;

// In seconds.
constexpr double kShortestTime = 0.001;
constexpr double kLongestTime = 86400;
constexpr std::uint32_t kNotAnAdministrator = 14;
constexpr char kNeedsYes[] = "say that it shall happen: this changes something at the product";

/// What is said of any of these commands.
struct Common {
    double seconds = 5;
    bool portLayer = false;
    OutputOptions output;
    bool yes = false;

    SessionOptions Session() const {
        SessionOptions options;
        options.timeLimit = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
        options.portLayer = portLayer;
        if (Lab::ErrorOutputIsTerminal()) {
            options.progress = [](std::chrono::seconds waited) {
                std::cerr << "waiting for the product, " << waited.count() << " s\n";
            };
        }
        return options;
    }
};

using CommonPointer = std::shared_ptr<Common>;

/// Digits alone, of a number that fits: what is negative would be taken for a large one.
std::string CheckNumber(const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && !text.empty() ? "" : "no number: " + text;
}

/// A time that can be waited for; what is not a number compares with nothing.
std::string CheckSeconds(const std::string& text) {
    double seconds = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    return isNumber && seconds >= kShortestTime && seconds <= kLongestTime
               ? ""
               : "no number of seconds from 0.001 to 86400: " + text;
}

CLI::App& AddCommand(CLI::App& app, const char* name, const char* text, const CommonPointer& all) {
    CLI::App& command = *app.add_subcommand(name, text);
    command.add_option("--timeout", all->seconds, "seconds for each exchange")
        ->check(CheckSeconds)
        ->capture_default_str();
    command.add_flag("--json", all->output.json, "for programs: one document on one line");
    if (HasTwoKindsOfPorts()) {
        command.add_flag("--port-layer", all->portLayer,
                         "ports of the layer in this program, as simproduct serves them");
    }
    return command;
}

/// Of a command whose answer comes as one reply.
CLI::App& AddReading(CLI::App& app, const char* name, const char* text, const CommonPointer& all) {
    CLI::App& command = AddCommand(app, name, text, all);
    command.add_flag("--raw", all->output.raw, "the reply byte for byte, from its header on");
    return command;
}

CLI::App& AddChange(CLI::App& app, const char* name, const char* text, const CommonPointer& all) {
    CLI::App& command = AddCommand(app, name, text, all);
    command.add_flag("--yes", all->yes, kNeedsYes);
    return command;
}

Report Failed(const char* command, int exit, const char* cause, const std::string& text) {
    Report report;
    report.command = command;
    report.exit = exit;
    report.problem = Problem{cause, text};
    return report;
}

std::string RefusalText(std::uint32_t status) {
    return "the product refuses: status " + std::to_string(status) +
           (status == kNotAnAdministrator ? ", not an administrator" : "");
}

/// Runs a command; whatever it throws becomes a report.
int Run(const char* command, const Common& all, const std::function<Report(CSession&)>& work) {
    Report report;
    try {
        CSession session(all.Session());
        report = work(session);
    } catch (const CWrongUsage& problem) {
        report = Failed(command, kWrongUsage, "wrong-usage", problem.what());
    } catch (const CNotReached& problem) {
        report = Failed(command, kNotReached, NameOf(problem.GetCause()), problem.what());
    } catch (const CKelcommErrorReplyException& refusal) {
        report = Failed(command, kSomethingFound, "refused-by-product",
                        RefusalText(refusal.GetStatus()));
    } catch (const std::exception& problem) {
        report = Failed(command, kSomethingFound, "wrong-reply", problem.what());
    }
    return Deliver(report, all.output);
}

int RunIfYes(const char* command, const Common& all, const char* without,
             const std::function<Report(CSession&)>& work) {
    return Run(command, all, [&](CSession& session) {
        if (!all.yes) {
            throw CWrongUsage(std::string(without) + "; with --yes it happens");
        }
        return work(session);
    });
}

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
    command.add_flag("--yes", all->yes, kNeedsYes);
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

void AddActionOptions(CLI::App& command, ActionOptions& options) {
    command.add_option("--sha1", options.sha1, "of the executable, 40 hexadecimal digits");
    command.add_option("--sha256", options.sha256, "of the executable, 64 hexadecimal digits");
    command.add_option("--ids", options.identifiers,
                       "three identifiers of the task with ; between them; else fresh ones");
}

void AddKill(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<ActionOptions>();
    CLI::App& command =
        AddChange(app, "kill", "has the product end a process, as the task does: needs --yes", all);
    command.add_option("--pid", options->processId, "the process")->check(CheckNumber)->required();
    AddActionOptions(command, *options);
    command.callback([all, options, &deed] {
        deed = [all, options] {
            return RunIfYes("kill", *all, "this has the product end a process",
                            [&](CSession& session) { return KillProcess(session, *options); });
        };
    });
}

void AddBlock(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<ActionOptions>();
    CLI::App& command = AddChange(
        app, "block", "has the product block an executable, as the task does: needs --yes", all);
    AddActionOptions(command, *options);
    command.add_flag("--delete", options->deleteExecutable, "has it delete the executable, too");
    command.callback([all, options, &deed] {
        deed = [all, options] {
            return RunIfYes("block", *all, "this has the product block an executable",
                            [&](CSession& session) { return BlockExecutable(session, *options); });
        };
    });
}

/// A file that cannot be read is the user's mistake.
std::string ReadGiven(const std::string& name) {
    if (name == "-") {
        UseBinaryInput();
    }
    try {
        return ReadInput(name);
    } catch (const std::exception& problem) {
        throw CWrongUsage(problem.what());
    }
}

void AddImport(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto file = std::make_shared<std::string>();
    const auto isBlob = std::make_shared<bool>(false);
    CLI::App& command = AddChange(
        app, "import", "gives the product a configuration in place of its own: needs --yes", all);
    command.add_option("file", *file, "the configuration; - is standard input")->required();
    command.add_flag("--blob", *isBlob, "the file is the blob of a policy message");
    command.callback([all, file, isBlob, &deed] {
        deed = [all, file, isBlob] {
            return RunIfYes("import", *all, "this replaces the product's configuration",
                            [&](CSession& session) {
                                return ImportConfiguration(session, ReadGiven(*file), *isBlob);
                            });
        };
    });
}

void AddAnnounce(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto uuid = std::make_shared<std::string>();
    CLI::App& command = AddChange(
        app, "announce", "tells the product which agent's instance speaks to it: needs --yes", all);
    command.add_option("uuid", *uuid, "the instance")->required();
    command.callback([all, uuid, &deed] {
        deed = [all, uuid] {
            return RunIfYes("announce", *all, "this gives the product another instance",
                            [&](CSession& session) { return AnnounceInstance(session, *uuid); });
        };
    });
}

void AddDoctor(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<DoctorOptions>();
    CLI::App& command = AddCommand(
        app, "doctor", "looks at everything: fine, doubtful or wrong, why, and what next", all);
    command.add_option("--database", options->database,
                       "of a host: positions and policy keys, too");
    command.add_option("--log", options->log, "of a host: problems in it, too");
    command.callback([all, options, &deed] {
        deed = [all, options] {
            options->session = all->Session();
            return Deliver(Examine(*options), all->output);
        };
    });
}

void AddConform(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    AddCommand(app, "conform",
               "plays the protocol against a product: what it does otherwise, for its makers", all)
        .callback([all, &deed] {
            deed = [all] { return Deliver(PlayProtocol(all->Session()), all->output); };
        });
}

Report RecordOrFail(const RecordOptions& options) {
    try {
        return RecordEndpoint(options);
    } catch (const std::exception& problem) {
        return Failed("record", kSomethingFound, "not-written", problem.what());
    }
}

void AddRecord(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto options = std::make_shared<RecordOptions>();
    CLI::App& command = AddCommand(
        app, "record",
        "writes what the product says of itself, byte for byte, for simproduct --replay", all);
    command.add_option("file", options->file, "a new file")->required();
    command.add_option("--database", options->database,
                       "of a host: records are asked for from its positions on");
    command.add_flag("--redact", options->isRedacted, "leaves out the policy and the records");
    command.add_option("--most", options->mostReplies, "replies of each kind of records, at most")
        ->capture_default_str();
    command.callback([all, options, &deed] {
        deed = [all, options] {
            options->session = all->Session();
            return Deliver(RecordOrFail(*options), all->output);
        };
    });
}

volatile std::sig_atomic_t askedToEnd = 0;

extern "C" void AskToEnd(int) {
    askedToEnd = 1;
}

int RunWatch(const Common& all, const WatchOptions& options) {
    std::signal(SIGINT, AskToEnd);
    std::signal(SIGTERM, AskToEnd);
    const auto clock = Base::SystemClock();
    const auto tell = [&](const Report& changes) {
        if (all.output.json) {
            std::cout << ToJson(changes) << std::endl;
        } else {
            WriteRows(std::cout, changes, IsOutputColoured());
            std::cout.flush();
        }
    };
    const auto isOver = [] { return askedToEnd != 0 || !std::cout.good(); };
    try {
        CSession session(all.Session());
        Watch(session, options, *clock, isOver, tell);
        return kFine;
    } catch (const CNotReached& problem) {
        return Deliver(Failed("watch", kNotReached, NameOf(problem.GetCause()), problem.what()),
                       all.output);
    } catch (const std::exception& problem) {
        return Deliver(Failed("watch", kSomethingFound, "wrong-reply", problem.what()), all.output);
    }
}

void AddWatch(CLI::App& app, Deed& deed) {
    const auto all = std::make_shared<Common>();
    const auto length = std::make_shared<double>(0);
    const auto pause = std::make_shared<double>(1);
    CLI::App& command =
        AddCommand(app, "watch",
                   "what the product publishes, as it changes, and what the connector would do; "
                   "ends with an interrupt",
                   all);
    command.add_option("--for", *length, "seconds after which it ends")->check(CheckSeconds);
    command.add_option("--every", *pause, "seconds between two looks")
        ->check(CheckSeconds)
        ->capture_default_str();
    command.callback([all, length, pause, &deed] {
        deed = [all, length, pause] {
            const auto milliseconds = [](double seconds) {
                return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
            };
            return RunWatch(*all, {milliseconds(*pause), milliseconds(*length)});
        };
    });
}

}  // namespace

void AddProductCommands(CLI::App& app, Deed& deed) {
    AddDoctor(app, deed);
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
    AddWatch(app, deed);
    AddRecord(app, deed);
    AddConform(app, deed);
    AddKill(app, deed);
    AddBlock(app, deed);
    AddImport(app, deed);
    AddAnnounce(app, deed);
}

}  // namespace Kyr::Probe
