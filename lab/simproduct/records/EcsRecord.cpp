#include "lab/simproduct/records/EcsRecord.h"

#include <algorithm>

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/date_time/posix_time/time_formatters.hpp>
#include <boost/json.hpp>
#include <boost/locale/encoding_utf.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

namespace json = boost::json;

// The edition of the schema whose field names are used here.
constexpr char kSchema[] = "8.11.0";

json::object EventFields(const EcsEvent& event) {
    json::object fields{{"kind", event.kind},
                        {"category", json::array{event.category}},
                        {"action", event.action},
                        {"sequence", event.sequence}};
    if (!event.type.empty()) {
        fields["type"] = json::array{event.type};
    }
    return fields;
}

json::object Record(const EcsEvent& event) {
    return {{"@timestamp", IsoTime(event.time)},
            {"ecs", json::object{{"version", kSchema}}},
            {"event", EventFields(event)}};
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
    namespace date = boost::gregorian;
    namespace posix = boost::posix_time;
    const posix::ptime epoch(date::date(1970, 1, 1));
    // Added in two steps: the library's seconds have the width of a long, which may be narrow.
    const posix::ptime moment = epoch + date::days(static_cast<int>(time / 86400)) +
                                posix::seconds(static_cast<int>(time % 86400));
    return posix::to_iso_extended_string(moment) + "Z";
}

}  // namespace Kyr::Lab::SimProduct
