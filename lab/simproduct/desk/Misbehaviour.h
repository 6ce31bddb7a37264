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
#include <utility>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/simproduct/requests/PortExchange.h"

namespace Kyr::Lab::SimProduct {

enum class Fault {
    kNoAlpc,       // the port is not there
    kNoLpc,        // the port is not there
    kStatus,       // an error status in the reply header; nothing is carried out
    kCode,         // a result code of the port reply; nothing is carried out
    kShort,        // the reply cut to that many bytes
    kHeaderSize,   // another size in the reply header
    kValue,        // another value in the reply header
    kOversized,    // a reply of that many bytes
    kRaw,          // those bytes for a reply
    kResultCode,   // a message with that result code instead of the payload
    kNoPayload,    // the reply header alone
    kBadPayload,   // a payload that is no protobuf message
    kBadLength,    // the port reply announces that many bytes, or one more than there are
    kDelay,        // milliseconds before the reply
    kDrop,         // the connection is closed; nothing is carried out
    kDie,          // the process ends at once; nothing is carried out
    kHang,         // no reply, ever; nothing is carried out
    kViewMissing,  // a long reply without its view; advanced port only
    kViewSmall,    // a view that is shorter than the reply; advanced port only
};

/// What a fault can be limited to, as far as it is known of a request.
struct RequestFacts {
    Transport transport = Transport::kLpc;
    std::uint32_t command = kRequestCommand;
    std::optional<std::uint32_t> inner;
    std::string function;
};

struct Misbehaviour {
    Fault fault = Fault::kStatus;
    std::optional<std::uint32_t> number;
    Bytes bytes;
    std::optional<std::uint64_t> remaining;  // nothing: until cleared
    std::optional<Transport> transport;
    std::optional<std::uint32_t> command = kRequestCommand;  // nothing: any
    std::optional<std::uint32_t> inner;
    std::optional<std::string> function;

    bool Fits(const RequestFacts& facts) const;
    /// Whether it is the same fault for the same requests, whatever its number and count.
    bool Replaces(const Misbehaviour& older) const;
    /// The words that make this fault.
    std::string Text() const;
};

Misbehaviour ParseMisbehaviour(const std::vector<std::string>& words);

/// The fault of that name, or nothing.
std::optional<Fault> FindFault(const std::string& name);

/// For every fault the words that make it, and what it does, for the help text.
std::vector<std::pair<std::string, std::string>> DescribeFaults();

class CMisbehaviours {
  public:
    /// A fault replaces an older one of the same kind and limits.
    void Add(const Misbehaviour& misbehaviour);
    /// Clears one kind of fault, or all.
    void Clear(std::optional<Fault> fault = std::nullopt);
    std::vector<Misbehaviour> List() const;

    /// False when a fault says that this port is not there.
    bool Offers(Transport transport) const;

    /// The faults for one request, each counted down; of one kind the oldest that fits.
    std::vector<Misbehaviour> Take(const RequestFacts& facts);

  private:
    mutable boost::mutex mutex_;
    std::list<Misbehaviour> active_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
