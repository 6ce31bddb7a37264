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
using Test::CPlainTask;
using Test::HexBytes;
using Test::TextReply;
using Test::TextThrownBy;
using Test::VirtualSlot;
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

    template <typename Interface>
    static int CountCasts(const std::vector<Message>& messages) {
        int count = 0;
        for (const auto& message : messages) {
            count += dynamic_cast<const Interface*>(message.get()) != nullptr ? 1 : 0;
        }
        return count;
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

TEST_F(KelcommMessageFactoryTest, OnlyTheMatchingResponseCastsToAnInterface) {
    const auto messages = CreateAll();
    EXPECT_EQ(CountCasts<Common::CExportConfigurationResponse>(messages), 1);
    EXPECT_EQ(CountCasts<Common::CGetStatusResponse>(messages), 1);
    EXPECT_EQ(CountCasts<Common::CGetTaskStatusResponse>(messages), 1);
    EXPECT_EQ(CountCasts<Common::CGetEncryptionStorageStatusResponse>(messages), 1);
    EXPECT_EQ(CountCasts<Common::CGetEncryptionRecoveryDataResponse>(messages), 1);
    EXPECT_EQ(CountCasts<CChannelResponse>(messages), 8);
    EXPECT_EQ(CountCasts<CChannelRequest>(messages), 18);
}

TEST_F(KelcommMessageFactoryTest, RequestsRefuseToDeserialize) {
    for (const auto& message : CreateAll()) {
        if (dynamic_cast<const CChannelRequest*>(message.get()) != nullptr) {
            EXPECT_EQ(TextThrownBy([&] { message->Deserialize({}); }), kNoDeserialize);
            EXPECT_EQ(TextThrownBy([&] { message->Deserialize(TextReply("x")); }), kNoDeserialize);
        }
    }
}

TEST_F(KelcommMessageFactoryTest, ResponsesRefuseToSerialize) {
    for (const auto& message : CreateAll()) {
        if (dynamic_cast<const CChannelResponse*>(message.get()) != nullptr) {
            EXPECT_EQ(TextThrownBy([&] { message->Serialize(); }), kNoSerialize);
        }
    }
}

TEST_F(KelcommMessageFactoryTest, TextsAreCopied) {
    std::string text = "abc";
    const auto request = factory_.CreateImportConfigurationRequest(text);
    text = "changed";
    EXPECT_EQ(request->Serialize(), HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62 63"));
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
