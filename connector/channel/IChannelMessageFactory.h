// Makes all requests and responses, so that tasks need not know how they are encoded.
//
// Threads: any; a factory has no state. Ownership: every call makes a new object, and arguments are
// copied into it; of a bus message, the pointer is.
// A response is cast to its interface in Responses.h. REQUIRES: a bus message is not empty.
// The order of the virtual operations is part of the contract: in the two status pairs the response
// comes first.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "connector/channel/EncryptionRecords.h"
#include "host/message/FdeTasks.h"
#include "host/message/Task.h"

namespace Kyr::Connectors::Common {

class IChannelMessageFactory {
  public:
    using Message = boost::shared_ptr<IChannelMessage>;
    /// The bus message that a request answers: its identifiers travel with the request.
    using Task = boost::shared_ptr<Kyr::Common::Message::CTask>;
    using MaintenanceTask = boost::shared_ptr<
        Kyr::Common::Message::Connectors::FDEConnector::Task::CEnableFDEMaintenanceMode>;

    virtual ~IChannelMessageFactory();

    virtual Message CreateExportConfigurationRequest() = 0;
    virtual Message CreateExportConfigurationResponse() = 0;
    virtual Message CreateImportConfigurationRequest(const std::string& configuration) = 0;
    virtual Message CreateSendAgentUUIDRequest(const std::string& agentUuid) = 0;
    virtual Message CreateGetStatusResponse() = 0;
    virtual Message CreateGetStatusRequest() = 0;
    virtual Message CreateGetTaskStatusResponse() = 0;
    virtual Message CreateGetTaskStatusRequest() = 0;

    virtual Message CreateBlockFDEPasswordRequest(const Task& task) = 0;
    virtual Message CreateInvalidateFDEPasswordRequest(const Task& task) = 0;
    virtual Message CreateWipeFDEPasswordRequest(const Task& task) = 0;
    virtual Message CreateGenerateNewFDERecoveryPasswordRequest(const Task& task) = 0;
    virtual Message CreateRestartFDERequest(const Task& task) = 0;
    virtual Message CreateGetEncryptionRecoveryDataRequest() = 0;
    virtual Message CreateGetEncryptionRecoveryDataResponse() = 0;
    virtual Message CreateGetEncryptionStorageStatusRequest() = 0;
    virtual Message CreateGetEncryptionStorageStatusResponse() = 0;
    virtual Message CreateConfirmEncryptionRecoveryDataRequest(
        const EncryptionRecoveryConfirmation& confirmation) = 0;
    virtual Message CreateEnableFDEMaintenanceModeRequest(const MaintenanceTask& task) = 0;
    virtual Message CreateDisableFDEMaintenanceModeRequest(const Task& task) = 0;

    /// `offset`: the number of records that have been consumed.
    virtual Message CreateGetEcsIndicatorLogsRequest(std::uint64_t offset) = 0;
    virtual Message CreateGetEcsIndicatorLogsResponse() = 0;
    virtual Message CreateGetEcsTelemetryLogsRequest(std::uint64_t offset) = 0;
    virtual Message CreateGetEcsTelemetryLogsResponse() = 0;
    virtual Message CreateGetOvRemediationRequest(std::uint64_t offset) = 0;
    virtual Message CreateGetOvRemediationResponse() = 0;
};

}  // namespace Kyr::Connectors::Common
