#include "lab/runner/TranscriptStreams.h"

#include <algorithm>

#include <boost/algorithm/string/predicate.hpp>

namespace Kyr::Lab::Runner {

namespace {

using boost::algorithm::starts_with;

// What the connector's watch writes to the host's log, beside the thread that processes messages.
const std::vector<std::string> kWatchTexts{"Ping failed", "Received broadcast",
                                           "Publishing request", "Regular resending"};
// What the look for new records makes the task thread write when there are none.
const std::string kNoRecords = "Empty ";
constexpr char kRequestName[] = "OvAgentRequest";
// By these numbers the watch asks for records and actions.
const std::set<std::string> kRecordRequests{"3", "4", "5"};

/// A message that was published, or the state it was in.
bool IsPublished(const CLine& line) {
    return line.Kind() == "publish" || line.Kind() == "message";
}

bool IsPing(const CLine& line) {
    return (line.Kind() == "request" && line.Value("command") == "0") ||
           (line.Kind() == "native" && line.Value("message") == "ping");
}

/// A ping's reply carries no status, since it has no bytes.
bool IsPingReply(const CLine& line) {
    return line.Kind() == "reply" && line.Value("length") == "0";
}

bool AsksForRecords(const CLine& line) {
    return line.Kind() == "request" && starts_with(line.Value("name"), "get-");
}

/// A reply whose header is all of it.
bool IsEmptyReply(const CLine& line) {
    return line.Kind() == "reply" && line.Value("status") == "0" && line.Value("length") == "12";
}

}  // namespace

const std::vector<std::string>& CTranscriptStreams::All() {
    static const std::vector<std::string> streams{
        "life",    "error",   "resource", "mapper", "subscribe", "ask",     "log",
        "publish", "message", "record",   "write",  "failed",    "deliver", "symbols",
        "native",  "request", "reply",    "did",    "watch",     kLook};
    return streams;
}

bool CTranscriptStreams::IsCollection(const CLine& line) {
    return line.Kind() == "publish" && line.Value("by") == "module" &&
           kRecordRequests.count(line.Value("request")) != 0;
}

bool CTranscriptStreams::IsOfTheWatch(const CLine& line) {
    if (line.Kind() == "log") {
        return std::any_of(kWatchTexts.begin(), kWatchTexts.end(), [&](const std::string& begin) {
            return starts_with(line.Value("text"), begin);
        });
    }
    return IsPublished(line) && line.Value("name") == kRequestName && line.Value("by") == "module";
}

std::string CTranscriptStreams::Of(const std::string& process, const CLine& line) {
    // The watch reads its settings with every look.
    if (IsPing(line) || IsPingReply(line) || line.Kind() == "read" ||
        (collected_ && IsOfACollection(process, line))) {
        return kLook;
    }
    if (IsPublished(line) && line.Value("by") == "host") {
        return "ask";
    }
    return IsOfTheWatch(line) ? "watch" : line.Kind();
}

bool CTranscriptStreams::IsOfACollection(const std::string& process, const CLine& line) {
    const std::string exchange = process + line.Value("id");
    if (AsksForRecords(line)) {
        asked_.insert(exchange);
        return true;
    }
    return IsCollection(line) || (IsEmptyReply(line) && asked_.count(exchange) != 0) ||
           (line.Kind() == "deliver" && line.Value("name") == kRequestName) ||
           (line.Kind() == "log" && starts_with(line.Value("text"), kNoRecords));
}

}  // namespace Kyr::Lab::Runner
