#include "lab/runner/Member.h"

#include <algorithm>

namespace Kyr::Lab::Runner {

namespace {

constexpr std::size_t kLastEvents = 10;

bool Fits(const FieldMatch& field, const CLine& line) {
    const std::string* const value = line.Find(field.key);
    return value != nullptr && (field.kind == FieldMatch::Kind::kEquals
                                    ? *value == field.value
                                    : value->find(field.value) != std::string::npos);
}

/// How many of the fields fit an event of the kind.
std::size_t FittingFields(const EventPattern& pattern, const CLine& line) {
    return static_cast<std::size_t>(
        std::count_if(pattern.fields.begin(), pattern.fields.end(),
                      [&](const FieldMatch& field) { return Fits(field, line); }));
}

bool Fits(const EventPattern& pattern, const CLine& line) {
    return line.Kind() == pattern.kind && FittingFields(pattern, line) == pattern.fields.size();
}

}  // namespace

std::optional<std::size_t> Member::Find(const EventPattern& pattern,
                                        std::chrono::milliseconds patience,
                                        std::optional<std::uint64_t> stamp) const {
    return actor->Find(
        stepFrom,
        [&](std::size_t place, const TimedLine& event) {
            return Fits(pattern, event.line) && taken.count(place) == 0 &&
                   (!stamp || event.stamp > stamp);
        },
        patience);
}

std::vector<std::string> Member::Around(const EventPattern& pattern) const {
    const std::vector<TimedLine> events = actor->Events();
    std::optional<std::size_t> nearest;
    for (std::size_t at = 0; at < events.size(); ++at) {
        const CLine& line = events[at].line;
        if (line.Kind() == pattern.kind &&
            (!nearest ||
             FittingFields(pattern, line) >= FittingFields(pattern, events[*nearest].line))) {
            nearest = at;
        }
    }
    std::vector<std::string> lines;
    if (nearest) {
        const char* const why = !Fits(pattern, events[*nearest].line) ? ""
                                : taken.count(*nearest) != 0          ? ", expected before"
                                : *nearest < stepFrom                 ? ", in an earlier step"
                                                                      : ", at another moment";
        lines.push_back("nearest" + std::string(why) + ": " + events[*nearest].line.Text());
    }
    lines.emplace_back("the last that was told:");
    for (std::size_t at = events.size() - std::min(events.size(), kLastEvents); at < events.size();
         ++at) {
        lines.push_back("  " + events[at].time + " " + events[at].line.Text());
    }
    return lines;
}

std::string Text(const EventPattern& pattern) {
    std::string text = pattern.kind;
    for (const FieldMatch& field : pattern.fields) {
        std::string part = CLine("").With(field.key, field.value).Text();
        if (field.kind == FieldMatch::Kind::kContains) {
            part[1 + field.key.size()] = '~';
        }
        text += part;
    }
    return text;
}

}  // namespace Kyr::Lab::Runner
