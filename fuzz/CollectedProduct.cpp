#include "fuzz/CollectedProduct.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <boost/thread/lock_guard.hpp>

#include "base/LittleEndian.h"
#include "host/proto/ov_agent.pb.h"

namespace Kyr::Fuzz {

namespace {

using Guard = boost::lock_guard<boost::mutex>;

// The product's: where the command and the body stand in a request, and its commands.
constexpr std::size_t kCommandPlace = 8;
constexpr std::size_t kBodyPlace = 12;
constexpr std::uint32_t kXml = 2;
constexpr std::uint32_t kGetStatus = 0x21;
constexpr std::uint32_t kSetPolicy = 0x6D;
constexpr std::uint32_t kGetTaskStatus = 0x70;
constexpr std::uint32_t kAgentUuid = 0x9A;
constexpr std::uint32_t kGetIndicators = 0x00100000;
constexpr std::uint32_t kGetActions = 0x00100001;
constexpr std::uint32_t kGetTelemetry = 0x00100002;

// Our own choice: few, so that a list is many batches.
constexpr std::uint64_t kBatch = 3;

constexpr char kNotBlocking = 4;
constexpr char kBlocking = 3;

/// Texts with what copies may stumble over: a zero, a character of two bytes, a line's end.
std::string TextOf(std::uint64_t number) {
    return "{\"number\":" + std::to_string(number) + std::string("\0\xC3\xBC}\n", 5);
}

/// An action as it stands on the wire: its type, and a text that only the product knows.
std::string ActionOf(char type, const std::string& text) {
    return std::string("\x08") + type + '\x12' + static_cast<char>(text.size()) + text;
}

bool Blocks(const std::string& action) {
    return action[1] == kBlocking;
}

std::string Identifier(int group, std::uint64_t number) {
    char text[37];
    std::snprintf(text, sizeof text, "0000000%d-9dad-41d1-80b4-%012llx", group,
                  static_cast<unsigned long long>(number));
    return text;
}

CCollectedProduct::Answer Reply(const std::string& payload) {
    return {0, Test::KelcommReply(0, static_cast<std::uint32_t>(payload.size()),
                                  {payload.begin(), payload.end()})};
}

/// One problem, of the product's first category.
std::string StatusText(std::uint64_t status) {
    char number[17];
    std::snprintf(number, sizeof number, "%016llx", static_cast<unsigned long long>(status));
    return std::string(
               "<TULK><SECTION><STATUS><RECORD STATUS=\"1\" "
               "CATEGORY_RES_ID=\"0710000000000301\" STATUS_RES_ID=\"") +
           number + "\"/></STATUS></SECTION></TULK>";
}

std::optional<RecordKind> CollectionOf(std::uint32_t command) {
    switch (command) {
        case kGetIndicators:
            return RecordKind::kIndicator;
        case kGetTelemetry:
            return RecordKind::kTelemetry;
        case kGetActions:
            return RecordKind::kAction;
        default:
            return std::nullopt;
    }
}

constexpr RecordKind kKinds[] = {RecordKind::kIndicator, RecordKind::kTelemetry,
                                 RecordKind::kAction};

const char* OffsetKeyOf(RecordKind kind) {
    constexpr const char* kKeys[] = {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"};
    return kKeys[static_cast<std::size_t>(kind)];
}

std::string PayloadOf(RecordKind kind, const std::vector<std::string>& batch) {
    GetEcsLogsResponse indicators;
    GetEcsTelemetryEventsResponse telemetry;
    GetRemediationActionsResponse actions;
    for (const std::string& record : batch) {
        if (kind == RecordKind::kIndicator) {
            indicators.add_logs(record);
        } else if (kind == RecordKind::kTelemetry) {
            telemetry.add_telemetrylogs(record);
        } else {
            actions.add_actions()->ParseFromString(record);
        }
    }
    return indicators.SerializeAsString() + telemetry.SerializeAsString() +
           actions.SerializeAsString();
}

/// The receiver of an earlier request may get the reply to a task, and make of it what it likes:
/// only a failure of the exchange itself, or the product's own no, is a refusal for certain.
Verdict VerdictOn(const CCollectedProduct::Answer& answer) {
    if (answer.code != 0 || answer.reply.size() < 12) {
        return Verdict::kRefused;
    }
    const auto status = Base::LoadLittleEndian<std::uint32_t>(answer.reply.data() + 4);
    return status == 0 || status == 5 || status == 18 ? Verdict::kUnclear : Verdict::kRefused;
}

}  // namespace

void CCollectedProduct::Append(RecordKind kind, int count) {
    const Guard guard(mutex_);
    auto& list = lists_[static_cast<std::size_t>(kind)];
    for (; count > 0; --count) {
        const std::uint64_t number = list.size() + 1;
        const std::string text = TextOf(number);
        const char type = number % 4 == 0 ? kNotBlocking : kBlocking;
        list.push_back(kind == RecordKind::kAction ? ActionOf(type, text) : text);
    }
}

void CCollectedProduct::Finish(std::uint32_t word, int count) {
    const Guard guard(mutex_);
    for (; count > 0; --count) {
        ++finished_;
        outcomes_.push_back(
            {Identifier(1, finished_), Identifier(2, finished_), Identifier(3, finished_), word});
    }
}

std::uint64_t CCollectedProduct::ChangeStatus() {
    const Guard guard(mutex_);
    return ++status_;
}

void CCollectedProduct::AnswerOnce(Answer answer) {
    const Guard guard(mutex_);
    once_.push_back(std::move(answer));
}

void CCollectedProduct::AnswerAlways(std::optional<Answer> answer) {
    const Guard guard(mutex_);
    always_ = std::move(answer);
}

void CCollectedProduct::AnswerByItself() {
    const Guard guard(mutex_);
    always_.reset();
    once_.clear();
}

CCollectedProduct::Answer CCollectedProduct::Serve(const Request& request) {
    const Guard guard(mutex_);
    const std::string text(request.bytes.begin(), request.bytes.end());
    const auto command =
        Base::LoadLittleEndian<std::uint32_t>(request.bytes.data() + kCommandPlace);
    const auto kind = CollectionOf(command);
    if (command == kGetTaskStatus) {
        account_.ExpectOutcomeTold();
    }
    reports_.ExpectStatusTold();
    std::optional<Answer> told = always_;
    if (!once_.empty()) {
        told = std::move(once_.front());
        once_.pop_front();
    }
    if (command != kXml) {
        statusListens_ = command == kGetStatus;  // all others replace or remove the receiver
    }
    const bool isOverheard = command == kXml && statusListens_;
    overheard_ += isOverheard ? 1 : 0;
    const Verdict verdict = told          ? VerdictOn(*told)
                            : isOverheard ? Verdict::kUnclear
                                          : Verdict::kAccepted;
    if (command == kSetPolicy) {
        account_.PolicyCame(text.substr(kBodyPlace), verdict);
    } else {
        account_.ExpectNoPolicyDue();
    }
    if (command == kXml) {
        account_.Requested(text, verdict);
    } else if (command == kAgentUuid && !told) {
        account_.Met();
    }
    if (told) {
        // Whoever asked for records before may get the reply to a request that nobody waits for.
        account_.AnsweredUnclearly();
        return *told;
    }
    if (kind) {
        GetEcsLogsRequest body;  // all three are alike
        body.ParseFromString(text.substr(kBodyPlace));
        return HandOut(*kind, body.offset());
    }
    if (command == kGetStatus) {
        reports_.StatusHandedOut(status_);
        return Reply(StatusText(status_));
    }
    return command == kGetTaskStatus ? HandOutOutcome() : Reply("");
}

CCollectedProduct::Answer CCollectedProduct::HandOut(RecordKind kind, std::uint64_t offset) {
    const auto& list = lists_[static_cast<std::size_t>(kind)];
    const std::uint64_t first = std::min<std::uint64_t>(offset, list.size());
    const std::uint64_t count = std::min<std::uint64_t>(kBatch, list.size() - first);
    const auto begin = list.begin() + static_cast<std::ptrdiff_t>(first);
    const std::vector<std::string> batch(begin, begin + static_cast<std::ptrdiff_t>(count));
    if (batch.empty()) {
        // No payload: there is nothing to be stored.
        account_.AnsweredUnclearly();
        return Reply("");
    }
    std::vector<std::string> stored = batch;
    if (kind == RecordKind::kAction) {
        stored.erase(std::remove_if(stored.begin(), stored.end(),
                                    [](const std::string& action) { return !Blocks(action); }),
                     stored.end());
    }
    account_.HandedOut(kind, offset, stored, count);
    return Reply(PayloadOf(kind, batch));
}

std::vector<std::string> CCollectedProduct::Left(RecordKind kind,
                                                 const Test::CFakeKeyValues& offsets) const {
    const auto& list = lists_[static_cast<std::size_t>(kind)];
    const std::string offset = offsets.Text(OffsetKeyOf(kind));
    const std::uint64_t first = offset.empty() ? 0 : std::stoull(offset);
    if (first > list.size()) {
        Broken("an offset is ahead of all that there is");
    }
    const auto begin = list.begin() + static_cast<std::ptrdiff_t>(first);
    const bool waits = kind == RecordKind::kAction && std::none_of(begin, list.end(), Blocks);
    return {waits ? list.end() : begin, list.end()};
}

std::uint64_t CCollectedProduct::Overheard() const {
    const Guard guard(mutex_);
    return overheard_;
}

int CCollectedProduct::BatchesLeft(const Test::CFakeKeyValues& offsets) const {
    const Guard guard(mutex_);
    std::size_t most = 0;
    for (const RecordKind kind : kKinds) {
        most = std::max(most, Left(kind, offsets).size());
    }
    return static_cast<int>((most + kBatch - 1) / kBatch);
}

void CCollectedProduct::ExpectNothingLeft(const Test::CFakeKeyValues& offsets) const {
    const Guard guard(mutex_);
    for (const RecordKind kind : kKinds) {
        if (!Left(kind, offsets).empty()) {
            Broken("records were not collected in time");
        }
        const std::string offset = offsets.Text(OffsetKeyOf(kind));
        const auto& list = lists_[static_cast<std::size_t>(kind)];
        for (std::uint64_t i = 0; i < (offset.empty() ? 0 : std::stoull(offset)); ++i) {
            if (kind != RecordKind::kAction || Blocks(list[i])) {
                account_.ExpectStored(kind, list[i]);
            }
        }
    }
    if (!outcomes_.empty()) {
        Broken("outcomes were not asked for in time");
    }
    account_.ExpectOutcomeTold();
}

CCollectedProduct::Answer CCollectedProduct::HandOutOutcome() {
    if (outcomes_.empty()) {
        return Reply("");
    }
    const Outcome outcome = outcomes_.front();
    outcomes_.pop_front();
    account_.OutcomeHandedOut(outcome);
    std::string payload(12, '\0');
    payload[4] = static_cast<char>(outcome.word);
    payload[8] = 12;  // where the text begins
    for (const char character : outcome.first + ';' + outcome.second + ';' + outcome.third) {
        payload += {character, '\0'};
    }
    return Reply(payload + std::string(2, '\0'));
}

}  // namespace Kyr::Fuzz
