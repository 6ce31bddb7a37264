#include "lab/simagent/Misbehaviour.h"

#include <algorithm>
#include <stdexcept>

#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimAgent {

namespace {

enum class Number { None, Optional, Needed };

struct CFaultRow {
    Fault fault;
    const char* name;
    Number number;
    const char* description;
};

constexpr CFaultRow kFaults[] = {
    {Fault::NoAlpc, "no-alpc", Number::None, "do not offer the advanced port"},
    {Fault::NoLpc, "no-lpc", Number::None, "do not offer the legacy port"},
    {Fault::Status, "status", Number::Needed, "status n in the reply header; nothing is done"},
    {Fault::Code, "code", Number::Needed, "result code n of the port reply; nothing is done"},
    {Fault::Short, "short", Number::Needed, "the reply cut to n bytes"},
    {Fault::HeaderSize, "header-size", Number::Needed, "header size n in the reply header"},
    {Fault::Value, "value", Number::Needed, "value n in the reply header"},
    {Fault::Oversized, "oversized", Number::Needed, "a reply of n bytes"},
    {Fault::ResultCode, "result-code", Number::Needed,
     "records: a message with result code n instead of the payload"},
    {Fault::NoPayload, "no-payload", Number::None, "the reply header alone"},
    {Fault::BadPayload, "bad-payload", Number::None, "a payload that is no protobuf message"},
    {Fault::BadLength, "bad-length", Number::Optional,
     "n bytes (or one more than there are) announced, the true bytes sent"},
    {Fault::Delay, "delay", Number::Needed, "the reply comes n milliseconds late"},
    {Fault::Drop, "drop", Number::None, "the connection is closed instead of a reply"},
    {Fault::Die, "die", Number::None, "the agent's process is ended before it replies"},
    {Fault::Hang, "hang", Number::None, "no reply, ever"},
    {Fault::ViewMissing, "view-missing", Number::None,
     "a reply too long for a message, without its view (advanced port)"},
    {Fault::ViewSmall, "view-small", Number::None,
     "a view one byte shorter than announced (advanced port)"},
};

const CFaultRow& RowOf(Fault fault) {
    return *std::find_if(std::begin(kFaults), std::end(kFaults),
                         [&](const CFaultRow& row) { return row.fault == fault; });
}

Transport ParseTransport(const std::string& text) {
    if (text == "alpc") {
        return Transport::Alpc;
    }
    if (text == "lpc") {
        return Transport::Lpc;
    }
    throw std::invalid_argument("a transport is alpc or lpc");
}

void ParseLimit(CMisbehaviour& result, const std::string& name, const std::string& value) {
    if (name == "for") {
        result.remaining = ParseNumber(value);
        if (result.remaining == 0u) {
            throw std::invalid_argument("for=0 would be no fault at all");
        }
    } else if (name == "transport") {
        result.transport = ParseTransport(value);
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
    return fault == Fault::NoAlpc || fault == Fault::NoLpc;
}

template <typename Value>
bool Allows(const std::optional<Value>& limit, const std::optional<Value>& fact) {
    return !limit || limit == fact;
}

}  // namespace

bool CMisbehaviour::Fits(const CRequestFacts& facts) const {
    const bool needsViews = fault == Fault::ViewMissing || fault == Fault::ViewSmall;
    return !IsPortFault(fault) && !(needsViews && facts.transport == Transport::Lpc) &&
           (!transport || transport == facts.transport) && (!command || command == facts.command) &&
           Allows(inner, facts.inner) && (!function || function == facts.function);
}

std::string CMisbehaviour::Text() const {
    std::string text = RowOf(fault).name;
    if (number) {
        text += ' ' + std::to_string(*number);
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

CMisbehaviour ParseMisbehaviour(const std::vector<std::string>& words) {
    const std::optional<Fault> fault = words.empty() ? std::nullopt : FindFault(words[0]);
    if (!fault) {
        throw std::invalid_argument("no such fault; `help` lists them");
    }
    CMisbehaviour result;
    result.fault = *fault;
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::size_t equals = words[i].find('=');
        if (equals != std::string::npos) {
            ParseLimit(result, words[i].substr(0, equals), words[i].substr(equals + 1));
        } else if (i == 1 && RowOf(*fault).number != Number::None) {
            result.number = ParseNumber32(words[i]);
        } else {
            throw std::invalid_argument("'" + words[i] + "' is one word too many");
        }
    }
    if (RowOf(*fault).number == Number::Needed && !result.number) {
        throw std::invalid_argument(words[0] + " needs a number");
    }
    if (*fault == Fault::Oversized && *result.number > kLargestReply) {
        throw std::invalid_argument("a reply has at most 536870912 bytes");
    }
    if (IsPortFault(*fault) && words.size() > 1) {
        throw std::invalid_argument(words[0] + " holds for every client until it is cleared");
    }
    return result;
}

std::optional<Fault> FindFault(const std::string& name) {
    for (const CFaultRow& row : kFaults) {
        if (row.name == name) {
            return row.fault;
        }
    }
    return std::nullopt;
}

std::vector<std::string> DescribeFaults() {
    std::vector<std::string> lines;
    for (const CFaultRow& row : kFaults) {
        const char* const number = row.number == Number::None       ? ""
                                   : row.number == Number::Optional ? " [n]"
                                                                    : " n";
        lines.push_back(row.name + std::string(number) + ": " + row.description);
    }
    return lines;
}

void CMisbehaviours::Add(const CMisbehaviour& misbehaviour) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.erase(std::remove_if(active_.begin(), active_.end(),
                                 [&](const CMisbehaviour& older) {
                                     return older.fault == misbehaviour.fault &&
                                            older.transport == misbehaviour.transport &&
                                            older.command == misbehaviour.command &&
                                            older.inner == misbehaviour.inner &&
                                            older.function == misbehaviour.function;
                                 }),
                  active_.end());
    active_.push_back(misbehaviour);
}

void CMisbehaviours::Clear(std::optional<Fault> fault) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    active_.erase(
        std::remove_if(active_.begin(), active_.end(),
                       [&](const CMisbehaviour& one) { return !fault || one.fault == *fault; }),
        active_.end());
}

std::vector<CMisbehaviour> CMisbehaviours::List() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return active_;
}

bool CMisbehaviours::Offers(Transport transport) const {
    const Fault absent = transport == Transport::Alpc ? Fault::NoAlpc : Fault::NoLpc;
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return std::none_of(active_.begin(), active_.end(),
                        [&](const CMisbehaviour& one) { return one.fault == absent; });
}

std::vector<CMisbehaviour> CMisbehaviours::Take(const CRequestFacts& facts) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    std::vector<CMisbehaviour> taken;
    for (CMisbehaviour& one : active_) {
        const bool alreadyTaken =
            std::any_of(taken.begin(), taken.end(),
                        [&](const CMisbehaviour& other) { return other.fault == one.fault; });
        if (alreadyTaken || !one.Fits(facts)) {
            continue;
        }
        taken.push_back(one);
        if (one.remaining) {
            --*one.remaining;
        }
    }
    active_.erase(std::remove_if(active_.begin(), active_.end(),
                                 [](const CMisbehaviour& one) { return one.remaining == 0u; }),
                  active_.end());
    return taken;
}

}  // namespace Kyr::Lab::SimAgent
