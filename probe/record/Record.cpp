#include "probe/record/Record.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/hex.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>
#include <nlohmann/json.hpp>

#include "kelcomm/KelcommErrorReplyException.h"
#include "probe/NewFile.h"
#include "probe/commands/Actions.h"
#include "probe/commands/Policy.h"
#include "probe/commands/Records.h"
#include "probe/commands/Status.h"
#include "probe/doctor/DatabaseChecks.h"
#include "probe/doctor/Doctor.h"
#include "probe/session/NotReached.h"
#include "probe/session/Registration.h"
#include "probe/session/Session.h"

namespace Kyr::Probe {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormVersion = 1;

template <typename Container>
std::string Hex(const Container& bytes) {
    std::string digits;
    digits.reserve(bytes.size() * 2);
    boost::algorithm::hex_lower(bytes.begin(), bytes.end(), std::back_inserter(digits));
    return digits;
}

using SteadyTime = std::chrono::steady_clock;

/// Asks the product and keeps what it says.
class CAnswers {
  public:
    explicit CAnswers(const RecordOptions& options)
        : isRedacted_(options.isRedacted),
          mostReplies_(options.mostReplies),
          progress_(options.session.progress),
          session_(options.session) {
        summary_.command = "record";
        summary_.columns = {{"request"}, {"bytes"}, {"reply", true}};
    }

    /// The product's protection; carries no contents of records.
    void KeepStatus() { Keep(StatusQuestion(), false); }
    void KeepPolicy() { Keep(PolicyQuestion(), isRedacted_); }
    /// As the connector asks: each request begins behind the records of the reply before.
    void KeepRecords(Question (*question)(std::uint64_t), std::uint64_t from) {
        for (std::uint64_t replies = 0; replies < mostReplies_; ++replies) {
            const std::size_t count = Keep(question(from), isRedacted_);
            if (count == 0) {
                return;
            }
            from += count;
        }
    }

    Json& Rows() { return rows_; }
    const Report& Summary() const { return summary_; }

  private:
    /// How many rows the reply has; 0 when it has none, or is none.
    std::size_t Keep(const Question& question, bool isLeftOut) {
        Json row = {{"name", question.command}, {"request", Hex(question.request)}};
        row["reply"] = nullptr;
        std::uint64_t length = 0;
        std::size_t count = 0;
        std::string said;
        try {
            const Bytes reply = session_.Exchange(question.request);
            length = reply.size();
            row["length"] = length;
            if (!isLeftOut) {
                row["reply"] = Hex(reply);
            }
            said = isLeftOut ? "left out" : "kept";
            count = RowsIn(reply, question);
        } catch (const Connectors::Common::Kelcomm::CKelcommErrorReplyException& refusal) {
            row["refused"] = refusal.GetStatus();
            said = "refused, status " + std::to_string(refusal.GetStatus());
        } catch (const CNotReached&) {
            throw;
        } catch (const std::exception& problem) {
            row["problem"] = problem.what();
            said = problem.what();
        }
        TellProgress();
        rows_.push_back(std::move(row));
        summary_.rows.push_back({question.command, length, said});
        return count;
    }

    /// A session tells of one long exchange; this of many short ones.
    void TellProgress() {
        const auto gone =
            std::chrono::duration_cast<std::chrono::seconds>(SteadyTime::now() - begin_);
        if (progress_ && gone > told_) {
            told_ = gone;
            progress_(gone);
        }
    }

    static std::size_t RowsIn(const Bytes& reply, const Question& question) {
        Report told;
        try {
            question.tell(reply, told);
        } catch (const std::exception&) {
            return 0;  // it is kept as it is; nobody could tell where the next one begins
        }
        return told.problem ? 0 : told.rows.size();
    }

    const bool isRedacted_;
    const std::uint64_t mostReplies_;
    const Progress progress_;
    const SteadyTime::time_point begin_ = SteadyTime::now();
    std::chrono::seconds told_{0};
    CSession session_;
    Json rows_ = Json::array();
    Report summary_;
};

void KeepAll(const StoredValues& positions, CAnswers& answers) {
    answers.KeepStatus();
    answers.KeepPolicy();
    answers.KeepRecords(IndicatorsQuestion, positions.indicators);
    answers.KeepRecords(TelemetryQuestion, positions.telemetry);
    answers.KeepRecords(ActionsQuestion, positions.actions);
}

StoredValues PositionsOf(const std::string& database) {
    Checks ignored;  // doctor tells them
    return database.empty() ? StoredValues() : CheckDatabase(database, ignored);
}

void Write(std::ofstream& file, const std::string& path, const Json& document) {
    file << document.dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path + " to its end");
    }
}

}  // namespace

Report RecordEndpoint(const RecordOptions& options) {
    MakeNewFile("a recording", options.file);
    std::ofstream file(options.file, std::ios::binary);
    const auto now = boost::posix_time::second_clock::universal_time();
    const Registration registration = ReadRegistration();
    Json document = {{"ov-recording", kFormVersion},
                     {"taken", boost::posix_time::to_iso_extended_string(now) + "Z"},
                     {"by", "ovprobe " KYR_VERSION},
                     {"redacted", options.isRedacted}};
    document["build"] = registration.build ? Json(*registration.build) : Json(nullptr);
    const AreaSnapshot area = LookAtArea(options.session);
    document["area"] = area.image.empty() ? Json(nullptr) : Json(Hex(area.image));

    CAnswers answers(options);
    std::optional<Problem> problem;
    try {
        KeepAll(PositionsOf(options.database), answers);
    } catch (const CNotReached& missing) {
        problem = Problem{NameOf(missing.GetCause()), missing.what()};
    }
    document["answers"] = std::move(answers.Rows());
    const Report doctor = Examine({options.session, options.database, ""}, area);
    document["doctor"] = Json::parse(ToJson(doctor)).at("rows");
    Write(file, options.file, document);

    Report report = answers.Summary();
    report.problem = std::move(problem);
    report.exit = report.problem ? kNotReached : kFine;
    report.notes.push_back("Written to " + options.file + '.');
    report.notes.emplace_back(
        report.rows.empty()  ? "It has no answer of the product."
        : options.isRedacted ? "Policy and records are left out."
                             : "It carries the policy and the records as they are; --redact leaves "
                               "them out.");
    return report;
}

}  // namespace Kyr::Probe
