// A host that keeps nothing: its bus delivers everything, the account hears of every failed task,
// the log counts errors, and the database holds what a policy would have set.
//
// What a module publishes to itself waits in its queue while the product is away; this host holds
// the module's own triggers back while too much waits, so that a test of hours needs no memory.
// Threads: any.
#pragma once

#include <atomic>
#include <deque>

#include <boost/thread/mutex.hpp>
#include <boost/weak_ptr.hpp>

#include "tests/endurance/TaskLedger.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Endurance {

class CCountingHost {
  public:
    using Message = Test::CFakeBus::Message;

    explicit CCountingHost(CTaskLedger& ledger);

    void Deliver(const Message& message);
    /// How many delivered messages somebody still holds, the module's own triggers not counted: a
    /// receiver may keep the last one for as long as the channel keeps the receiver.
    std::size_t Unfinished();
    /// Lines of level 4.
    std::uint64_t Errors() const { return errors_; }
    /// Whether the module has said that it is connected.
    bool Connected() const { return connected_; }

    Test::CFakeHost resources;

  private:
    using Delivered = std::deque<boost::weak_ptr<Common::Kernel::IMessage>>;

    void OnPublish(const Message& message);
    std::size_t CountHeld(Delivered& delivered);

    CTaskLedger& ledger_;
    std::atomic<std::uint64_t> errors_{0};
    std::atomic<bool> connected_{false};
    boost::mutex mutex_;  // guards everything below
    Delivered messages_;
    Delivered triggers_;
};

}  // namespace Kyr::Endurance
