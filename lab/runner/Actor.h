// A program of the lab under the runner's control: its commands go to standard input, its events
// are read from standard output.
//
// Threads: one owner thread calls the operations; a thread of the actor reads the events. The
// listener is called on that thread.
// Ownership: the actor owns its process and kills it when it is destroyed.
// Errors: std::runtime_error when the program cannot be started. What a listener throws ends
// nothing: the next Find or AwaitEnd throws it as a std::runtime_error that names the actor and the
// event.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

class CActor {
  public:
    using Listener = std::function<void(const std::string& actor, const TimedLine& line)>;
    /// Whether the event that stands at that place is a wanted one.
    using Predicate = std::function<bool(std::size_t place, const TimedLine& event)>;
    using Environment = std::vector<std::pair<std::string, std::string>>;

    /// Starts `program` with `environment` added to our own. A line that is not of the line
    /// protocol is told as an event of kind "text".
    CActor(const std::string& name, const std::string& program,
           const std::vector<std::string>& arguments, const Environment& environment,
           Listener listener);
    ~CActor();
    CActor(const CActor&) = delete;
    CActor& operator=(const CActor&) = delete;

    /// Writes one command line; lost when the process is gone.
    void Send(const std::string& line);

    /// The place of the first event at or after `from` that fulfils `wanted`; waits for it at most
    /// `patience`.
    std::optional<std::size_t> Find(std::size_t from, const Predicate& wanted,
                                    std::chrono::milliseconds patience) const;
    /// What Find wants for any event of a kind.
    static Predicate OfKind(std::string kind);
    TimedLine EventAt(std::size_t index) const;
    /// All so far.
    std::vector<TimedLine> Events() const;

    /// Ends the process at once.
    void Kill();
    /// How the process has ended, once AwaitEnd has seen it: "with code 3", "by SIGBUS".
    std::string EndText() const;
    /// Waits for the process to end and for its last event; empty when it lives on. The number is
    /// the exit code or, where signals end processes, the number of the signal that ended it. After
    /// Kill it says nothing: the process may have ended before.
    std::optional<int> AwaitEnd(std::chrono::milliseconds patience);

  private:
    struct State;

    std::unique_ptr<State> state_;
};

}  // namespace Kyr::Lab::Runner
