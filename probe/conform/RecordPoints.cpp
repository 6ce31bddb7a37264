#include "probe/conform/RecordPoints.h"

#include <exception>
#include <limits>
#include <optional>
#include <utility>

#include "base/LittleEndian.h"
#include "probe/commands/Actions.h"
#include "probe/commands/Policy.h"
#include "probe/commands/Records.h"
#include "probe/commands/Status.h"
#include "probe/decode/Decode.h"
#include "probe/session/NotReached.h"
#include "probe/session/Session.h"

namespace Kyr::Probe {

namespace {

// Behind all that any product has.
constexpr std::uint64_t kBehindAll = std::uint64_t{1} << 62U;

/// The first field of a reply that is wrong, which the connector may well pass over; empty: none.
std::string WrongField(const std::string& reply, const Question& question) {
    // What is asked for is the third word of a request's header.
    const auto command = Base::LoadLittleEndian<std::uint32_t>(question.request.data() + 8);
    for (const Field& field : Decode(reply, "reply", command).fields) {
        if (!field.wrong.empty()) {
            return field.name + ": " + field.wrong;
        }
    }
    return "";
}

class CReplyPoints {
  public:
    CReplyPoints(const SessionOptions& options, Checks& points)
        : session_(options), points_(points) {}

    void TryReadable(const std::string& point, const Question& question) {
        if (const auto told = Told(point, question)) {
            Tell(point, "", std::to_string(told->rows.size()) + " rows");
        }
    }

    /// Positions count records from the first that the product ever had; reading takes none away.
    void TryRecords(const std::string& kind, Question (*question)(std::uint64_t)) {
        const auto all = Told(kind, question(0));
        if (!all) {
            return;
        }
        Tell(kind, "", std::to_string(all->rows.size()) + " from position 0 on");
        const std::string again = kind + " read twice";
        if (const auto repeated = Told(again, question(0))) {
            // More may have come meanwhile; those that were there stay.
            Tell(again,
                 repeated->rows.size() < all->rows.size() || !IsSame(*all, *repeated, 0)
                     ? "other records than at first: reading must take none away"
                     : "",
                 "the same records");
        }
        if (all->rows.size() >= 2) {
            const std::string behind = kind + " from position 1 on";
            if (const auto rest = Told(behind, question(1))) {
                Tell(behind,
                     rest->rows.empty() || !IsSame(*all, *rest, 1)
                         ? "the first of them is not the second of all"
                         : "",
                     "begin with the second of all");
            }
        }
        const std::string end = kind + " behind the last";
        if (const auto none = Told(end, question(kBehindAll))) {
            Tell(end, none->rows.empty() ? "" : "there are some", "none, and no failure");
        }
    }

  private:
    void Tell(const std::string& point, const std::string& problem, const std::string& fine) {
        points_.push_back({problem.empty() ? Verdict::kFine : Verdict::kWrong, point,
                           problem.empty() ? fine : problem, ""});
    }

    /// What a reply tells; nothing when it is none, which is told then.
    std::optional<Report> Told(const std::string& point, const Question& question) {
        std::string problem;
        try {
            Report report = Ask(session_, question, false);
            problem = report.problem ? report.problem->text : WrongField(report.raw, question);
            if (problem.empty()) {
                return report;
            }
        } catch (const std::exception& failure) {
            problem = failure.what();
        }
        Tell(point, problem, "");
        return std::nullopt;
    }

    /// Whether the rows of `later` are those of `first` from `skipped` on, as far as both go. The
    /// first column is the position.
    static bool IsSame(const Report& first, const Report& later, std::size_t skipped) {
        for (std::size_t row = 0; row < later.rows.size() && row + skipped < first.rows.size();
             ++row) {
            if (later.rows[row] != first.rows[row + skipped]) {
                return false;
            }
        }
        return true;
    }

    CSession session_;
    Checks& points_;
};

}  // namespace

void TryReplies(const SessionOptions& options, const Registration& registration, Checks& points) {
    const std::int64_t build =
        registration.build.value_or(std::numeric_limits<std::int64_t>::max());
    CReplyPoints replies(options, points);
    replies.TryReadable("protection status", StatusQuestion());
    replies.TryReadable("configuration", PolicyQuestion());
    if (build >= kFirstBuildWithIndicators) {
        replies.TryRecords("indicators", IndicatorsQuestion);
    }
    if (build >= kFirstBuildWithTelemetry) {
        replies.TryRecords("telemetry", TelemetryQuestion);
    }
    replies.TryRecords("actions", ActionsQuestion);
}

}  // namespace Kyr::Probe
