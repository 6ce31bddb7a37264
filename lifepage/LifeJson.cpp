#include "lifepage/LifeJson.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <nlohmann/json.hpp>

namespace Kyr::LifePage {

namespace {

using Json = nlohmann::ordered_json;

// Of a longer reply the first ones: its layout tells the rest.
constexpr std::size_t kShownBytes = 4096;

const char* Name(Lane lane) {
    constexpr std::array<const char*, 7> kNames{"host", "bus",     "task", "watch",
                                                "wire", "product", "area"};
    return kNames[static_cast<std::size_t>(lane)];
}

const char* Name(Task::State state) {
    constexpr std::array<const char*, 11> kNames{"given",
                                                 "asked",
                                                 "accepted",
                                                 "accepted-not-done",
                                                 "failing",
                                                 "done",
                                                 "done-with-warning",
                                                 "failed",
                                                 "given-up",
                                                 "dropped",
                                                 "told"};
    return kNames[static_cast<std::size_t>(state)];
}

/// Milliseconds, to the thousandth.
double Number(Moment moment) {
    return std::round(static_cast<double>(moment.count()) / 1e3) / 1e3;
}

std::string Hex(const std::string& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (std::size_t at = 0; at < std::min(bytes.size(), kShownBytes); ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0x0F];
    }
    return hex;
}

Json Pairs(const std::vector<std::pair<std::string, std::string>>& pairs) {
    Json json = Json::array();
    for (const auto& [key, value] : pairs) {
        json.push_back(Json::array({key, value}));
    }
    return json;
}

/// Defined behind what makes JSON of the elements.
template <typename Element>
Json List(const std::vector<Element>& elements);

Json Of(const Process& process) {
    return {{"name", process.name},
            {"from", Number(process.from)},
            {"until", Number(process.until)},
            {"end", process.end}};
}

Json Of(const Step& step) {
    return {{"from", Number(step.from)},
            {"until", Number(step.until)},
            {"text", step.text},
            {"held", step.end == Step::End::kHeld},
            {"failure", step.failure}};
}

Json Of(const Part& part) {
    Json json = Json::array({part.offset, part.length, part.name, part.value});
    if (!part.wrong.empty()) {
        json.push_back(part.wrong);
    }
    return json;
}

Json Of(const Row& row) {
    return {{"name", row.name}, {"symbols", Pairs(row.symbols)}};
}

Json Of(const Event& event) {
    Json json{{"at", Number(event.at)},
              {"lane", Name(event.lane)},
              {"kind", event.kind},
              {"process", event.process},
              {"weight", static_cast<int>(event.weight)},
              {"text", event.text}};
    if (event.level != 0) {
        json["level"] = event.level;
    }
    if (!event.fields.empty()) {
        json["fields"] = Pairs(event.fields);
    }
    if (!event.rows.empty()) {
        json["rows"] = List(event.rows);
    }
    if (!event.bytes.empty()) {
        json["bytes"] = Hex(event.bytes);
        json["length"] = event.bytes.size();
    }
    if (!event.parts.empty()) {
        json["parts"] = List(event.parts);
    }
    if (event.answers) {
        json["answers"] = *event.answers;
    }
    if (event.message) {
        json["message"] = *event.message;
    }
    if (!event.tasks.empty()) {
        json["tasks"] = event.tasks;
    }
    return json;
}

Json Of(const Station& station) {
    return {{"at", Number(station.at)},
            {"text", station.text},
            {"weight", static_cast<int>(station.weight)},
            {"event", station.event}};
}

Json Of(const Task& task) {
    return {{"what", task.what},         {"identifiers", task.identifiers},
            {"from", Number(task.from)}, {"until", Number(task.until)},
            {"attempts", task.attempts}, {"state", Name(task.state)},
            {"why", task.why},           {"road", List(task.road)}};
}

Json Of(const Batch& batch) {
    return {{"at", Number(batch.at)},
            {"from", batch.from},
            {"records", batch.records},
            {"event", batch.event}};
}

Json Of(const std::optional<std::uint64_t>& count) {
    return count ? Json(*count) : Json();
}

Json Of(const Records& records) {
    return {{"kind", records.kind},         {"sent", Of(records.sent)},
            {"stored", Of(records.stored)}, {"twice", Of(records.twice)},
            {"lost", Of(records.lost)},     {"batches", List(records.batches)}};
}

Json Of(const Outage& outage) {
    return {{"from", Number(outage.from)},
            {"until", Number(outage.until)},
            {"over", outage.over},
            {"first", outage.first},
            {"host-stopped", outage.hostStopped},
            {"cause", outage.cause},
            {"attempts", outage.attempts},
            {"event", outage.event}};
}

Json Of(const NeutralLine& line) {
    return Json::array({line.text, line.event ? Json(*line.event) : Json()});
}

Json Of(const Life& life) {
    const auto begin =
        std::chrono::duration_cast<std::chrono::milliseconds>(life.begin.time_since_epoch());
    Json json{{"title", life.title},
              {"told-by", life.toldBy},
              {"begin", begin.count()},
              {"length", Number(life.length)},
              {"processes", List(life.processes)},
              {"steps", List(life.steps)},
              {"events", List(life.events)},
              {"tasks", List(life.tasks)},
              {"records", List(life.records)},
              {"outages", List(life.outages)},
              {"neutral", List(life.neutral)}};
    if (life.clock != Clock::kDate) {
        json["clock"] = life.clock == Clock::kTimeOfDay ? "time-of-day" : "order";
    }
    return json;
}

template <typename Element>
Json List(const std::vector<Element>& elements) {
    Json json = Json::array();
    for (const Element& element : elements) {
        json.push_back(Of(element));
    }
    return json;
}

}  // namespace

std::string ToJson(const std::vector<Life>& lives) {
    const Json document{{"form", "life-of-a-connector"}, {"version", 1}, {"lives", List(lives)}};
    const std::string plain = document.dump(-1, ' ', true, Json::error_handler_t::replace);
    // These stand in strings only, where their numbers mean the same.
    std::string escaped;
    escaped.reserve(plain.size());
    for (const char byte : plain) {
        switch (byte) {
            case '<':
                escaped += "\\u003c";
                break;
            case '>':
                escaped += "\\u003e";
                break;
            case '&':
                escaped += "\\u0026";
                break;
            default:
                escaped += byte;
        }
    }
    return escaped;
}

}  // namespace Kyr::LifePage
