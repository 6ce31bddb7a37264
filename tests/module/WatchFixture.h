// The periodic watch on the test's own thread: a product that is a script, a clock that moves while
// the watch sleeps, and a journal of all that the watch says, by iteration.
#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "base/Clock.h"
#include "module/PeriodicWatch.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Connectors::OvAgentConnector {

/// Sleeps by moving its time. The watch is interrupted in the sleep behind its last iteration.
class CIterationClock final : public Base::IClock {
  public:
    std::int64_t CalendarTime() const override { return now; }
    void SleepFor(std::chrono::milliseconds duration) override;
    void Wait(Base::CCondition&, Base::CLock&) override {}
    bool WaitFor(Base::CCondition&, Base::CLock&, std::chrono::milliseconds) override {
        return false;
    }

    std::int64_t now = 1700000000;
    std::int64_t secondsPerSleep = 5;
    unsigned iteration = 1;  // the one that runs
    unsigned lastIteration = 1;
    std::map<unsigned, std::function<void()>> beforeIteration;
    std::vector<std::chrono::milliseconds> sleeps;
};

/// Writes "3 text" for a log line and "publish 0" for a request, in their order.
class CWatchJournal : public Kyr::Common::Kernel::ILoggerResource,
                      public Kyr::Common::Module::IMessagePublisher,
                      public Common::ILogger {
  public:
    using Message = boost::shared_ptr<Kyr::Common::Kernel::IMessage>;

    explicit CWatchJournal(const CIterationClock& clock) : clock_(clock) {}

    void Log(const std::string& text, int level, const std::string& source) override;
    /// Calls `failure` for the kinds of `failing`.
    void Publish(const Message& message) override;
    Common::CLogLine GetLog(int level) override;

    std::map<unsigned, std::vector<std::string>> byIteration;
    std::vector<Message> messages;
    std::vector<int> failing;
    std::function<void()> failure = [] { throw std::runtime_error("bus failed"); };

  private:
    const CIterationClock& clock_;
};

class WatchFixture : public testing::Test {
  protected:
    using Strings = std::vector<std::string>;

    /// A product that pings and whose broadcast values are all -1, as if never changed.
    WatchFixture();

    /// Runs a new watch for that many iterations.
    void Watch(unsigned iterations);
    /// What happened in an iteration.
    Strings In(unsigned iteration) { return journal_.byIteration[iteration]; }
    /// Runs a new watch for one iteration and returns what happened.
    Strings WatchOnce();

    void BeforeIteration(unsigned iteration, std::function<void()> action) {
        clock_->beforeIteration[iteration] = std::move(action);
    }
    void SetBroadcast(std::int32_t index, std::int32_t value);
    void SetKey(const std::string& key, const std::string& value) {
        keyValues_.SetValue(key, value);
    }
    /// Reading that key fails with "store failed".
    void FailKey(const std::string& key);

    const boost::shared_ptr<Kyr::Test::KelcommScript> alpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    const boost::shared_ptr<Kyr::Test::KelcommScript> lpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    const boost::shared_ptr<CIterationClock> clock_ = boost::make_shared<CIterationClock>();
    COvAgentChannel channel_{std::make_unique<Kyr::Test::CFakeKelcommClient>(alpc_),
                             std::make_unique<Kyr::Test::CFakeKelcommClient>(lpc_), clock_};
    Kyr::Test::CFakeKeyValues keyValues_;
    const boost::shared_ptr<CWatchJournal> journalOwner_ =
        boost::make_shared<CWatchJournal>(*clock_);
    CWatchJournal& journal_ = *journalOwner_;
    std::optional<std::int64_t> build_ = 5600;
};

}  // namespace Kyr::Connectors::OvAgentConnector
