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

#include "module/PeriodicWatch.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/product/FakeKelcommClient.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::OvAgentConnector {

class WatchFixture : public testing::Test {
  protected:
    using Strings = std::vector<std::string>;

    /// A product that pings and whose broadcast values are all -1, as if never changed.
    WatchFixture();

    /// Runs a new watch until it ends; it is interrupted in the sleep behind `lastIteration_`.
    void RunWatch();
    /// Runs a new watch for that many iterations.
    void Watch(unsigned iterations);
    /// What happened in an iteration.
    Strings In(unsigned iteration) { return journal_[iteration]; }
    /// Runs a new watch for one iteration and returns what happened.
    Strings WatchOnce();

    void BeforeIteration(unsigned iteration, std::function<void()> action) {
        beforeIteration_[iteration] = std::move(action);
    }
    void SetBroadcast(std::int32_t index, std::int32_t value) { alpc_->SetBroadcast(index, value); }
    void SetKey(const std::string& key, const std::string& value) {
        keyValues_.SetValue(key, value);
    }
    /// Reading that key fails with "store failed".
    void FailKey(const std::string& key);

    const boost::shared_ptr<Kyr::Test::KelcommScript> alpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    const boost::shared_ptr<Kyr::Test::KelcommScript> lpc_ =
        boost::make_shared<Kyr::Test::KelcommScript>();
    const boost::shared_ptr<Kyr::Test::CManualClock> clock_ =
        boost::make_shared<Kyr::Test::CManualClock>();
    COvAgentChannel channel_{std::make_unique<Kyr::Test::CFakeKelcommClient>(alpc_),
                             std::make_unique<Kyr::Test::CFakeKelcommClient>(lpc_), clock_};
    Kyr::Test::CFakeKeyValues keyValues_;
    Kyr::Test::CCapturingLogger logger_;
    Kyr::Test::CRecordingPublisher publisher_;
    /// Publishing triggers of these kinds calls `refusal_`.
    std::vector<int> refused_;
    std::function<void()> refusal_ = [] { throw std::runtime_error("bus failed"); };
    /// "3 text" for a log line and "publish 0" for a trigger, in their order.
    std::map<unsigned, Strings> journal_;
    unsigned iteration_ = 1;  // the one that runs
    unsigned lastIteration_ = 1;
    std::map<unsigned, std::function<void()>> beforeIteration_;
    std::optional<std::int64_t> build_ = 5600;
};

}  // namespace Kyr::Connectors::OvAgentConnector
