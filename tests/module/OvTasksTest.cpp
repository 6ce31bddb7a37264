// The tasks with what the module gave them: from a message on the bus to the product and back.
#include <cstdint>

#include "host/message/ApplyPolicy.h"
#include "host/message/RequestConfigurationMessage.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "logs/StatusLog.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Configuration::CRequestConfigurationMessage;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Logs::CEventLog;
using Kyr::Common::Message::Logs::CStatusLog;
using Kyr::Common::Message::Policies::CApplyPolicy;
using namespace Kyr::Test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A successful reply with that payload.
std::vector<unsigned char> TextReply(const std::string& text) {
    return KelcommReply(0, static_cast<std::uint32_t>(text.size()), {text.begin(), text.end()});
}

/// A policy whose text is "ab".
boost::shared_ptr<CApplyPolicy> MakePolicy() {
    // A blob of 4 bytes, which are stored in 15 without being compressed.
    const auto blob = HexBytes("08 04 12 0F 78 01 01 04 00 FB FF 0A 02 61 62 01 56 00 D0");
    const auto policy = boost::make_shared<CApplyPolicy>();
    policy->SetPolicyBlob(std::string(blob.begin(), blob.end()));
    policy->SetReadOnly();
    return policy;
}

boost::shared_ptr<COvAgentRequest> MakeRequest(int kind) {
    const auto request = boost::make_shared<COvAgentRequest>();
    request->SetRequestType(kind);
    return request;
}

boost::shared_ptr<CRequestConfigurationMessage> MakeExport(int productType) {
    CRequestConfigurationMessage::Payload payload;
    payload.set_producttype(productType);
    const auto message = boost::make_shared<CRequestConfigurationMessage>();
    message->SetPayload(payload);
    return message;
}

class OvTasksTest : public OvModuleFixture {
  protected:
    /// Hands the module a message and waits until all of its queue is done; the module ends.
    void Carry(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
        host_.bus->Deliver(message);
        ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    }
    /// The product answers the next request behind the agent's identifier with that.
    void AnswerWith(const std::vector<unsigned char>& reply) {
        alpc_->requests = {{0, KelcommReply(0, 0)}, {0, reply}};
    }
    template <typename Log>
    boost::shared_ptr<Log> LastPublished() const {
        const auto publications = host_.bus->Publications();
        return publications.empty() ? nullptr
                                    : boost::dynamic_pointer_cast<Log>(publications.back().message);
    }
};

TEST_F(OvTasksTest, StatusIsReportedForTheProductAndItsType) {
    AnswerWith(TextReply("<TULK><SECTION><STATUS></STATUS></SECTION></TULK>"));
    StartAndConnect();
    Carry(MakeRequest(0));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x21));
    ASSERT_EQ(PublishedTypes().size(), 4u);  // behind the three of the connection
    const auto log = LastPublished<CStatusLog>();
    ASSERT_TRUE(log);
    EXPECT_EQ(log->GetMessageType(), MessageType::ProductStatus);
    const auto row = log->GetSymbols()->GetRow(0);
    EXPECT_EQ(row->GetInt64(244), 17);
    EXPECT_EQ(row->GetResourceId(245), 0x07100000000005E2u);
    EXPECT_EQ(row->GetUuid(235).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(row->GetUtcTime(242).year(), 2023);
}

TEST_F(OvTasksTest, TaskStatusIsAskedFor) {
    AnswerWith(KelcommReply(0, 0));
    StartAndConnect();
    Carry(MakeRequest(2));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x70));
}

TEST_F(OvTasksTest, OutcomeOfATaskIsReportedForTheProduct) {
    AnswerWith(Common::Tasks::OutcomeReply(0));
    StartAndConnect();
    Carry(MakeRequest(2));
    ASSERT_EQ(PublishedTypes().size(), 4u);  // behind the three of the connection
    const auto log = LastPublished<CEventLog>();
    ASSERT_TRUE(log);
    EXPECT_EQ(log->GetMessageType(), MessageType::TaskEvent);
    EXPECT_EQ(log->GetSymbols()->GetResourceId(2853), 0x07100000000005E2u);
    EXPECT_EQ(log->GetSymbols()->GetUuid(2834).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(log->GetSymbols()->GetUtcTime(2838).year(), 2023);
}

TEST_F(OvTasksTest, EachKindIsTakenByOneTaskOnly) {
    StartAndConnect();
    for (const int kind : {1, 3, 4, 5, 6}) {
        host_.bus->Deliver(MakeRequest(kind));
    }
    ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x00100000, 0x00100002, 0x00100001));
}

TEST_F(OvTasksTest, ConfigurationOfTheProductTypes0And9IsExported) {
    alpc_->standingRequest = {0, TextReply("the configuration")};
    StartAndConnect();
    host_.bus->Deliver(MakeExport(0));
    Carry(MakeExport(9));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x6E, 0x6E));
    const auto log = LastPublished<CEventLog>();
    ASSERT_TRUE(log);
    EXPECT_EQ(log->GetMessageType(), MessageType::ConfigurationEvent);
    EXPECT_EQ(log->GetSymbols()->GetBlob(1892), "the configuration");
    EXPECT_EQ(log->GetSymbols()->GetResourceId(1891), 0x07100000000005E2u);
}

TEST_F(OvTasksTest, ConfigurationOfAnotherProductIsNot) {
    StartAndConnect();
    Carry(MakeExport(17));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A));
}

TEST_F(OvTasksTest, WithoutAPolicyAConnectionSendsNone) {
    StartAndConnect();
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A));
}

TEST_F(OvTasksTest, LastPolicyIsSentAgainWithEveryConnectionBehindTheLogs) {
    StartAndConnect();
    host_.bus->Deliver(MakePolicy());
    ASSERT_TRUE(host_.log->AwaitText("Set policy request to product was successfull"));
    ASSERT_TRUE(module_->Stop(false) || Await([this] { return module_->Stop(false); }));
    const std::size_t before = host_.bus->Publications().size();
    std::size_t published = 0;
    // The fourth request is the policy; exchanges of the periodic thread may come later.
    alpc_->whileServing = [this, &published] {
        if (alpc_->seenRequests.size() == 3) {
            published = host_.bus->Publications().size();
        }
    };
    ASSERT_TRUE(module_->Connect());
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x6D, 0x9A, 0x6D));
    EXPECT_EQ(alpc_->seenRequests[3].bytes, alpc_->seenRequests[1].bytes);
    EXPECT_EQ(alpc_->seenRequests[3].bytes, HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62"));
    EXPECT_EQ(published, before + 3);
}

TEST_F(OvTasksTest, PolicyThatTheProductRefusesFailsTheConnection) {
    StartAndConnect();
    host_.bus->Deliver(MakePolicy());
    ASSERT_TRUE(host_.log->AwaitText("Set policy request to product was successfull"));
    ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    alpc_->requests = {{0, KelcommReply(0, 0)}, {0, KelcommReply(7, 0)}};
    EXPECT_THROW(module_->Connect(), std::runtime_error);
    EXPECT_THAT(host_.log->Lines(), Contains("3 CKelcommChannel: Send request failed with 7"));
}

TEST_F(OvTasksTest, FailedPingMakesTheModuleReconnect) {
    host_.bus->SetDelivering(true);
    StartAndConnect();
    alpc_->pings = {{1, {}}};
    lpc_->pings = {{1, {}}};
    alpc_->requests = {{1, {}}};
    clock_->Advance(std::chrono::seconds(5));
    ASSERT_TRUE(host_.log->AwaitText("CKelcommChannel: Send request failed with kelcomm error 1"));
    ASSERT_TRUE(clock_->AwaitSleepers(2));
    clock_->Advance(std::chrono::seconds(10));
    EXPECT_TRUE(host_.log->AwaitText("Reconnecting to product"));
    EXPECT_TRUE(Await([this] { return PublishedTypes().size() >= 7; }));
}

TEST_F(OvTasksTest, ChangedBroadcastBecomesAStatusFiveSecondsLater) {
    host_.bus->SetDelivering(true);
    SetBroadcast(2, 1);
    AnswerWith(TextReply("<TULK><SECTION><STATUS></STATUS></SECTION></TULK>"));
    StartAndConnect();
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A));
    WatchOnceMore();
    ASSERT_TRUE(Await([this] { return module_->Stop(false); }));
    EXPECT_THAT(InnerCommands(), ElementsAre(0x9A, 0x21));
    EXPECT_THAT(host_.log->Lines(), Contains("2 Protection status log deserialized and published"));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
