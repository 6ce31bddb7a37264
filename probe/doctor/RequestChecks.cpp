#include "probe/doctor/RequestChecks.h"

#include <exception>

#include "kelcomm/KelcommErrorReplyException.h"
#include "probe/ProductNumbers.h"
#include "probe/commands/Actions.h"
#include "probe/commands/Policy.h"
#include "probe/commands/Records.h"
#include "probe/commands/Status.h"
#include "probe/session/NotReached.h"

namespace Kyr::Probe {

using Connectors::Common::Kelcomm::CKelcommErrorReplyException;

namespace {

constexpr char kActions[] = "actions";

Check Refused(const std::string& name, std::uint32_t status) {
    std::string why = "the product refuses the request with status " + std::to_string(status);
    std::string next = "see the product's own log";
    if (status == kNotAnAdministratorStatus) {
        // It is ovprobe that was refused; of the host's rights this says what they have in common.
        why += std::string(": ovprobe is ") + kNotAnAdministrator +
               "; a host that runs as this user likely meets the same";
        next = "run ovprobe as an administrator, and the host, too";
    } else if (status == kUnknownRequestStatus) {
        why += ": it does not know it, and is older than this task";
        next = "upgrade the product";
    }
    return {Verdict::kWrong, name, why, next};
}

/// Of the build nobody sees whether a product has remediation actions, and the connector asks any
/// one, if the host's policy switches them on. So a product without them may be as it should.
Check Unknown(const Check& refused) {
    return {Verdict::kDoubtful, refused.name, refused.why,
            "see with --database whether the host's policy switches them on; only then upgrade the "
            "product"};
}

std::string Counted(std::size_t count, const std::string& what) {
    return count == 0 ? "answered, without " + what
                      : std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

class CRequests {
  public:
    CRequests(const SessionOptions& options, bool mayLackActions, Checks& checks)
        : session_(options), checks_(checks), mayLackActions_(mayLackActions) {}

    /// Tells whether the question was answered, and how many rows there are.
    void Try(const std::string& name, const Question& question, const std::string& unit) {
        if (const auto rows = Rows(name, question)) {
            checks_.push_back({Verdict::kFine, name, Counted(*rows, unit), ""});
        }
    }

    /// The same at a stored position: the record before it must be there.
    template <typename MakeQuestion>
    void TryAt(const std::string& name, std::uint64_t position, MakeQuestion make) {
        const auto rows = Rows(name, make(position == 0 ? 0 : position - 1));
        if (!rows) {
            return;
        }
        if (position != 0 && *rows == 0) {
            checks_.push_back({Verdict::kDoubtful, name,
                               "the product has fewer of them than the stored position " +
                                   std::to_string(position),
                               "if it was installed anew, take the position back to 0"});
            return;
        }
        checks_.push_back(
            {Verdict::kFine, name, "served from position " + std::to_string(position) + " on", ""});
    }

  private:
    std::optional<std::size_t> Rows(const std::string& name, const Question& question) {
        if (isSilent_) {
            return std::nullopt;  // each would take the whole time limit
        }
        try {
            const Report report = Ask(session_, question, false);
            if (!report.problem) {
                return report.rows.size();
            }
            checks_.push_back({Verdict::kWrong, name, report.problem->text,
                               "see the product's own log: the connector cannot use this reply"});
        } catch (const CNotReached& problem) {
            isSilent_ = problem.GetCause() == Cause::kNotAnswering;
            checks_.push_back({Verdict::kWrong, name, problem.what(),
                               "restart the product: the connector waits for it without end"});
        } catch (const CKelcommErrorReplyException& refusal) {
            const Check refused = Refused(name, refusal.GetStatus());
            const bool mayBeSo =
                mayLackActions_ && name == kActions && refusal.GetStatus() == kUnknownRequestStatus;
            checks_.push_back(mayBeSo ? Unknown(refused) : refused);
        } catch (const std::exception& problem) {
            checks_.push_back({Verdict::kWrong, name, problem.what(),
                               "see the product's own log: the connector cannot use this reply"});
        }
        return std::nullopt;
    }

    CSession session_;
    Checks& checks_;
    const bool mayLackActions_;
    bool isSilent_ = false;
};

}  // namespace

void CheckRequests(const SessionOptions& options, const Registration& registration,
                   const StoredValues& stored, Checks& checks) {
    CRequests requests(options, !stored.actionsEnabled.has_value(), checks);
    requests.Try("protection status", StatusQuestion(), "component");
    requests.Try("configuration", PolicyQuestion(), "line");
    const std::int64_t build = registration.build.value_or(0);
    if (build >= kFirstBuildWithIndicators) {
        requests.TryAt("indicators", stored.indicators, IndicatorsQuestion);
    }
    if (build >= kFirstBuildWithTelemetry) {
        requests.TryAt("telemetry", stored.telemetry, TelemetryQuestion);
    }
    if (stored.actionsEnabled.value_or(true)) {
        requests.TryAt(kActions, stored.actions, ActionsQuestion);
    }
}

}  // namespace Kyr::Probe
