// A connection for whose watch the operating system has no thread: what comes before the watch, and
// what it looks like when there is none.
#include "host/message/ApplyPolicy.h"
#include "logs/StatusLog.h"
#include "tests/connector/tasks/SmallPolicy.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/ThrownText.h"
#include "tests/support/system/NoThreads.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Logs::CStatusLog;
using Kyr::Common::Message::Policies::CApplyPolicy;
using Kyr::Test::KelcommReply;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class WatchCreationTest : public OvModuleFixture {
  protected:
    /// Has the module carry out a policy and end.
    void ReceivePolicy() {
        StartAndConnect();
        const auto policy = boost::make_shared<CApplyPolicy>();
        policy->SetPolicyBlob(Common::Tasks::SmallPolicyBlob());
        host_.bus->Deliver(policy);
        ASSERT_TRUE(host_.log->AwaitText("Set policy request to product was successfull"));
        ASSERT_TRUE(Kyr::Test::Await([this] { return module_->Stop(false); }));
    }
    std::string ConnectFailure() {
        const Kyr::Test::CNoThreads noThreads;
        return Kyr::Test::ThrownText([this] { module_->Connect(); });
    }
};

TEST_F(WatchCreationTest, WatchWithoutAThreadFailsTheConnectionBehindItsLogs) {
    Initialize();
    EXPECT_THAT(ConnectFailure(),
                StartsWith("Starting TULK OVANTA Connector connector module failed with: "
                           "boost::thread_resource_error"));
    EXPECT_THAT(PublishedTypes(),
                ElementsAre(MessageType::PresenceStatus, MessageType::MultiProductStatus,
                            MessageType::ProductStatus, MessageType::ProductStatus));
    const auto last =
        boost::dynamic_pointer_cast<CStatusLog>(host_.bus->Publications().back().message);
    ASSERT_TRUE(last);
    EXPECT_EQ(last->GetSymbols()->GetRow(0)->GetInt32(241), 6);
    EXPECT_THAT(host_.log->Lines(), ElementsAre(StartsWith("3 boost::thread_resource_error")));
}

TEST_F(WatchCreationTest, ConnectionThatFailedSoCanBeEndedAndMadeAgain) {
    Initialize();
    ConnectFailure();
    module_->Disconnect();
    EXPECT_TRUE(module_->Connect());
    EXPECT_TRUE(AwaitWatchAsleep());
}

TEST_F(WatchCreationTest, PolicyIsSentAgainBeforeTheWatchBegins) {
    ReceivePolicy();
    EXPECT_THAT(ConnectFailure(), HasSubstr("boost::thread_resource_error"));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x6D, 0x9A, 0x6D));
}

TEST_F(WatchCreationTest, RefusedPolicyFailsTheConnectionWithoutAWatch) {
    ReceivePolicy();
    alpc_->requests = {{0, KelcommReply(0, 0)}, {0, KelcommReply(7, 0)}};
    // Not the failure of a thread: none has been asked for.
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send "
              "request failed with 7");
}

TEST_F(WatchCreationTest, RefusedIdentifierFailsTheConnectionWithoutAWatch) {
    Initialize();
    alpc_->standingRequest = {0, KelcommReply(1, 0)};
    EXPECT_EQ(ConnectFailure(),
              "Starting TULK OVANTA Connector connector module failed with: CKelcommChannel: Send "
              "request failed with 1");
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
