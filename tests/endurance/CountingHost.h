// A host that keeps nothing: its bus delivers everything and counts, its log counts, its database
// holds what a policy would have set.
//
// What a module publishes to itself waits in its queue while the product is away; this bus holds
// the module's own triggers back while too much waits, so that a test of hours needs no memory.
// Threads: any.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>
#include <boost/weak_ptr.hpp>

#include "host/kernel/Resources.h"
#include "tests/endurance/TaskLedger.h"
#include "tests/support/host/FakeHost.h"

namespace Kyr::Endurance {

class CCountingBus final : public Common::Kernel::IBusResource {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Context = boost::shared_ptr<Common::Kernel::IDeliveryContext>;

    explicit CCountingBus(CTaskLedger& ledger) : ledger_(ledger) {}

    void Publish(const Message& message, const Context& context) override;
    void Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                   Common::Kernel::MessageType type) override;
    void Deliver(const Message& message, const Context& context = Context());

    /// How many delivered messages somebody still holds, the module's own triggers not counted: a
    /// receiver may keep the last one for as long as the channel keeps the receiver.
    std::size_t Unfinished();

  private:
    using Delivered = std::deque<boost::weak_ptr<Common::Kernel::IMessage>>;

    std::size_t CountHeld(Delivered& delivered);

    CTaskLedger& ledger_;
    boost::mutex mutex_;  // guards everything below
    std::multimap<Common::Kernel::MessageType, boost::shared_ptr<Common::Kernel::ISubscriber>>
        subscribers_;
    Delivered messages_;
    Delivered triggers_;
};

class CCountingLog final : public Common::Kernel::ILoggerResource {
  public:
    void Log(const std::string& text, int level, const std::string& source) override;

    /// Lines of that level, 1 to 4.
    std::uint64_t Lines(int level) const;
    /// Whether the module has said that it is connected.
    bool Connected() const;

  private:
    mutable boost::mutex mutex_;  // guards everything below
    std::uint64_t lines_[5] = {};
    bool connected_ = false;
};

struct CountingHost {
    explicit CountingHost(CTaskLedger& ledger);

    const boost::shared_ptr<CCountingBus> bus;
    const boost::shared_ptr<CCountingLog> log;
    Test::CFakeHost resources;
};

}  // namespace Kyr::Endurance
