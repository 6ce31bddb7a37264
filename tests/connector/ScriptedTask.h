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

#include "connector/MessageTask.h"
#include "tests/support/Guarded.h"

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
        const std::size_t execution = received_.With([&](auto& received) {
            received.push_back(message);
            return received.size() - 1;
        });
        if (!actions_.empty()) {
            actions_[std::min(execution, actions_.size() - 1)](message);
        }
    }

    /// The messages of all executions, in order.
    std::vector<Message> Received() const { return received_.Get(); }
    std::size_t ExecutionCount() const { return Received().size(); }

  private:
    std::vector<Action> actions_;
    CGuarded<std::vector<Message>> received_;
};

}  // namespace Kyr::Test
