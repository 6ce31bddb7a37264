#include <gmock/gmock.h>
#include <typeinfo>

#include <boost/make_shared.hpp>

#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"
#include "kelcomm/messages/EncryptionStorageStatusResponse.h"
#include "kelcomm/messages/ExportConfiguration.h"
#include "kelcomm/messages/FdeRequests.h"
#include "kelcomm/messages/GetStatus.h"
#include "kelcomm/messages/GetTaskStatus.h"
#include "kelcomm/messages/ImportConfigurationRequest.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "kelcomm/messages/OvRequest.h"
#include "kelcomm/messages/OvResponse.h"
#include "kelcomm/messages/SendAgentUUIDRequest.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/kelcomm/messages/TaskMessage.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Kyr::Common::Message::Connectors::FDEConnector::Task::CEnableFDEMaintenanceMode;
using namespace Test;
using testing::ElementsAre;
using testing::HasSubstr;
using Factory = IChannelMessageFactory;
using Message = Factory::Message;

constexpr char kNoDeserialize[] =
    "Standard implemtation of deserialization in channel request is not implemented";
constexpr char kNoSerialize[] =
    "Standard implemtation of serialize in channel response is not implemented";

class KelcommMessageFactoryTest : public testing::Test {
  protected:
    /// One message of each operation, in slot order.
    std::vector<Message> CreateAll() {
        return {factory_.CreateExportConfigurationRequest(),
                factory_.CreateExportConfigurationResponse(),
                factory_.CreateImportConfigurationRequest("text"),
                factory_.CreateSendAgentUUIDRequest("uuid"),
                factory_.CreateGetStatusResponse(),
                factory_.CreateGetStatusRequest(),
                factory_.CreateGetTaskStatusResponse(),
                factory_.CreateGetTaskStatusRequest(),
                factory_.CreateBlockFDEPasswordRequest(task_),
                factory_.CreateInvalidateFDEPasswordRequest(task_),
                factory_.CreateWipeFDEPasswordRequest(task_),
                factory_.CreateGenerateNewFDERecoveryPasswordRequest(task_),
                factory_.CreateRestartFDERequest(task_),
                factory_.CreateGetEncryptionRecoveryDataRequest(),
                factory_.CreateGetEncryptionRecoveryDataResponse(),
                factory_.CreateGetEncryptionStorageStatusRequest(),
                factory_.CreateGetEncryptionStorageStatusResponse(),
                factory_.CreateConfirmEncryptionRecoveryDataRequest({{"p"}, {"d"}}),
                factory_.CreateEnableFDEMaintenanceModeRequest(maintenanceTask_),
                factory_.CreateDisableFDEMaintenanceModeRequest(task_),
                factory_.CreateGetEcsIndicatorLogsRequest(1),
                factory_.CreateGetEcsIndicatorLogsResponse(),
                factory_.CreateGetEcsTelemetryLogsRequest(2),
                factory_.CreateGetEcsTelemetryLogsResponse(),
                factory_.CreateGetOvRemediationRequest(3),
                factory_.CreateGetOvRemediationResponse()};
    }

    static std::vector<const std::type_info*> ExpectedTypes() {
        return {&typeid(CExportConfigurationRequest),
                &typeid(CExportConfigurationResponse),
                &typeid(CImportConfigurationRequest),
                &typeid(CSendAgentUUIDRequest),
                &typeid(CGetStatusResponse),
                &typeid(CGetStatusRequest),
                &typeid(CGetTaskStatusResponse),
                &typeid(CGetTaskStatusRequest),
                &typeid(CBlockFDEPasswordRequest),
                &typeid(CInvalidateFDEPasswordRequest),
                &typeid(CWipeFDEPasswordRequest),
                &typeid(CGenerateNewFDERecoveryPasswordRequest),
                &typeid(CRestartFDERequest),
                &typeid(CGetEncryptionRecoveryDataRequest),
                &typeid(CGetEncryptionRecoveryDataResponse),
                &typeid(CGetEncryptionStorageStatusRequest),
                &typeid(CGetEncryptionStorageStatusResponse),
                &typeid(CConfirmEncryptionRecoveryDataRequest),
                &typeid(CEnableFDEMaintenanceModeRequest),
                &typeid(CDisableFDEMaintenanceModeRequest),
                &typeid(CGetEcsIndicatorLogsRequest),
                &typeid(CGetEcsIndicatorLogsResponse),
                &typeid(CGetEcsTelemetryLogsRequest),
                &typeid(CGetEcsTelemetryLogsResponse),
                &typeid(CGetOvRemediationRequest),
                &typeid(CGetOvRemediationResponse)};
    }

    /// The indices of those `messages` that are an Interface.
    template <typename Interface>
    static std::vector<int> Casting(const std::vector<Message>& messages) {
        std::vector<int> indices;
        for (std::size_t i = 0; i < messages.size(); ++i) {
            if (dynamic_cast<const Interface*>(messages[i].get()) != nullptr) {
                indices.push_back(static_cast<int>(i));
            }
        }
        return indices;
    }

    /// The requests that hold nothing but a task.
    std::vector<Message> CreateTaskRequests(const Factory::Task& task) {
        return {factory_.CreateBlockFDEPasswordRequest(task),
                factory_.CreateInvalidateFDEPasswordRequest(task),
                factory_.CreateWipeFDEPasswordRequest(task),
                factory_.CreateGenerateNewFDERecoveryPasswordRequest(task),
                factory_.CreateRestartFDERequest(task),
                factory_.CreateDisableFDEMaintenanceModeRequest(task)};
    }

    const Factory::Task task_ = boost::make_shared<CPlainTask>("a", "b", "c");
    const Factory::MaintenanceTask maintenanceTask_ = boost::make_shared<CEnableFDEMaintenanceMode>(
        static_cast<Kyr::Common::Kernel::MessageType>(900));
    CKelcommMessageFactory factory_;
};

TEST_F(KelcommMessageFactoryTest, SlotsFollowTheContract) {
    int slot = 1;
    EXPECT_EQ(VirtualSlot(&Factory::CreateExportConfigurationRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateExportConfigurationResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateImportConfigurationRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateSendAgentUUIDRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetStatusResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetStatusRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetTaskStatusResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetTaskStatusRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateBlockFDEPasswordRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateInvalidateFDEPasswordRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateWipeFDEPasswordRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGenerateNewFDERecoveryPasswordRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateRestartFDERequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEncryptionRecoveryDataRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEncryptionRecoveryDataResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEncryptionStorageStatusRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEncryptionStorageStatusResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateConfirmEncryptionRecoveryDataRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateEnableFDEMaintenanceModeRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateDisableFDEMaintenanceModeRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEcsIndicatorLogsRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEcsIndicatorLogsResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEcsTelemetryLogsRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetEcsTelemetryLogsResponse), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetOvRemediationRequest), slot++);
    EXPECT_EQ(VirtualSlot(&Factory::CreateGetOvRemediationResponse), slot++);
}

TEST_F(KelcommMessageFactoryTest, EachOperationMakesItsClass) {
    const auto messages = CreateAll();
    const auto types = ExpectedTypes();
    ASSERT_EQ(messages.size(), types.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        const IChannelMessage& message = *messages[i];
        EXPECT_EQ(typeid(message), *types[i]) << i;
    }
}

TEST_F(KelcommMessageFactoryTest, EachCallMakesANewObject) {
    const auto first = CreateAll();
    const auto second = CreateAll();
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_NE(first[i], second[i]) << i;
    }
}

TEST_F(KelcommMessageFactoryTest, TwoResponsesShareNoState) {
    const auto first = factory_.CreateExportConfigurationResponse();
    const auto second = factory_.CreateExportConfigurationResponse();
    first->Deserialize(TextReply("text"));
    const auto* other = dynamic_cast<const Common::CExportConfigurationResponse*>(second.get());
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->GetConfiguration(), "");
}

TEST_F(KelcommMessageFactoryTest, TwoRequestsShareNoState) {
    const auto first = factory_.CreateImportConfigurationRequest("a");
    const auto second = factory_.CreateImportConfigurationRequest("b");
    EXPECT_EQ(first->Serialize(), HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61"));
    EXPECT_EQ(second->Serialize(), HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 62"));
}

TEST_F(KelcommMessageFactoryTest, OnlyTheMatchingResponseCastsToAnInterface) {
    const auto messages = CreateAll();
    EXPECT_THAT(Casting<Common::CExportConfigurationResponse>(messages), ElementsAre(1));
    EXPECT_THAT(Casting<Common::CGetStatusResponse>(messages), ElementsAre(4));
    EXPECT_THAT(Casting<Common::CGetTaskStatusResponse>(messages), ElementsAre(6));
    EXPECT_THAT(Casting<Common::CGetEncryptionRecoveryDataResponse>(messages), ElementsAre(14));
    EXPECT_THAT(Casting<Common::CGetEncryptionStorageStatusResponse>(messages), ElementsAre(16));
}

TEST_F(KelcommMessageFactoryTest, EachMessageIsEitherARequestOrAResponse) {
    const auto messages = CreateAll();
    EXPECT_THAT(Casting<CChannelResponse>(messages), ElementsAre(1, 4, 6, 14, 16, 21, 23, 25));
    EXPECT_THAT(Casting<CChannelRequest>(messages),
                ElementsAre(0, 2, 3, 5, 7, 8, 9, 10, 11, 12, 13, 15, 17, 18, 19, 20, 22, 24));
}

TEST_F(KelcommMessageFactoryTest, RequestsRefuseToDeserialize) {
    for (const auto& message : CreateAll()) {
        if (dynamic_cast<const CChannelRequest*>(message.get()) != nullptr) {
            EXPECT_EQ(ThrownText([&] { message->Deserialize({}); }), kNoDeserialize);
            EXPECT_EQ(ThrownText([&] { message->Deserialize(TextReply("x")); }), kNoDeserialize);
        }
    }
}

TEST_F(KelcommMessageFactoryTest, ResponsesRefuseToSerialize) {
    for (const auto& message : CreateAll()) {
        if (dynamic_cast<const CChannelResponse*>(message.get()) != nullptr) {
            EXPECT_EQ(ThrownText([&] { message->Serialize(); }), kNoSerialize);
        }
    }
}

TEST_F(KelcommMessageFactoryTest, TextsAreCopied) {
    std::string text = "abc";
    const auto import = factory_.CreateImportConfigurationRequest(text);
    const auto uuid = factory_.CreateSendAgentUUIDRequest(text);
    text = "changed";
    EXPECT_EQ(import->Serialize(), HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62 63"));
    EXPECT_EQ(uuid->Serialize(), HexBytes("0C 00 00 00 00 06 00 01 9A 00 00 00"
                                          "04 01 00 00 04 00 00 00 03 00 00 00"
                                          "02 00 10 00 04 00 00 00 61 62 63 00"));
}

TEST_F(KelcommMessageFactoryTest, ConfirmationIsCopied) {
    EncryptionRecoveryConfirmation confirmation{{"p"}, {"d"}};
    const auto request = factory_.CreateConfirmEncryptionRecoveryDataRequest(confirmation);
    confirmation = {};
    EXPECT_EQ(request->Serialize(),
              XmlBytes(R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
                       R"(<REQUEST FUNCTION="CONFIRM_ENCRYPTION_RECOVERY_DATA">)"
                       R"(<RECOVERY_PASSWORD UID="p" /><RECOVERY_DATA UID="d" />)"
                       R"(</REQUEST></MESSAGE></TULK>)"));
}

TEST_F(KelcommMessageFactoryTest, RequestsShareTheTaskAndQuoteIt) {
    auto task = boost::make_shared<CPlainTask>("first", "second", "third");
    const auto requests = CreateTaskRequests(task);
    EXPECT_EQ(task.use_count(), 7);
    task.reset();
    for (const auto& request : requests) {
        const auto bytes = request->Serialize();
        EXPECT_THAT(std::string(bytes.begin(), bytes.end()),
                    HasSubstr(R"(NAME="USERDATA" TYPE="STRING" VALUE="first;second;third" />)"));
    }
}

TEST_F(KelcommMessageFactoryTest, MaintenanceRequestSharesTheTaskAndQuotesIt) {
    auto task = boost::make_shared<CEnableFDEMaintenanceMode>(
        static_cast<Kyr::Common::Kernel::MessageType>(900));
    Identify(*task, "first", "second", "third");
    CEnableFDEMaintenanceMode::Configuration configuration;
    configuration.set_boots(2);
    task->SetConfiguration(configuration);
    const auto request = factory_.CreateEnableFDEMaintenanceModeRequest(task);
    EXPECT_EQ(task.use_count(), 2);
    task.reset();
    const auto bytes = request->Serialize();
    EXPECT_THAT(
        std::string(bytes.begin(), bytes.end()),
        HasSubstr(R"(VALUE="first;second;third" /><NODE NAME="BOOTS" TYPE="STRING" VALUE="2" />)"));
}

TEST_F(KelcommMessageFactoryTest, OffsetsReachTheirRequestsBitForBit) {
    EXPECT_EQ(factory_.CreateGetEcsIndicatorLogsRequest(0)->Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 00 00 10 00"));
    EXPECT_EQ(factory_.CreateGetEcsTelemetryLogsRequest(5)->Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 02 00 10 00 08 05"));
    EXPECT_EQ(factory_.CreateGetOvRemediationRequest(0xFFFFFFFFFFFFFFFF)->Serialize(),
              HexBytes("0C 00 00 00 00 06 00 01 01 00 10 00 08 FF FF FF FF FF FF FF FF FF 01"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
