#include "probe/commandline/ExaminingCommands.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <memory>

#include "probe/commands/Watch.h"
#include "probe/conform/Conform.h"
#include "probe/doctor/Doctor.h"
#include "probe/record/Record.h"
#include "probe/session/NotReached.h"

namespace Kyr::Probe {

namespace {

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
               "plays the protocol against a product, and changes nothing there: what it does "
               "otherwise, for its makers",
               all)
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
        ->check(CheckNumber)
        ->check(CLI::PositiveNumber)
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
        if (!Watch(session, options, *clock, isOver, tell) && !all.output.json) {
            std::cout << "nothing has changed since the watch began\n";
        }
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

void AddExaminingCommands(CLI::App& app, Deed& deed) {
    AddDoctor(app, deed);
    AddWatch(app, deed);
    AddRecord(app, deed);
    AddConform(app, deed);
}

}  // namespace Kyr::Probe
