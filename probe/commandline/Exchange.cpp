#include "probe/commandline/Exchange.h"

#include <charconv>
#include <cstdint>
#include <exception>

#include "kelcomm/KelcommErrorReplyException.h"
#include "lab/common/CommandInput.h"
#include "probe/ProductNumbers.h"
#include "probe/commands/WrongUsage.h"
#include "probe/session/NotReached.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace {

using Connectors::Common::Kelcomm::CKelcommErrorReplyException;

// In seconds.
constexpr double kShortestTime = 0.001;
constexpr double kLongestTime = 86400;

std::string RefusalText(std::uint32_t status) {
    return "the product refuses: status " + std::to_string(status) +
           (status == kNotAnAdministratorStatus ? std::string(", ") + kNotAnAdministrator : "");
}

}  // namespace

SessionOptions Common::Session() const {
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

CLI::App& AddReading(CLI::App& app, const char* name, const char* text, const CommonPointer& all) {
    CLI::App& command = AddCommand(app, name, text, all);
    command.add_flag("--raw", all->output.raw, "the reply byte for byte, from its header on");
    return command;
}

void AddYes(CLI::App& command, const CommonPointer& all) {
    command.add_flag("--yes", all->yes,
                     "say that it shall happen: this changes something at the product");
}

Report Failed(const char* command, int exit, const char* cause, const std::string& text) {
    Report report;
    report.command = command;
    report.exit = exit;
    report.problem = Problem{cause, text};
    return report;
}

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

}  // namespace Kyr::Probe
