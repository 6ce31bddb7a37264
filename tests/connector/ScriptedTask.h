// A message task that does what the test scripted: the n-th Execute runs the n-th action, every
// later one the last action; without actions it just returns.
//
// Threads: scripted by one thread before the task is used; may then be observed from any.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "connector/MessageTask.h"

namespace Kyr::Test {

class CScriptedTask : public Connectors::Common::CMessageTask {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Action = std::function<void(const Message&)>;

    explicit CScriptedTask(Common::Kernel::MessageType type) : CMessageTask(type) {}

    CScriptedTask& Then(Action action) {
        actions_.push_back(std::move(action));
        return *this;
    }
    template <typename Exception>
    CScriptedTask& ThenThrow(Exception exception) {
        return Then([exception](const Message&) { throw exception; });
    }
    CScriptedTask& ThenReturn() {
        return Then([](const Message&) {});
    }

    void Execute(const Message& message) override {
        std::size_t execution = 0;
        {
            const boost::lock_guard<boost::mutex> guard(mutex_);
            execution = received_.size();
            received_.push_back(message);
        }
        if (!actions_.empty()) {
            actions_[std::min(execution, actions_.size() - 1)](message);
        }
    }

    /// The messages of all executions, in order.
    std::vector<Message> Received() const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return received_;
    }
    std::size_t ExecutionCount() const { return Received().size(); }

  private:
    std::vector<Action> actions_;
    mutable boost::mutex mutex_;
    std::vector<Message> received_;  // guarded by mutex_
};

}  // namespace Kyr::Test
