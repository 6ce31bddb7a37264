// Makes the Kelcomm form of every request and response.
//
// The module makes one, which all tasks share. Order, arguments and ownership are those of the
// interface, where they are explained.
// Threads: any; it has no state. Errors: std::bad_alloc at most.
#pragma once

#include "connector/channel/IChannelMessageFactory.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CKelcommMessageFactory final : public IChannelMessageFactory {
  public:
    Message CreateExportConfigurationRequest() override;
    Message CreateExportConfigurationResponse() override;
    Message CreateImportConfigurationRequest(const std::string& configuration) override;
    Message CreateSendAgentUUIDRequest(const std::string& agentUuid) override;
    Message CreateGetStatusResponse() override;
    Message CreateGetStatusRequest() override;
    Message CreateGetTaskStatusResponse() override;
    Message CreateGetTaskStatusRequest() override;
    Message CreateBlockFDEPasswordRequest(const Task& task) override;
    Message CreateInvalidateFDEPasswordRequest(const Task& task) override;
    Message CreateWipeFDEPasswordRequest(const Task& task) override;
    Message CreateGenerateNewFDERecoveryPasswordRequest(const Task& task) override;
    Message CreateRestartFDERequest(const Task& task) override;
    Message CreateGetEncryptionRecoveryDataRequest() override;
    Message CreateGetEncryptionRecoveryDataResponse() override;
    Message CreateGetEncryptionStorageStatusRequest() override;
    Message CreateGetEncryptionStorageStatusResponse() override;
    Message CreateConfirmEncryptionRecoveryDataRequest(
        const EncryptionRecoveryConfirmation& confirmation) override;
    Message CreateEnableFDEMaintenanceModeRequest(const MaintenanceTask& task) override;
    Message CreateDisableFDEMaintenanceModeRequest(const Task& task) override;
    Message CreateGetEcsIndicatorLogsRequest(std::uint64_t offset) override;
    Message CreateGetEcsIndicatorLogsResponse() override;
    Message CreateGetEcsTelemetryLogsRequest(std::uint64_t offset) override;
    Message CreateGetEcsTelemetryLogsResponse() override;
    Message CreateGetOvRemediationRequest(std::uint64_t offset) override;
    Message CreateGetOvRemediationResponse() override;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
