// What the simulated product does wrong, on request: a list of faults, each for the next requests
// that it fits or until it is cleared.
//
// A fault as words: `<fault> [<number>|<bytes>] [for=<count>] [transport=alpc|lpc]
// [command=<n>|any] [inner=<n>] [function=<name>]`. Without `command` a fault is for request
// commands only, and a ping stays healthy.
//
// Threads: CMisbehaviours from any thread.
// Errors: words that make no fault are a std::invalid_argument that says why.
#pragma once

#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/common/LineProtocol.h"
#include "lab/simproduct/requests/PortExchange.h"

namespace Kyr::Lab::SimProduct {

/// Where in an exchange a fault is done.
enum class Stage {
    kPort,     // in none: the port is not there
    kDelay,    // once the request is there: time is let pass
    kDie,      // after that: the process ends
    kInstead,  // nothing is carried out
    kPayload,  // the payload of what was carried out
    kReply,    // the reply with its header
    kView,     // the view that a long reply goes in; advanced port only
};

struct Misbehaviour;

/// A kind of fault.
struct Fault {
    enum class Number { kNone, kOptional, kNeeded, kBytes };

    Stage stage;
    std::string_view name;
    Number number;
    const char* description;
    /// Does it to the answer. Null in the stages that have none.
    void (*apply)(const Misbehaviour& one, PortAnswer& answer);
};

struct Misbehaviour {
    const Fault* fault = nullptr;
    std::optional<std::uint32_t> number;
    Bytes bytes;
    std::optional<std::uint64_t> remaining;  // nothing: until cleared
    /// Fields of a `request` event, and what has to stand there.
    std::vector<std::pair<std::string, std::string>> limits;

    bool Fits(const CLine& request) const;
    /// The words that make this fault.
    std::string Text() const;
};

Misbehaviour ParseMisbehaviour(const std::vector<std::string>& words);

/// The fault of that name, or null.
const Fault* FindFault(std::string_view name);

/// For every fault the words that make it, and what it does, for the help text.
std::vector<std::pair<std::string, std::string>> DescribeFaults();

class CMisbehaviours {
  public:
    /// A fault replaces an older one of the same kind and limits.
    void Add(const Misbehaviour& misbehaviour);
    /// Clears one kind of fault, or all.
    void Clear(const Fault* fault = nullptr);
    std::vector<Misbehaviour> List() const;

    /// False when a fault says that this port is not there.
    bool Offers(Transport transport) const;

    /// The faults for the request of that event, each counted down, in the order in which they are
    /// done; of one kind the oldest that fits.
    std::vector<Misbehaviour> Take(const CLine& request);

  private:
    mutable boost::mutex mutex_;
    std::list<Misbehaviour> active_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
