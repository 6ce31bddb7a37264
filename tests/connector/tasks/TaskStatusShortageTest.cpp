// Task outcomes while memory runs out: what the product has handed out is told, once.
#include "connector/tasks/GetTaskStatusTask.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Connectors::Common::Tasks {
namespace {

using Kyr::Common::Message::Logs::CEventLog;

/// Hands its replies out, one a request, and takes no memory for it.
class CFrugalChannel final : public IChannel {
  public:
    void Start() override {}
    void Stop() override {}
    void SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) override {
        receiver_ = receiver;
    }
    void Send(const std::vector<unsigned char>&) override {
        const std::size_t place = handedOut < replies.size() - 1 ? handedOut++ : handedOut;
        const auto current = receiver_;
        current->OnBufferReceived(replies[place]);
    }

    std::vector<std::vector<unsigned char>> replies{OutcomeReply(0), OutcomeReply(1),
                                                    OutcomeReply(7), NoOutcomeReply()};
    std::size_t handedOut = 0;

  private:
    boost::shared_ptr<IBufferReceiver> receiver_;
};

class TaskStatusShortageTest : public CommonTaskFixture {
  protected:
    /// The severities of what was published of three outcomes, while the allocation behind `after`
    /// others failed; whether there was one is told by `failed`.
    std::vector<int> Told(const boost::shared_ptr<CFrugalChannel>& over, unsigned after,
                          bool& failed) {
        publisher->messages.clear();
        const auto task =
            boost::make_shared<CGetTaskStatusTask>(MessageType::OvAgentRequest, logger, publisher,
                                                   instance, factory, over, kProduct, clock);
        const auto trigger = TriggerOf(2);
        try {
            const Kyr::Test::CAllocationFailure shortage(after);
            task->Execute(trigger);
            failed = shortage.HasHappened();
        } catch (const std::exception&) {
            failed = true;
        }
        task->Execute(trigger);
        over->SetBufferReceiver({});
        std::vector<int> severities;
        for (std::size_t index = 0; index < publisher->messages.size(); ++index) {
            severities.push_back(
                static_cast<int>(Published<CEventLog>(index)->GetSymbols()->GetInt64(2850)));
        }
        return severities;
    }
};

TEST_F(TaskStatusShortageTest, OutcomeIsToldOnceWhateverAllocationFails) {
    logger->Capture().SetRecording(false);
    bool failed = true;
    unsigned after = 0;
    for (; failed; ++after) {
        EXPECT_EQ(Told(boost::make_shared<CFrugalChannel>(), after, failed),
                  (std::vector<int>{20, 30, 40}))
            << "behind " << after;
    }
    EXPECT_GT(after, 100u);
}

TEST_F(TaskStatusShortageTest, LargeReplyThatCannotBeReadDoesNotStandBeforeTheOthers) {
    bool failed = true;
    int givenUp = 0;
    for (unsigned after = 0; failed; ++after) {
        const auto over = boost::make_shared<CFrugalChannel>();
        over->replies[0].resize(100000);
        const auto told = Told(over, after, failed);
        EXPECT_GE(told.size(), 2u) << "behind " << after;
        EXPECT_EQ(told.back(), 40) << "behind " << after;
        givenUp += told.size() == 2 ? 1 : 0;
    }
    // Where its bytes are kept, and where they are read.
    EXPECT_GT(givenUp, 1);
}

TEST_F(TaskStatusShortageTest, LargeReplyIsKeptForTheBus) {
    const auto over = boost::make_shared<CFrugalChannel>();
    over->replies[0].resize(100000);
    publisher->onPublish = [this](const auto&) {
        publisher->onPublish = nullptr;
        throw std::runtime_error("bus is down");
    };
    bool failed = false;
    EXPECT_EQ(Told(over, 1000000, failed), (std::vector<int>{20, 30, 40}));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
