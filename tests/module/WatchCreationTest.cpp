// A connection for whose watch the operating system has no thread.
#include "logs/StatusLog.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/NoThreads.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Logs::CStatusLog;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class WatchCreationTest : public OvModuleFixture {
  protected:
    WatchCreationTest() { Initialize(); }

    std::string ConnectFailure() {
        const Kyr::Test::CNoThreads noThreads;
        return Kyr::Test::ThrownText([this] { module_->Connect(); });
    }
};

TEST_F(WatchCreationTest, WatchWithoutAThreadFailsTheConnectionBehindItsLogs) {
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
    ConnectFailure();
    module_->Disconnect();
    EXPECT_TRUE(module_->Connect());
    EXPECT_TRUE(AwaitWatchAsleep());
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
