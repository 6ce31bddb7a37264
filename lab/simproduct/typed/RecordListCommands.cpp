#include "lab/simproduct/typed/RecordListCommands.h"

#include <optional>
#include <stdexcept>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/records/EcsRecord.h"

namespace Kyr::Lab::SimProduct {

namespace {

constexpr char kUsage[] =
    "records [append indicator|telemetry|action [count=<n>] [size=<bytes>] [text=<text>] "
    "[type=<n>[,<n>...]]] [limit [batch=<records>] [bytes=<n>]]";

struct Option {
    const char* name;
    std::function<void(const std::string& value)> take;
};

/// Gives the value of each `name=value` from word `first` on to the option of that name.
void TakeOptions(const Words& words, std::size_t first, const std::vector<Option>& options) {
    for (std::size_t i = first; i < words.size(); ++i) {
        bool known = false;
        for (const Option& option : options) {
            if (const std::optional<std::string> value = ValueOf(words[i], option.name)) {
                option.take(*value);
                known = true;
            }
        }
        if (!known) {
            throw std::invalid_argument("not understood: " + words[i]);
        }
    }
}

std::function<void(const std::string&)> Into(std::uint64_t& number) {
    return [&number](const std::string& value) { number = ParseNumber(value); };
}

std::vector<std::int32_t> ParseTypes(const std::string& text) {
    Words words;
    boost::algorithm::split(words, text, boost::algorithm::is_any_of(","));
    std::vector<std::int32_t> types;
    for (const std::string& word : words) {
        types.push_back(static_cast<std::int32_t>(ParseNumber(word)));
    }
    return types;
}

EcsEvent SampleEvent(RecordKind kind, std::uint64_t number, std::int64_t time) {
    switch (kind) {
        case RecordKind::kIndicator:
            return {number, time, "alert", "malware", "info", "indicator-matched"};
        case RecordKind::kTelemetry:
            return {number, time, "event", "process", "info", "process-observed"};
        case RecordKind::kAction:
            break;
    }
    return {number, time, "event", "intrusion_detection", "info", "remediation"};
}

void Append(CRecordLists& lists, const Base::IClock& clock, const Words& words) {
    const auto kind = FindRecordKind(words.size() > 2 ? words[2] : "");
    if (!kind) {
        throw std::invalid_argument("a kind is indicator, telemetry or action");
    }
    std::uint64_t count = 1;
    std::uint64_t size = 0;
    std::optional<std::string> text;
    std::vector<std::int32_t> types = {kBlockAction};
    TakeOptions(words, 3,
                {{"count", Into(count)},
                 {"size", Into(size)},
                 {"text", [&](const std::string& value) { text = value; }},
                 {"type", [&](const std::string& value) { types = ParseTypes(value); }}});
    for (std::uint64_t i = 0; i < count; ++i) {
        lists.Append(*kind, [&](std::uint64_t number) {
            ProductRecord record;
            record.text = text ? *text
                               : SampleRecord(SampleEvent(*kind, number, clock.CalendarTime()),
                                              static_cast<std::size_t>(size));
            if (*kind == RecordKind::kAction) {
                record.actionType = types[static_cast<std::size_t>(i % types.size())];
            }
            return record;
        });
    }
}

void Limit(CRecordLists& lists, const Words& words) {
    BatchLimit limit = lists.Limit();
    TakeOptions(words, 2, {{"batch", Into(limit.records)}, {"bytes", Into(limit.bytes)}});
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

}  // namespace

ConsoleCommandGroup RecordListCommands(CRecordLists& lists, boost::shared_ptr<Base::IClock> clock,
                                       LineSink sink) {
    return {{"records", kUsage,
             "the records that can be fetched: how many; more of them; how many "
             "at once",
             [&lists, clock = std::move(clock), sink = std::move(sink)](const Words& words) {
                 const std::string what = words.size() > 1 ? words[1] : "";
                 if (what == "append") {
                     Append(lists, *clock, words);
                 } else if (what == "limit") {
                     Limit(lists, words);
                 } else {
                     RequireWords(words, 1);
                 }
                 sink(Answer(lists));
             }}};
}

}  // namespace Kyr::Lab::SimProduct
