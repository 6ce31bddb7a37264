// What the simulated product does wrong, on request: a list of faults, each for the next requests
// that it fits or until it is cleared.
//
// A fault as words: `<fault> [<number>] [for=<count>] [transport=alpc|lpc] [command=<n>|any]
// [inner=<n>] [function=<name>]`. Without `command` a fault is for request commands only, and a
// ping stays healthy.
//
// Threads: CMisbehaviours from any thread.
// Errors: words that make no fault are a std::invalid_argument that says why.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/simagent/PortRequest.h"

namespace Kyr::Lab::SimAgent {

enum class Fault {
    NoAlpc,       // the port is not there
    NoLpc,        // the port is not there
    Status,       // an error status in the reply header; nothing is carried out
    Code,         // a result code of the port reply; nothing is carried out
    Short,        // the reply cut to that many bytes
    HeaderSize,   // another size in the reply header
    Value,        // another value in the reply header
    Oversized,    // a reply of that many bytes
    ResultCode,   // a message with that result code instead of the payload
    NoPayload,    // the reply header alone
    BadPayload,   // a payload that is no protobuf message
    BadLength,    // the port reply announces that many bytes, or one more than there are
    Delay,        // milliseconds before the reply
    Drop,         // the connection is closed; nothing is carried out
    Die,          // the process ends at once; nothing is carried out
    Hang,         // no reply, ever; nothing is carried out
    ViewMissing,  // a long reply without its view; advanced port only
    ViewSmall,    // a view that is shorter than the reply; advanced port only
};

/// What a fault can be limited to, as far as it is known of a request.
struct CRequestFacts {
    Transport transport = Transport::Lpc;
    std::uint32_t command = kRequestCommand;
    std::optional<std::uint32_t> inner;
    std::string function;
};

struct CMisbehaviour {
    Fault fault = Fault::Status;
    std::optional<std::uint32_t> number;
    std::optional<std::uint64_t> remaining;  // nothing: until cleared
    std::optional<Transport> transport;
    std::optional<std::uint32_t> command = kRequestCommand;  // nothing: any
    std::optional<std::uint32_t> inner;
    std::optional<std::string> function;

    bool Fits(const CRequestFacts& facts) const;
    /// The words that make this fault.
    std::string Text() const;
};

CMisbehaviour ParseMisbehaviour(const std::vector<std::string>& words);

/// The fault of that name, or nothing.
std::optional<Fault> FindFault(const std::string& name);

/// A line for every fault, for the help text.
std::vector<std::string> DescribeFaults();

class CMisbehaviours {
  public:
    /// A fault replaces an older one of the same kind and limits.
    void Add(const CMisbehaviour& misbehaviour);
    /// Clears one kind of fault, or all.
    void Clear(std::optional<Fault> fault = std::nullopt);
    std::vector<CMisbehaviour> List() const;

    /// False when a fault says that this port is not there.
    bool Offers(Transport transport) const;

    /// The faults for one request, each counted down; of one kind the oldest that fits.
    std::vector<CMisbehaviour> Take(const CRequestFacts& facts);

  private:
    mutable boost::mutex mutex_;
    std::vector<CMisbehaviour> active_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimAgent
