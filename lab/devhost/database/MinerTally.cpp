#include "lab/devhost/database/MinerTally.h"

#include <algorithm>
#include <google/protobuf/unknown_field_set.h>

#include <boost/json.hpp>

#include "host/proto/ov_agent.pb.h"

namespace Kyr::Lab::DevHost {

std::optional<std::uint64_t> SequenceOf(const std::string& record) {
    namespace json = boost::json;
    json::error_code error;
    const json::value value = json::parse(record, error);
    const json::object* const object = error ? nullptr : value.if_object();
    const json::value* const event = object == nullptr ? nullptr : object->if_contains("event");
    const json::object* const fields = event == nullptr ? nullptr : event->if_object();
    const json::value* const sequence =
        fields == nullptr ? nullptr : fields->if_contains("sequence");
    if (sequence == nullptr || !sequence->is_int64() || sequence->as_int64() < 1) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(sequence->as_int64());
}

std::string TextOfAction(const std::string& action) {
    RemediationAction parsed;
    if (!parsed.ParseFromString(action)) {
        return {};
    }
    // The text is the product's own; the host's message does not name it.
    const auto& unknown = parsed.GetReflection()->GetUnknownFields(parsed);
    for (int i = 0; i < unknown.field_count(); ++i) {
        if (unknown.field(i).type() == google::protobuf::UnknownField::TYPE_LENGTH_DELIMITED) {
            return unknown.field(i).length_delimited();
        }
    }
    return {};
}

void CMinerCount::Take(const std::string& record) {
    ++tally_.stored;
    const std::optional<std::uint64_t> sequence = SequenceOf(record);
    if (!sequence) {
        ++tally_.unnumbered;
    } else if (!seen_.insert(*sequence).second) {
        ++tally_.twice;
    } else {
        tally_.inOrder = tally_.inOrder && *sequence > tally_.highest;
        tally_.highest = std::max(tally_.highest, *sequence);
    }
}

}  // namespace Kyr::Lab::DevHost
