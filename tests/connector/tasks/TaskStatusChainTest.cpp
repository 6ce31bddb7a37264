// Long chains of task outcomes: however long, they take what one exchange takes.
#include <boost/thread/latch.hpp>
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

/// Runs the task again inside each exchange, as a receiver does with an outcome, and tells none.
class CRunningChannel final : public IChannel {
  public:
    explicit CRunningChannel(int runs) : runs_(runs) {}
    void Start() override {}
    void Stop() override {}
    void SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) override {
        receiver_ = receiver;
    }
    void Send(const std::vector<unsigned char>&) override {
        ++sent;
        if (runs_-- > 0) {
            task->Execute(trigger);
        }
    }

    int sent = 0;
    boost::shared_ptr<CGetTaskStatusTask> task;
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger;

  private:
    int runs_;
    boost::shared_ptr<IBufferReceiver> receiver_;
};

class TaskStatusChainTest : public CommonTaskFixture {
  protected:
    boost::shared_ptr<CGetTaskStatusTask> TaskOver(const boost::shared_ptr<IChannel>& over) const {
        return boost::make_shared<CGetTaskStatusTask>(MessageType::OvAgentRequest, logger,
                                                      publisher, instance, factory, over, kProduct,
                                                      clock);
    }
    void Run(const boost::shared_ptr<IChannel>& over) const {
        TaskOver(over)->Execute(trigger);
        over->SetBufferReceiver({});
    }
    /// Runs `action` on a thread with 256 KiB of stack: an eighth of the smallest that a host's
    /// threads have.
    template <typename Action>
    static void OnSmallStack(Action action) {
        boost::thread::attributes small;
        small.set_stack_size(256 << 10);
        boost::thread thread(small, action);
        thread.join();
    }
    /// The real channel, to a product with this many outcomes.
    static boost::shared_ptr<IChannel> ChannelWith(int outcomes) {
        const auto script = boost::make_shared<KelcommScript>();
        script->serve = [left = outcomes](const KelcommScript::Request&) mutable {
            return KelcommScript::Answer{0, left-- > 0 ? OutcomeReply(0) : NoOutcomeReply()};
        };
        script->whileServing = [seen = script.get()] { seen->seenRequests.clear(); };
        return boost::make_shared<Kelcomm::CKelcommChannelAdapter>(
            std::make_unique<Kyr::Test::CFakeKelcommClient>(script),
            std::make_unique<Kyr::Test::CFakeKelcommClient>(boost::make_shared<KelcommScript>()),
            clockOf());
    }
    static boost::shared_ptr<Base::IClock> clockOf() { return Base::SystemClock(); }

    /// How many are published, on a small stack, when a product has that many.
    int Publications(int outcomes) {
        publisher->recording = false;
        logger->Capture().SetRecording(false);
        int published = 0;
        publisher->onPublish = [&published](const auto&) { ++published; };
        const auto over = ChannelWith(outcomes);
        OnSmallStack([&] { Run(over); });
        return published;
    }

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

// The stack has not three bytes for each.
TEST_F(TaskStatusChainTest, HundredThousandRunsInOneChainFitASmallStack) {
    const auto over = boost::make_shared<CRunningChannel>(99999);
    over->task = TaskOver(over);
    over->trigger = trigger;
    OnSmallStack([&] { over->task->Execute(trigger); });
    EXPECT_EQ(over->sent, 100000);
    over->task.reset();
    over->SetBufferReceiver({});
}

TEST_F(TaskStatusChainTest, OutcomesOfALongChainFitASmallStack) {
    EXPECT_EQ(Publications(20000), 20000);
}

// For proofs/chain: it takes many seconds.
TEST_F(TaskStatusChainTest, DISABLED_MillionOutcomesFitASmallStack) {
    EXPECT_EQ(Publications(1000000), 1000000);
}

TEST_F(TaskStatusChainTest, DepthDoesNotGrowWithTheChain) {
    std::vector<std::uintptr_t> depths;
    publisher->onPublish = [&depths](const auto&) {
        const char here = 0;
        depths.push_back(reinterpret_cast<std::uintptr_t>(&here));
    };
    Run(ChannelWith(101));
    ASSERT_EQ(depths.size(), 101u);
    EXPECT_EQ(depths.front(), depths.back());
}

TEST_F(TaskStatusChainTest, InterruptionEndsTheChainBehindAnOutcomeThatIsTold) {
    boost::thread runner;
    publisher->onPublish = [this, &runner](const auto&) {
        if (publisher->messages.size() == 4) {
            runner.interrupt();
        }
    };
    const auto over = ChannelWith(200);
    bool interrupted = false;
    boost::latch known(1);
    runner = boost::thread([&] {
        known.wait();
        try {
            Run(over);
        } catch (const boost::thread_interrupted&) {
            interrupted = true;
        }
    });
    known.count_down();
    runner.join();
    EXPECT_TRUE(interrupted);
    EXPECT_EQ(publisher->messages.size(), 5u);
    over->SetBufferReceiver({});
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
