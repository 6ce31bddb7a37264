// The life of the loaded module on a computer where no Ov agent runs.
#include <Poco/Environment.h>
#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "host/message/OvAgentTasks.h"
#include "tests/module/LoadedLibrary.h"
#include "tests/support/FakeHost.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Kernel::MessageType;
using ::testing::Contains;
using ::testing::ElementsAre;

class ModuleLifeTest : public ::testing::Test {
  protected:
    // A place for ports that does not exist: nobody serves one there.
    ModuleLifeTest() {
        Poco::Environment::set("KELCOMM_RUNTIME_DIR", "/nonexistent/kelcomm");
        module_->Initialize(host_);
    }

    std::vector<MessageType> SubscribedTypes() const {
        std::vector<MessageType> types;
        for (const CFakeBus::Subscription& subscription : host_.bus->Subscriptions()) {
            types.push_back(subscription.type);
        }
        return types;
    }

    /// A kill task with three identifiers.
    static boost::shared_ptr<Task::CKillProcessByPid> MakeTask() {
        const auto task = boost::make_shared<Task::CKillProcessByPid>();
        Task::CKillProcessByPid::Uuid identifier;
        identifier.set_uuid("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
        task->SetIdentifiers(identifier, identifier, identifier);
        task->SetReadOnly();
        return task;
    }

    CLoadedLibrary library_;
    CFakeHost host_;
    boost::shared_ptr<CLoadedLibrary::Module> module_ = library_.CreateModule();
};

TEST_F(ModuleLifeTest, ModuleSubscribesToTheActionTasksAndThenToReplies) {
    EXPECT_THAT(SubscribedTypes(),
                ElementsAre(MessageType::KillProcessByPid, MessageType::BlockExecutableByHash,
                            MessageType::Response, MessageType::Reply));
}

TEST_F(ModuleLifeTest, ModuleThatWaitsForTheProductStopsAtOnce) {
    module_->Start();
    ASSERT_TRUE(host_.log->AwaitText("Connecting to product"));
    module_->RequestStop();
    EXPECT_TRUE(module_->Stop(false));
}

TEST_F(ModuleLifeTest, LogLinesNameTheModule) {
    module_->Start();
    EXPECT_TRUE(host_.log->AwaitText("Connecting to product"));
    module_->Stop(true);
    EXPECT_THAT(host_.log->Entries(),
                Contains(LogEntry{"Connecting to product", 2, "COvAgentConnectorModule"}));
}

TEST_F(ModuleLifeTest, TaskThatNeverMetTheProductIsReportedAsCancelled) {
    module_->Start();
    host_.bus->Deliver(MakeTask());
    ASSERT_TRUE(host_.log->AwaitText("Connecting to product"));
    module_->RequestStop();
    module_->Stop(false);
    EXPECT_THAT(host_.log->Lines(),
                Contains("4 Message task was canceled because product is not available, message "
                         "was: KillProcessByPid"));
    ASSERT_EQ(host_.bus->Publications().size(), 1);
    EXPECT_EQ(host_.bus->Publications()[0].message->GetMessageType(),
              MessageType::TaskFailureEvent);
}

TEST_F(ModuleLifeTest, ModuleThatWasForgottenEndsItsThreadsWhenItIsDestroyed) {
    module_->Start();
    ASSERT_TRUE(host_.log->AwaitText("Connecting to product"));
    module_.reset();
    EXPECT_THAT(host_.log->Lines(), Contains("4 Product is not available, canceling tasks"));
}

}  // namespace
}  // namespace Kyr::Test
