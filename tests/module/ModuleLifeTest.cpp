// The life of the loaded module on a computer where no Ov agent runs, or none is installed.
#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "host/message/OvAgentTasks.h"
#include "logs/MultiProductStatusLog.h"
#include "tests/module/LoadedLibrary.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Kernel::MessageType;
using Common::Message::Logs::CMultiProductStatusLog;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

/// The product is installed and does not run.
class ModuleLifeTest : public ::testing::Test {
  protected:
    ModuleLifeTest() { module_->Initialize(host_); }

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

    CInstalledProduct product_{5600};
    CLoadedLibrary library_;
    CFakeHost host_;
    boost::shared_ptr<CLoadedLibrary::Module> module_ = library_.CreateModule();
};

TEST_F(ModuleLifeTest, ModuleSubscribesOnceForEachTaskAndThenToReplies) {
    EXPECT_THAT(
        SubscribedTypes(),
        ElementsAre(MessageType::RequestConfiguration, MessageType::ApplyPolicy,
                    MessageType::OvAgentRequest, MessageType::OvAgentRequest,
                    MessageType::KillProcessByPid, MessageType::BlockExecutableByHash,
                    MessageType::OvAgentRequest, MessageType::OvAgentRequest,
                    MessageType::OvAgentRequest, MessageType::Response, MessageType::Reply));
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
    EXPECT_EQ(host_.bus->Publications()[0].message->GetMessageType(), MessageType::TaskEvent);
}

TEST_F(ModuleLifeTest, ModuleThatWasForgottenEndsItsThreadsWhenItIsDestroyed) {
    module_->Start();
    ASSERT_TRUE(host_.log->AwaitText("Connecting to product"));
    module_.reset();
    EXPECT_THAT(host_.log->Lines(), Contains("4 Product is not available, canceling tasks"));
}

class AbsentProductTest : public ::testing::Test {
  protected:
    CInstalledProduct product_;
    CLoadedLibrary library_;
    CFakeHost host_;
    boost::shared_ptr<CLoadedLibrary::Module> module_ = library_.CreateModule();
};

TEST_F(AbsentProductTest, ModuleSaysThatItStaysInactive) {
    module_->Initialize(host_);
    EXPECT_THAT(host_.log->Lines(),
                ElementsAre("2 Connector was deactivated. No tasks will be processed and no logs "
                            "will be produced."));
    EXPECT_TRUE(host_.bus->Subscriptions().empty());
}

TEST_F(AbsentProductTest, EveryStartPublishesTheDeactivatedStatus) {
    module_->Initialize(host_);
    module_->Start();
    module_->Start();
    ASSERT_EQ(host_.bus->Publications().size(), 2);
    const auto status =
        boost::dynamic_pointer_cast<CMultiProductStatusLog>(host_.bus->Publications()[1].message);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->GetSymbols()->GetRowCount(), 0);
    EXPECT_EQ(status->GetProductIdentification()->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(AbsentProductTest, ProductThatIsInstalledLaterIsNotSeen) {
    module_->Initialize(host_);
    product_.Install(5600);
    module_->Start();
    module_->RequestStop();
    EXPECT_TRUE(module_->Stop(false));
    EXPECT_THAT(host_.log->Lines(), Not(Contains("2 Connecting to product")));
}

TEST_F(AbsentProductTest, BuildOfAnotherTypeReachesTheHost) {
    product_.InstallWithText();
    EXPECT_THROW(module_->Initialize(host_), std::exception);
}

}  // namespace
}  // namespace Kyr::Test
