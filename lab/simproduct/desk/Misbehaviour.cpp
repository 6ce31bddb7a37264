#include "lab/simproduct/desk/Misbehaviour.h"

#include <algorithm>
#include <stdexcept>
#include <tuple>

#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimProduct {

namespace {

enum class Number { kNone, kOptional, kNeeded, kBytes };

struct FaultRow {
    Fault fault;
    const char* name;
    Number number;
    const char* description;
};

constexpr FaultRow kFaults[] = {
    {Fault::kNoAlpc, "no-alpc", Number::kNone, "do not offer the advanced port"},
    {Fault::kNoLpc, "no-lpc", Number::kNone, "do not offer the legacy port"},
    {Fault::kStatus, "status", Number::kNeeded, "status n in the reply header; nothing is done"},
    {Fault::kCode, "code", Number::kNeeded, "result code n of the port reply; nothing is done"},
    {Fault::kShort, "short", Number::kNeeded, "the reply cut to n bytes"},
    {Fault::kHeaderSize, "header-size", Number::kNeeded, "header size n in the reply header"},
    {Fault::kValue, "value", Number::kNeeded, "value n in the reply header"},
    {Fault::kOversized, "oversized", Number::kNeeded, "a reply of n bytes"},
    {Fault::kRaw, "raw", Number::kBytes, "those bytes for the whole reply"},
    {Fault::kResultCode, "result-code", Number::kNeeded,
     "records: a message with result code n instead of the payload"},
    {Fault::kNoPayload, "no-payload", Number::kNone, "the reply header alone"},
    {Fault::kBadPayload, "bad-payload", Number::kNone, "a payload that is no protobuf message"},
    {Fault::kBadLength, "bad-length", Number::kOptional,
     "n bytes (or one more than there are) announced, the true bytes sent"},
    {Fault::kDelay, "delay", Number::kNeeded, "the reply comes n milliseconds late"},
    {Fault::kDrop, "drop", Number::kNone, "the connection is closed instead of a reply"},
    {Fault::kDie, "die", Number::kNone, "the product's process is ended before it replies"},
    {Fault::kHang, "hang", Number::kNone, "no reply, ever"},
    {Fault::kViewMissing, "view-missing", Number::kNone,
     "a reply too long for a message, without its view (advanced port)"},
    {Fault::kViewSmall, "view-small", Number::kNone,
     "a view one byte shorter than announced (advanced port)"},
};

const FaultRow& RowOf(Fault fault) {
    return *std::find_if(std::begin(kFaults), std::end(kFaults),
                         [&](const FaultRow& row) { return row.fault == fault; });
}

void RefuseUnless(bool isUnderstood, const std::string& complaint) {
    if (!isUnderstood) {
        throw std::invalid_argument(complaint);
    }
}

void ParseLimit(Misbehaviour& result, const std::string& name, const std::string& value) {
    if (name == "for") {
        result.remaining = ParseNumber(value);
        RefuseUnless(result.remaining != 0u, "for=0 would be no fault at all");
    } else if (name == "transport") {
        RefuseUnless(value == "alpc" || value == "lpc", "a transport is alpc or lpc");
        result.transport = value == "alpc" ? Transport::kAlpc : Transport::kLpc;
    } else if (name == "command") {
        result.command = value == "any" ? std::nullopt : std::optional(ParseNumber32(value));
    } else if (name == "inner") {
        result.inner = ParseNumber32(value);
    } else if (name == "function") {
        result.function = value;
    } else {
        throw std::invalid_argument("unknown limit '" + name + "'");
    }
}

/// Twice what clients take at most: enough to be refused, too little to bring this computer down.
constexpr std::uint32_t kLargestReply = 0x20000000;

bool IsPortFault(Fault fault) {
    return fault == Fault::kNoAlpc || fault == Fault::kNoLpc;
}

}  // namespace

bool Misbehaviour::Fits(const RequestFacts& facts) const {
    const bool needsViews = fault == Fault::kViewMissing || fault == Fault::kViewSmall;
    return !IsPortFault(fault) && !(needsViews && facts.transport == Transport::kLpc) &&
           (!transport || transport == facts.transport) && (!command || command == facts.command) &&
           (!inner || inner == facts.inner) && (!function || function == facts.function);
}

bool Misbehaviour::Replaces(const Misbehaviour& older) const {
    const auto limits = [](const Misbehaviour& one) {
        return std::tie(one.fault, one.transport, one.command, one.inner, one.function);
    };
    return limits(*this) == limits(older);
}

std::string Misbehaviour::Text() const {
    std::string text = RowOf(fault).name;
    if (number) {
        text += ' ' + std::to_string(*number);
    }
    if (!bytes.empty()) {
        text += ' ' + ToHex(bytes);
    }
    if (remaining) {
        text += " for=" + std::to_string(*remaining);
    }
    if (transport) {
        text += std::string(" transport=") + NameOf(*transport);
    }
    if (command != kRequestCommand) {
        text += " command=" + (command ? std::to_string(*command) : "any");
    }
    if (inner) {
        text += " inner=" + std::to_string(*inner);
    }
    if (function) {
        text += " function=" + *function;
    }
    return text;
}

Misbehaviour ParseMisbehaviour(const std::vector<std::string>& words) {
    const std::optional<Fault> fault = words.empty() ? std::nullopt : FindFault(words[0]);
    if (!fault) {
        throw std::invalid_argument("no such fault; `help` lists them");
    }
    const Number number = RowOf(*fault).number;
    Misbehaviour result;
    result.fault = *fault;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        if (equals != std::string::npos) {
            ParseLimit(result, words[i].substr(0, equals), words[i].substr(equals + 1));
        } else if (i == 1 && number == Number::kBytes) {
            result.bytes = FromHex(words[i]);
        } else if (i == 1 && number != Number::kNone) {
            result.number = ParseNumber32(words[i]);
        } else {
            throw std::invalid_argument("'" + words[i] + "' is one word too many");
        }
    }
    RefuseUnless(number != Number::kNeeded || result.number, words[0] + " needs a number");
    RefuseUnless(number != Number::kBytes || !result.bytes.empty(), words[0] + " needs bytes");
    RefuseUnless(*fault != Fault::kOversized || *result.number <= kLargestReply,
                 "a reply has at most 536870912 bytes");
    RefuseUnless(!IsPortFault(*fault) || words.size() == 1,
                 words[0] + " holds for every client until it is cleared");
    return result;
}

std::optional<Fault> FindFault(const std::string& name) {
    for (const FaultRow& row : kFaults) {
        if (row.name == name) {
            return row.fault;
        }
    }
    return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> DescribeFaults() {
    constexpr const char* kNumberTexts[] = {"", " [n]", " n", " <bytes>"};  // of enum Number
    std::vector<std::pair<std::string, std::string>> lines;
    for (const FaultRow& row : kFaults) {
        lines.emplace_back(std::string(row.name) + kNumberTexts[static_cast<int>(row.number)],
                           row.description);
    }
    return lines;
}

void CMisbehaviours::Add(const Misbehaviour& misbehaviour) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.remove_if([&](const Misbehaviour& older) { return misbehaviour.Replaces(older); });
    active_.push_back(misbehaviour);
}

void CMisbehaviours::Clear(std::optional<Fault> fault) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.remove_if([&](const Misbehaviour& one) { return !fault || one.fault == *fault; });
}

std::vector<Misbehaviour> CMisbehaviours::List() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return {active_.begin(), active_.end()};
}

bool CMisbehaviours::Offers(Transport transport) const {
    const Fault absent = transport == Transport::kAlpc ? Fault::kNoAlpc : Fault::kNoLpc;
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return std::none_of(active_.begin(), active_.end(),
                        [&](const Misbehaviour& one) { return one.fault == absent; });
}

std::vector<Misbehaviour> CMisbehaviours::Take(const RequestFacts& facts) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    std::vector<Misbehaviour> taken;
    for (Misbehaviour& one : active_) {
        const bool alreadyTaken =
            std::any_of(taken.begin(), taken.end(),
                        [&](const Misbehaviour& other) { return other.fault == one.fault; });
        if (alreadyTaken || !one.Fits(facts)) {
            continue;
        }
        taken.push_back(one);
        if (one.remaining) {
            --*one.remaining;
        }
    }
    active_.remove_if([](const Misbehaviour& one) { return one.remaining == 0u; });
    return taken;
}

}  // namespace Kyr::Lab::SimProduct
