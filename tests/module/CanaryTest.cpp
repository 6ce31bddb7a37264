// Secrets in everything that comes in: from the host, from its stores, from the product. Each gets
// where it belongs, and none into the log.
#include <cstring>
#include <string>

#include "host/message/ApplyPolicy.h"
#include "host/message/RequestConfigurationMessage.h"
#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"
#include "kelcomm/messages/EncryptionStorageStatusResponse.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "tests/connector/tasks/TaskOutcomeReply.h"
#include "tests/module/OvModuleFixture.h"
#include "tests/support/HexBytes.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/PackedPolicy.h"
#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Message::Configuration::CRequestConfigurationMessage;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Policies::CApplyPolicy;
using Kyr::Test::HexBytes;
using Kyr::Test::KelcommReply;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

// 14 letters, 0E on the wire.
constexpr char kCanary[] = "canary-4711-ab";

class CanaryTest : public OvModuleFixture {
  protected:
    static boost::shared_ptr<CApplyPolicy> PolicyOf(const std::string& blob) {
        const auto policy = boost::make_shared<CApplyPolicy>();
        policy->SetPolicyBlob(blob);
        policy->SetReadOnly();
        return policy;
    }
    /// A blob in which the canary can be read: a zlib block of 16 bytes that are stored, which are
    /// the head of a field and the canary.
    static std::string StoredBlob(const std::string& fieldHead) {
        const auto head = HexBytes("78 01 01 10 00 EF FF " + fieldHead);
        return Kyr::Test::BlobOf(16, std::string(head.begin(), head.end()) + kCanary);
    }
    static boost::shared_ptr<COvAgentRequest> Trigger(int kind) {
        const auto trigger = boost::make_shared<COvAgentRequest>();
        trigger->SetRequestType(kind);
        return trigger;
    }
    /// A successful reply whose payload is `hexBytes` and the canary.
    static std::vector<unsigned char> ReplyOf(const std::string& hexBytes) {
        auto payload = HexBytes(hexBytes);
        payload.insert(payload.end(), kCanary, kCanary + sizeof kCanary - 1);
        return KelcommReply(0, static_cast<std::uint32_t>(payload.size()), payload);
    }
    /// The product answers the next request behind the agent's identifier with that.
    void AnswerWith(const std::vector<unsigned char>& reply) {
        alpc_->requests = {{0, KelcommReply(0, 0)}, {0, reply}};
    }
    /// Hands the module a message and waits until it is done; the module ends.
    void Carry(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
        StartAndConnect();
        host_.bus->Deliver(message);
        ASSERT_TRUE(Kyr::Test::Await([this] { return module_->Stop(false); }));
    }
    std::string LastRequest() const {
        const auto& bytes = alpc_->seenRequests.back().bytes;
        return {bytes.begin(), bytes.end()};
    }
    template <typename Message>
    boost::shared_ptr<Message> LastPublished() const {
        return boost::dynamic_pointer_cast<Message>(host_.bus->Publications().back().message);
    }
    void ExpectNoCanaryInTheLog() const {
        EXPECT_THAT(host_.log->Lines(), Not(IsEmpty()));
        EXPECT_THAT(host_.log->Lines(), Each(Not(HasSubstr(kCanary))));
    }
};

TEST_F(CanaryTest, PolicyIsSentAndNotLogged) {
    Carry(PolicyOf(Kyr::Test::Packed(kCanary)));
    EXPECT_THAT(LastRequest(), HasSubstr(kCanary));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, PolicyThatDoesNotParseIsNotLogged) {
    Carry(PolicyOf(kCanary));
    EXPECT_THAT(host_.log->Lines(),
                Contains(StartsWith("4 Policy is damaged: not a compressed blob")));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, PolicyWhoseContentDoesNotParseIsNotLogged) {
    Carry(PolicyOf(StoredBlob("0A 7F")));
    EXPECT_THAT(host_.log->Lines(), Contains(HasSubstr("content does not parse")));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, PolicyThatIsRefusedIsNotLogged) {
    Carry(PolicyOf(Kyr::Test::Packed(kCanary)));
    alpc_->requests = {{0, KelcommReply(0, 0)}, {0, KelcommReply(7, 0)}};
    EXPECT_THROW(module_->Connect(), std::runtime_error);
    EXPECT_THAT(LastRequest(), HasSubstr(kCanary));
    EXPECT_THAT(host_.log->Lines(), Contains("3 CKelcommChannel: Send request failed with 7"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, PolicyThatIsCancelledIsNotLogged) {
    SilenceProduct();
    Initialize();
    module_->Start();
    ASSERT_TRUE(clock_->AwaitSleepers(1));
    host_.bus->Deliver(PolicyOf(StoredBlob("0A 0E")));
    module_->Stop(true);
    EXPECT_THAT(host_.log->Lines(),
                Contains(StartsWith("4 Message task was canceled because product is not available, "
                                    "message was: ")));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, ConfigurationIsPublishedAndNotLogged) {
    CRequestConfigurationMessage::Payload payload;
    payload.set_producttype(0);
    const auto request = boost::make_shared<CRequestConfigurationMessage>();
    request->SetPayload(payload);
    AnswerWith(ReplyOf(""));
    Carry(request);
    const auto event = LastPublished<Kyr::Common::Message::Logs::CEventLog>();
    ASSERT_TRUE(event);
    EXPECT_EQ(event->GetSymbols()->GetBlob(1892), kCanary);
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, IndicatorsArePublishedAndNotLogged) {
    AnswerWith(ReplyOf("0A 0E"));
    Carry(Trigger(3));
    const auto batch =
        LastPublished<Kyr::Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs>();
    ASSERT_TRUE(batch);
    EXPECT_THAT(batch->GetLogs(), testing::ElementsAre(kCanary));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, TelemetryIsPublishedAndNotLogged) {
    AnswerWith(ReplyOf("0A 0E"));
    Carry(Trigger(4));
    const auto batch =
        LastPublished<Kyr::Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs>();
    ASSERT_TRUE(batch);
    EXPECT_THAT(batch->GetLogs(), testing::ElementsAre(kCanary));
    ExpectNoCanaryInTheLog();
}

// An action that blocks, with the canary in a field that only the product knows.
TEST_F(CanaryTest, RemediationActionsAreStoredAndNotLogged) {
    AnswerWith(ReplyOf("0A 12 08 03 12 0E"));
    Carry(Trigger(5));
    const auto batches = host_.database->remediationActions->Batches();
    ASSERT_EQ(batches.size(), 1u);
    EXPECT_THAT(batches[0], Contains(HasSubstr(kCanary)));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, RemediationActionsThatAreRefusedAreNotLogged) {
    host_.database->remediationActions->OnStore([](const auto& /*actions*/) { return false; });
    AnswerWith(ReplyOf("0A 12 08 03 12 0E"));
    StartAndConnect();
    host_.bus->Deliver(Trigger(5));
    EXPECT_TRUE(host_.log->AwaitText("OV Remediation: Failed to store"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, OffsetThatIsNoNumberIsNotLogged) {
    host_.database->keyValues->Put("XDR_OFFSET", kCanary);
    StartAndConnect();
    host_.bus->Deliver(Trigger(3));
    EXPECT_TRUE(host_.log->AwaitText(
        "bad lexical cast: source type value could not be interpreted as target"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, FlagsAndServerOfThePolicyAreNotLogged) {
    host_.database->keyValues->Put("XDR_ENABLED", "1");
    host_.database->keyValues->Put("XDR_HOST", kCanary);
    host_.database->keyValues->Put("OV_REMEDIATION_ENABLED", kCanary);
    StartAndConnect();
    EXPECT_TRUE(host_.log->AwaitText(
        "OV rule actions flag is not a bool, disabling rule actions propagation"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, UserDataThatAreNoUuidsAreNotLogged) {
    const std::string three = std::string(kCanary) + ';' + kCanary + ';' + kCanary;
    AnswerWith(Common::Tasks::OutcomeReply(0, three));
    StartAndConnect();
    host_.bus->Deliver(Trigger(2));
    EXPECT_TRUE(host_.log->AwaitText("invalid uuid string"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, UserDataOfTwoPartsAreNotLogged) {
    AnswerWith(Common::Tasks::OutcomeReply(0, std::string(kCanary) + ';' + kCanary));
    StartAndConnect();
    host_.bus->Deliver(Trigger(2));
    EXPECT_TRUE(host_.log->AwaitText("Task log: Log record has badly formated uuids in user data"));
    ExpectNoCanaryInTheLog();
}

// A reply that can be read is logged as a whole: the line is the product's contract.
TEST_F(CanaryTest, StatusThatCannotBeReadIsNotLogged) {
    // "<TULK " and the canary, which is no element.
    AnswerWith(ReplyOf("3C 54 55 4C 4B 20"));
    StartAndConnect();
    host_.bus->Deliver(Trigger(0));
    ASSERT_TRUE(clock_->AwaitSleepers(2));
    EXPECT_THAT(host_.log->Lines(), Contains(StartsWith("4 <unspecified file>")));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, RefusalOfARequestDoesNotLogTheRestOfItsReply) {
    alpc_->requests = {{0, KelcommReply(0, 0)},
                       {0, KelcommReply(7, 0, {kCanary, kCanary + sizeof kCanary - 1})}};
    StartAndConnect();
    host_.bus->Deliver(Trigger(0));
    EXPECT_TRUE(host_.log->AwaitText("CKelcommChannel: Send request failed with 7"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, AnswerToWhoAsksIsNotLogged) {
    alpc_->requests = {{0, ReplyOf("")}};
    StartAndConnect();
    EXPECT_THAT(host_.log->Lines(), Contains("2 Connected to product, processing tasks"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, AnswerToWhoAsksThatIsNoneIsNotLogged) {
    Initialize();
    alpc_->requests = {{0, {kCanary, kCanary + sizeof kCanary - 1}}};
    EXPECT_THROW(module_->Connect(), std::runtime_error);
    EXPECT_THAT(host_.log->Lines(), Contains("3 CKelcommChannel: Reply header has wrong size"));
    ExpectNoCanaryInTheLog();
}

TEST_F(CanaryTest, AnswerToAPolicyIsNotLogged) {
    AnswerWith(ReplyOf(""));
    Carry(PolicyOf(Kyr::Test::Packed("a policy")));
    EXPECT_THAT(host_.log->Lines(), Contains("2 Set policy request to product was successfull"));
    ExpectNoCanaryInTheLog();
}

// Its values are numbers; what a look tells of them is which has changed.
TEST_F(CanaryTest, AreaIsNotLogged) {
    StartAndConnect();
    auto& area = alpc_->broadcastArea;
    for (std::size_t place = 0; place < area.size(); ++place) {
        area[place] = static_cast<std::uint8_t>(kCanary[place % (sizeof kCanary - 1)]);
    }
    WatchOnceMore();
    EXPECT_THAT(host_.log->Lines(), Contains("2 Received broadcast 2"));
    ExpectNoCanaryInTheLog();
    std::int32_t value = 0;
    std::memcpy(&value, &area[32], sizeof value);  // that of broadcast 2
    EXPECT_THAT(host_.log->Lines(), Each(Not(HasSubstr(std::to_string(value)))));
}

TEST_F(CanaryTest, RegisteredBuildThatIsNoNumberIsNotLogged) {
    Kyr::Test::CInstalledProduct product;
    product.Install(5600);
    ModuleSystem system = System();
    system.productBuild = SystemProductBuildReader();
    module_ = std::make_unique<CTestedModule>(system);
    Initialize();
    product.InstallWithText(kCanary);
    EXPECT_THROW(module_->Connect(), std::exception);
    EXPECT_THAT(host_.log->Lines(), Not(IsEmpty()));
    ExpectNoCanaryInTheLog();
}

// The module asks for neither; whoever does logs what these say.
template <typename Response>
std::string WhatItSaysOf(const std::string& document) {
    Response response;
    std::vector<unsigned char> body(document.begin(), document.end());
    const auto size = static_cast<std::uint32_t>(body.size());
    return Kyr::Test::ThrownText([&] { response.Deserialize(KelcommReply(0, size, body)); });
}

TEST(EncryptionCanaryTest, FailuresOfRecoveryDataDoNotQuoteThem) {
    using Response = Common::Kelcomm::Messages::CGetEncryptionRecoveryDataResponse;
    const std::string canary = kCanary;
    for (const std::string& document :
         {"<TULK " + canary + ">", "<TULK><MESSAGE>" + canary + "</MESSAGE></TULK>",
          "<TULK><MESSAGE><RESPONSE><RECOVERY_PASSWORD UID='" + canary +
              "'/></RESPONSE></MESSAGE></TULK>",
          "<TULK><MESSAGE><RESPONSE><RECOVERY_DATA DEVICEID='d'>" + canary +
              "</RECOVERY_DATA></RESPONSE></MESSAGE></TULK>"}) {
        EXPECT_THAT(WhatItSaysOf<Response>(document), AllOf(Not(IsEmpty()), Not(HasSubstr(canary))))
            << document;
    }
}

TEST(EncryptionCanaryTest, FailuresOfAStorageStatusDoNotQuoteIt) {
    using Response = Common::Kelcomm::Messages::CGetEncryptionStorageStatusResponse;
    const std::string canary = kCanary;
    for (const std::string& document :
         {"<TULK " + canary + ">", "<TULK><MESSAGE>" + canary + "</MESSAGE></TULK>",
          "<TULK><MESSAGE><RESPONSE><SYSTEM WORKSTATION_ID='" + canary +
              "'/></RESPONSE></MESSAGE></TULK>",
          "<TULK><MESSAGE><RESPONSE><DISK DEVICE_ID='" + canary +
              "'/></RESPONSE></MESSAGE></TULK>"}) {
        EXPECT_THAT(WhatItSaysOf<Response>(document), AllOf(Not(IsEmpty()), Not(HasSubstr(canary))))
            << document;
    }
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
