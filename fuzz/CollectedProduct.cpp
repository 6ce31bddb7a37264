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
constexpr std::uint32_t kGetTaskStatus = 0x70;
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

void CCollectedProduct::AnswerOnce(Answer answer) {
    const Guard guard(mutex_);
    once_.push_back(std::move(answer));
}

void CCollectedProduct::AnswerAlways(std::optional<Answer> answer) {
    const Guard guard(mutex_);
    always_ = std::move(answer);
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
    std::optional<Answer> told = always_;
    if (!once_.empty()) {
        told = std::move(once_.front());
        once_.pop_front();
    }
    if (command == kXml) {
        account_.Requested(text, told ? VerdictOn(*told) : Verdict::kAccepted);
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
