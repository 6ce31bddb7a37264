#include "lab/simproduct/records/EcsRecord.h"

#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/Timestamp.h>
#include <algorithm>

#include <boost/json.hpp>
#include <boost/locale/encoding_utf.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

namespace json = boost::json;

// The edition of the schema whose field names are used here.
constexpr char kSchema[] = "8.11.0";

json::object Record(const EcsEvent& event) {
    return {{"@timestamp", IsoTime(event.time)},
            {"ecs", json::object{{"version", kSchema}}},
            {"event", json::object{{"kind", event.kind},
                                   {"category", json::array{event.category}},
                                   {"action", event.action},
                                   {"sequence", event.sequence},
                                   {"type", json::array{event.type}}}}};
}

/// Names of files may be any bytes; JSON, and the texts of protobuf, are UTF-8.
std::string Utf8(const std::string& name) {
    return boost::locale::conv::utf_to_utf<char>(name);
}

}  // namespace

std::string ProcessRecord(const EcsEvent& event, const EcsProcess& process) {
    json::object record = Record(event);
    record["process"] = json::object{{"pid", process.pid},
                                     {"parent", json::object{{"pid", process.parentPid}}},
                                     {"name", Utf8(process.name)},
                                     {"executable", Utf8(process.executable)},
                                     {"hash", json::object{{"sha256", process.sha256}}}};
    return json::serialize(record);
}

std::string SampleRecord(const EcsEvent& event, std::size_t size) {
    json::object record = Record(event);
    record["message"] = "";
    const std::size_t least = json::serialize(record).size();
    record["message"] = std::string(std::max(size, least) - least, '.');
    return json::serialize(record);
}

std::string IsoTime(std::int64_t time) {
    return Poco::DateTimeFormatter::format(Poco::Timestamp(time * Poco::Timestamp::resolution()),
                                           Poco::DateTimeFormat::ISO8601_FORMAT);
}

}  // namespace Kyr::Lab::SimProduct
