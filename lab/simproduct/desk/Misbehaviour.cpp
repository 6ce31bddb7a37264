#include "lab/simproduct/desk/Misbehaviour.h"

#include <algorithm>
#include <stdexcept>

#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/ports/PortMessages.h"
#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

using Number = Fault::Number;

// The limit that a fault has unless another command is named.
constexpr char kCommand[] = "command";
constexpr char kRequestsOnly[] = "3";
constexpr char kAny[] = "any";

/// Twice what clients take at most: enough to be refused, too little to bring this computer down.
constexpr std::uint32_t kLargestReply = 0x20000000;

/// The field of a message of records that says why there are none (protocol).
constexpr std::uint32_t kResultCodeField = 2;

/// A reply that ends before the number stays as it is.
void Overwrite(PortAnswer& answer, std::size_t offset, std::uint32_t value) {
    if (answer.bytes.size() >= offset + 4) {
        WriteU32(answer.bytes, offset, value);
    }
}

void ReplacePayload(PortAnswer& answer, const Bytes& payload) {
    answer.bytes = EncodeReply({ReadU32(answer.bytes, 4), payload});
}

void LengthenForAView(PortAnswer& answer) {
    if (answer.AnnouncedLength() <= kAlpcMaxInlineReply) {
        answer.bytes.resize(kAlpcMaxInlineReply + 1);
        answer.announcedLength = std::nullopt;
    }
}

// In the order in which they are done: of two that change the same, the later one shows.
constexpr Fault kFaults[] = {
    {Stage::kPort, "no-alpc", Number::kNone, "do not offer the advanced port", nullptr},
    {Stage::kPort, "no-lpc", Number::kNone, "do not offer the legacy port", nullptr},
    {Stage::kDelay, "delay", Number::kNeeded, "the reply comes n milliseconds late", nullptr},
    {Stage::kDie, "die", Number::kNone, "the product's process is ended before it replies",
     nullptr},
    {Stage::kInstead, "status", Number::kNeeded, "status n in the reply header; nothing is done",
     [](const Misbehaviour& one, PortAnswer& answer) {
         answer.bytes = EncodeReply(ErrorReply(*one.number));
     }},
    {Stage::kInstead, "code", Number::kNeeded, "result code n of the port reply; nothing is done",
     [](const Misbehaviour& one, PortAnswer& answer) {
         answer.code = *one.number;
         answer.bytes.clear();
     }},
    {Stage::kInstead, "hang", Number::kNone, "no reply, ever",
     [](const Misbehaviour&, PortAnswer& answer) {
         answer.delivery = PortAnswer::Delivery::kHang;
     }},
    {Stage::kInstead, "drop", Number::kNone, "the connection is closed instead of a reply",
     [](const Misbehaviour&, PortAnswer& answer) {
         answer.delivery = PortAnswer::Delivery::kDrop;
     }},
    {Stage::kPayload, "result-code", Number::kNeeded,
     "records: a message with result code n instead of the payload",
     [](const Misbehaviour& one, PortAnswer& answer) {
         CWireWriter writer;
         ReplacePayload(answer, writer.AddInteger(kResultCodeField, *one.number).Written());
     }},
    // A field number that may not be, of a type that is none.
    {Stage::kPayload, "bad-payload", Number::kNone, "a payload that is no protobuf message",
     [](const Misbehaviour&, PortAnswer& answer) { ReplacePayload(answer, {0x07}); }},
    {Stage::kPayload, "no-payload", Number::kNone, "the reply header alone",
     [](const Misbehaviour&, PortAnswer& answer) { ReplacePayload(answer, {}); }},
    {Stage::kReply, "raw", Number::kBytes, "those bytes for the whole reply",
     [](const Misbehaviour& one, PortAnswer& answer) { answer.bytes = one.bytes; }},
    {Stage::kReply, "header-size", Number::kNeeded, "header size n in the reply header",
     [](const Misbehaviour& one, PortAnswer& answer) { Overwrite(answer, 0, *one.number); }},
    {Stage::kReply, "value", Number::kNeeded, "value n in the reply header",
     [](const Misbehaviour& one, PortAnswer& answer) { Overwrite(answer, 8, *one.number); }},
    {Stage::kReply, "oversized", Number::kNeeded, "a reply of n bytes",
     [](const Misbehaviour& one, PortAnswer& answer) { answer.bytes.resize(*one.number); }},
    {Stage::kReply, "short", Number::kNeeded, "the reply cut to n bytes",
     [](const Misbehaviour& one, PortAnswer& answer) {
         answer.bytes.resize(std::min<std::size_t>(*one.number, answer.bytes.size()));
     }},
    {Stage::kReply, "bad-length", Number::kOptional,
     "n bytes (or one more than there are) announced, the true bytes sent",
     [](const Misbehaviour& one, PortAnswer& answer) {
         answer.announcedLength = one.number.value_or(answer.AnnouncedLength() + 1);
     }},
    {Stage::kView, "view-missing", Number::kNone,
     "a reply too long for a message, without its view (advanced port)",
     [](const Misbehaviour&, PortAnswer& answer) {
         answer.withoutView = true;
         LengthenForAView(answer);
     }},
    {Stage::kView, "view-small", Number::kNone,
     "a view one byte shorter than announced (advanced port)",
     [](const Misbehaviour&, PortAnswer& answer) {
         answer.smallView = true;
         LengthenForAView(answer);
     }},
};

void RefuseUnless(bool isUnderstood, const std::string& complaint) {
    if (!isUnderstood) {
        throw std::invalid_argument(complaint);
    }
}

/// A limit as it stands in an event.
std::string ParseLimit(const std::string& field, const std::string& value) {
    if (field == "function" || (field == kCommand && value == kAny)) {
        return value;
    }
    if (field == "transport") {
        RefuseUnless(value == "alpc" || value == "lpc", "a transport is alpc or lpc");
        return value;
    }
    return std::to_string(ParseNumber32(value));
}

}  // namespace

bool Misbehaviour::Fits(const CLine& request) const {
    const bool isForOthers = fault->stage == Stage::kPort ||
                             (fault->stage == Stage::kView && request.Value("transport") == "lpc");
    return !isForOthers && std::all_of(limits.begin(), limits.end(), [&](const auto& limit) {
        const auto& [field, value] = limit;
        return (field == kCommand && value == kAny) || request.Value(field) == value;
    });
}

std::string Misbehaviour::Text() const {
    std::string text(fault->name);
    if (number) {
        text += ' ' + std::to_string(*number);
    }
    if (!bytes.empty()) {
        text += ' ' + ToHex(bytes);
    }
    if (remaining) {
        text += " for=" + std::to_string(*remaining);
    }
    for (const auto& [field, value] : limits) {
        if (field != kCommand || value != kRequestsOnly) {
            text.append(" ").append(field).append("=").append(value);
        }
    }
    return text;
}

Misbehaviour ParseMisbehaviour(const std::vector<std::string>& words) {
    CCommandWords rest(words);
    Misbehaviour result;
    result.fault = words.empty() ? nullptr : FindFault(rest.TakeWord("fault"));
    RefuseUnless(result.fault != nullptr, "no such fault; `help` lists them");
    const Fault& fault = *result.fault;
    RefuseUnless(fault.stage != Stage::kPort || rest.IsEmpty(),
                 words[0] + " holds for every client until it is cleared");
    result.remaining = rest.TakeNumber("for");
    RefuseUnless(result.remaining != 0u, "for=0 would be no fault at all");
    for (const std::string field : {"transport", kCommand, "inner", "function"}) {
        if (const std::optional<std::string> value = rest.TakeValue(field)) {
            result.limits.emplace_back(field, ParseLimit(field, *value));
        } else if (field == kCommand) {
            result.limits.emplace_back(field, kRequestsOnly);
        }
    }
    if (fault.number == Number::kBytes) {
        result.bytes = FromHex(rest.TakeWord("reply"));
        RefuseUnless(!result.bytes.empty(), words[0] + " needs bytes");
    } else if (fault.number == Number::kNeeded ||
               (fault.number == Number::kOptional && !rest.IsEmpty())) {
        result.number = ParseNumber32(rest.TakeWord("number"));
    }
    rest.Finish();
    RefuseUnless(fault.name != "oversized" || *result.number <= kLargestReply,
                 "a reply has at most 536870912 bytes");
    return result;
}

const Fault* FindFault(std::string_view name) {
    const auto* const found = std::find_if(std::begin(kFaults), std::end(kFaults),
                                           [&](const Fault& fault) { return fault.name == name; });
    return found == std::end(kFaults) ? nullptr : found;
}

std::vector<std::pair<std::string, std::string>> DescribeFaults() {
    constexpr const char* kNumberTexts[] = {"", " [n]", " n", " <bytes>"};  // of enum Number
    std::vector<std::pair<std::string, std::string>> lines;
    for (const Fault& fault : kFaults) {
        lines.emplace_back(std::string(fault.name) + kNumberTexts[static_cast<int>(fault.number)],
                           fault.description);
    }
    return lines;
}

void CMisbehaviours::Add(const Misbehaviour& misbehaviour) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.remove_if([&](const Misbehaviour& older) {
        return older.fault == misbehaviour.fault && older.limits == misbehaviour.limits;
    });
    active_.push_back(misbehaviour);
}

void CMisbehaviours::Clear(const Fault* fault) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.remove_if(
        [&](const Misbehaviour& one) { return fault == nullptr || one.fault == fault; });
}

std::vector<Misbehaviour> CMisbehaviours::List() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return {active_.begin(), active_.end()};
}

bool CMisbehaviours::Offers(Transport transport) const {
    const Fault* const absent = FindFault(transport == Transport::kAlpc ? "no-alpc" : "no-lpc");
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return std::none_of(active_.begin(), active_.end(),
                        [&](const Misbehaviour& one) { return one.fault == absent; });
}

std::vector<Misbehaviour> CMisbehaviours::Take(const CLine& request) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    std::vector<Misbehaviour> taken;
    for (const Fault& fault : kFaults) {
        const auto one =
            std::find_if(active_.begin(), active_.end(), [&](const Misbehaviour& candidate) {
                return candidate.fault == &fault && candidate.Fits(request);
            });
        if (one == active_.end()) {
            continue;
        }
        taken.push_back(*one);
        if (one->remaining) {
            --*one->remaining;
        }
    }
    active_.remove_if([](const Misbehaviour& one) { return one.remaining == 0u; });
    return taken;
}

}  // namespace Kyr::Lab::SimProduct
