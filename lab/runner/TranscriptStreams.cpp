#include "lab/runner/TranscriptStreams.h"

#include <algorithm>

namespace Kyr::Lab::Runner {

namespace {

// What the connector's watch writes to the host's log, beside the thread that processes messages.
const std::vector<std::string> kWatchTexts{"Ping failed", "Received broadcast",
                                           "Publishing request", "Regular resending"};
// What the look for new records makes the task thread write when there are none.
const std::string kNoRecords = "Empty ";
constexpr char kRequestName[] = "OvAgentRequest";
// By these numbers the watch asks for records and actions.
const std::set<std::string> kRecordRequests{"3", "4", "5"};

bool Has(const CLine& line, const char* key, const std::string& value) {
    const std::string* const found = line.Find(key);
    return found != nullptr && *found == value;
}

bool Begins(const CLine& line, const char* key, const std::string& begin) {
    const std::string* const found = line.Find(key);
    return found != nullptr && found->compare(0, begin.size(), begin) == 0;
}

/// A message that was published, or the state it was in.
bool IsPublished(const CLine& line) {
    return line.Kind() == "publish" || line.Kind() == "message";
}

bool IsPing(const CLine& line) {
    return (line.Kind() == "request" && Has(line, "command", "0")) ||
           (line.Kind() == "native" && Has(line, "message", "ping"));
}

/// A ping's reply carries no status, since it has no bytes.
bool IsPingReply(const CLine& line) {
    return line.Kind() == "reply" && Has(line, "length", "0");
}

bool AsksForRecords(const CLine& line) {
    return line.Kind() == "request" && Begins(line, "name", "get-");
}

/// A reply whose header is all of it.
bool IsEmptyReply(const CLine& line) {
    return line.Kind() == "reply" && Has(line, "status", "0") && Has(line, "length", "12");
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
    const std::string* const number = line.Find("request");
    return line.Kind() == "publish" && Has(line, "by", "module") && number != nullptr &&
           kRecordRequests.count(*number) != 0;
}

bool CTranscriptStreams::IsOfTheWatch(const CLine& line) {
    if (line.Kind() == "log") {
        return std::any_of(kWatchTexts.begin(), kWatchTexts.end(),
                           [&](const std::string& begin) { return Begins(line, "text", begin); });
    }
    return IsPublished(line) && Has(line, "name", kRequestName) && Has(line, "by", "module");
}

std::string CTranscriptStreams::Of(const std::string& process, const CLine& line) {
    // The watch reads its settings with every look.
    if (IsPing(line) || IsPingReply(line) || line.Kind() == "read" ||
        (collected_ && IsOfACollection(process, line))) {
        return kLook;
    }
    if (IsPublished(line) && Has(line, "by", "host")) {
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
           (line.Kind() == "deliver" && Has(line, "name", kRequestName)) ||
           (line.Kind() == "log" && Begins(line, "text", kNoRecords));
}

}  // namespace Kyr::Lab::Runner
