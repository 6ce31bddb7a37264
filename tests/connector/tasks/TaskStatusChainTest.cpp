// Long chains of task outcomes: each exchange runs inside the receiver of the one before.
#include <boost/thread/thread.hpp>

#include "connector/tasks/GetTaskStatusTask.h"
#include "kelcomm/KelcommChannelAdapter.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Test::KelcommScript;

/// Releases the receiver that is replaced at once, as a channel may that keeps nothing of it.
class CForgetfulChannel final : public IChannel {
  public:
    explicit CForgetfulChannel(int outcomes) : outcomes_(outcomes) {}
    void Start() override {}
    void Stop() override {}
    void SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) override {
        released += receiver_ ? 1 : 0;
        receiver_ = receiver;
    }
    void Send(const std::vector<unsigned char>&) override {
        const auto reply = outcomes_-- > 0 ? OutcomeReply(0) : NoOutcomeReply();
        receiver_.get()->OnBufferReceived(reply);
    }

    int released = 0;

  private:
    int outcomes_;
    boost::shared_ptr<IBufferReceiver> receiver_;
};

class TaskStatusChainTest : public CommonTaskFixture {
  protected:
    void Run(const boost::shared_ptr<IChannel>& over) const {
        const auto task =
            boost::make_shared<CGetTaskStatusTask>(MessageType::OvAgentRequest, logger, publisher,
                                                   instance, factory, over, kProduct, clock);
        task->Execute(trigger);
        over->SetBufferReceiver({});
    }
    /// The real channel, to a product with this many outcomes.
    static boost::shared_ptr<IChannel> ChannelWith(int outcomes) {
        const auto script = boost::make_shared<KelcommScript>();
        for (int count = 0; count < outcomes; ++count) {
            script->requests.push_back({0, OutcomeReply(0)});
        }
        script->standingRequest = {0, NoOutcomeReply()};
        return boost::make_shared<Kelcomm::CKelcommChannelAdapter>(
            std::make_unique<Kyr::Test::CFakeKelcommClient>(script),
            std::make_unique<Kyr::Test::CFakeKelcommClient>(boost::make_shared<KelcommScript>()),
            clockOf());
    }
    static boost::shared_ptr<Base::IClock> clockOf() { return Base::SystemClock(); }

    MessagePointer trigger = TriggerOf(2);
};

TEST_F(TaskStatusChainTest, ReceiverMayBeReleasedWhileItRuns) {
    const auto forgetful = boost::make_shared<CForgetfulChannel>(3);
    Run(forgetful);
    EXPECT_EQ(publisher->messages.size(), 3u);
    EXPECT_EQ(forgetful->released, 4);
}

TEST_F(TaskStatusChainTest, ChainOwnsItsTrigger) {
    publisher->onPublish = [this](const auto&) { trigger.reset(); };
    Run(boost::make_shared<CForgetfulChannel>(3));
    EXPECT_EQ(publisher->messages.size(), 3u);
}

TEST_F(TaskStatusChainTest, ThousandOutcomesFitTheStackOfAThread) {
    const auto over = ChannelWith(1000);
    boost::thread thread([&] { Run(over); });
    thread.join();
    EXPECT_EQ(publisher->messages.size(), 1000u);
}

TEST_F(TaskStatusChainTest, EachOutcomeTakesLittleStack) {
    std::vector<std::uintptr_t> depths;
    publisher->onPublish = [&depths](const auto&) {
        const char here = 0;
        depths.push_back(reinterpret_cast<std::uintptr_t>(&here));
    };
    Run(ChannelWith(101));
    const std::uintptr_t perOutcome = (depths.front() - depths.back()) / 100;
    RecordProperty("bytes_of_stack_for_an_outcome", std::to_string(perOutcome));
    EXPECT_GT(perOutcome, 0u);
    // A thousand in a quarter of the smallest stack that a host's threads have, 8 MiB or 2 MiB.
    EXPECT_LT(perOutcome, 2048u);
}

TEST_F(TaskStatusChainTest, FailureAtTheEndOfALongChainComesOutOnce) {
    const auto over = ChannelWith(200);
    publisher->onPublish = [this](const auto&) {
        if (publisher->messages.size() == 199) {
            throw std::runtime_error("bus is down");
        }
    };
    EXPECT_EQ(RetryAfter([&] { Run(over); }), "bus is down");
    EXPECT_EQ(publisher->messages.size(), 199u);
    over->SetBufferReceiver({});
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
