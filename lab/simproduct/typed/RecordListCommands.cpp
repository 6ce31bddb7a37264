#include <algorithm>
#include <stdexcept>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "lab/simproduct/records/EcsRecord.h"
#include "lab/simproduct/typed/TypedCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

// What one command appends at most (our choice): much for a connector, little for a computer.
constexpr std::uint64_t kMostRecords = 100000;
constexpr std::uint64_t kMostBytes = std::uint64_t{256} * 1024 * 1024;

std::vector<std::int32_t> ParseTypes(const std::string& text) {
    std::vector<std::string> words;
    boost::algorithm::split(words, text, boost::algorithm::is_any_of(","));
    std::vector<std::int32_t> types;
    types.reserve(words.size());
    for (const std::string& word : words) {
        types.push_back(static_cast<std::int32_t>(ParseNumber(word)));
    }
    return types;
}

EcsEvent SampleEvent(RecordKind kind, std::uint64_t number, std::int64_t time) {
    const auto event = [&](const char* what, const char* category, const char* action) {
        return EcsEvent{number, time, what, category, "info", action};
    };
    return kind == RecordKind::kIndicator   ? event("alert", "malware", "indicator-matched")
           : kind == RecordKind::kTelemetry ? event("event", "process", "process-observed")
                                            : event("event", "intrusion_detection", "remediation");
}

void Append(CRecordLists& lists, const Base::IClock& clock, CCommandWords& words,
            const std::function<bool()>& isAskedToEnd) {
    const auto kind = FindRecordKind(words.TakeWord("kind"));
    if (!kind) {
        throw std::invalid_argument("a kind is indicator, telemetry or action");
    }
    const std::uint64_t count = words.TakeNumber("count", kMostRecords).value_or(1);
    const std::uint64_t size =
        words.TakeNumber("size", kMostBytes / std::max<std::uint64_t>(count, 1)).value_or(0);
    const auto typeText = words.TakeValue("type");
    words.Finish();
    const std::vector<std::int32_t> types =
        typeText ? ParseTypes(*typeText) : std::vector<std::int32_t>{kBlockAction};
    for (std::uint64_t i = 0; i < count; ++i) {
        if (isAskedToEnd()) {
            throw std::runtime_error("given up after " + std::to_string(i) + " records");
        }
        lists.Append(*kind, [&](std::uint64_t number) {
            ProductRecord record;
            record.text = SampleRecord(SampleEvent(*kind, number, clock.CalendarTime()),
                                       static_cast<std::size_t>(size));
            if (*kind == RecordKind::kAction) {
                record.actionType = types[static_cast<std::size_t>(i % types.size())];
            }
            return record;
        });
    }
}

void SetLimit(CRecordLists& lists, CCommandWords& words) {
    BatchLimit limit = lists.Limit();
    limit.records = words.TakeNumber("batch").value_or(limit.records);
    limit.bytes = words.TakeNumber("bytes").value_or(limit.bytes);
    words.Finish();
    lists.SetLimit(limit);
}

CLine Answer(const CRecordLists& lists) {
    CLine answer = AnswerTo("records");
    for (const RecordKind kind : kRecordKinds) {
        answer.With(NameOf(kind), lists.Count(kind));
    }
    const BatchLimit limit = lists.Limit();
    return answer.With("batch", limit.records).With("bytes", limit.bytes);
}

void Live(CLiveTelemetry& telemetry, CCommandWords& words, const LineSink& tell) {
    const std::string what = words.TakeWord("state, on or off,");
    words.Finish();
    if (what != "on" && what != "off") {
        throw std::invalid_argument("live is on or off");
    }
    telemetry.Switch(what == "on");
    tell(AnswerTo("live").With("state", what));
}

}  // namespace

ConsoleCommandGroup RecordListCommands(CRecordLists& lists, CLiveTelemetry& telemetry,
                                       boost::shared_ptr<Base::IClock> clock,
                                       std::function<bool()> isAskedToEnd) {
    return {
        {"records",
         "[append indicator|telemetry|action [count=<n>] [size=<bytes>] [type=<n>[,<n>...]] | "
         "limit [batch=<records>] [bytes=<n>]]",
         "Tells how many records can be fetched; appends up to 100000, of up to 268435456 bytes "
         "in all; limits what one reply carries.",
         [&lists, clock = std::move(clock), isAskedToEnd = std::move(isAskedToEnd)](
             CCommandWords& words, const LineSink& tell) {
             if (words.TakeFlag("append")) {
                 Append(lists, *clock, words, isAskedToEnd);
             } else if (words.TakeFlag("limit")) {
                 SetLimit(lists, words);
             }
             words.Finish();
             tell(Answer(lists));
         }},
        {"live", "on|off", "Makes telemetry of the processes that this product starts.",
         [&telemetry](CCommandWords& words, const LineSink& tell) {
             Live(telemetry, words, tell);
         }}};
}

}  // namespace Kyr::Lab::SimProduct
