#include "kelcomm/messages/KelcommMessageFactory.h"

#include <boost/make_shared.hpp>

#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"
#include "kelcomm/messages/EncryptionStorageStatusResponse.h"
#include "kelcomm/messages/ExportConfiguration.h"
#include "kelcomm/messages/FdeRequests.h"
#include "kelcomm/messages/GetStatus.h"
#include "kelcomm/messages/GetTaskStatus.h"
#include "kelcomm/messages/ImportConfigurationRequest.h"
#include "kelcomm/messages/OvRequest.h"
#include "kelcomm/messages/OvResponse.h"
#include "kelcomm/messages/SendAgentUUIDRequest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

template <typename Protobuf>
boost::shared_ptr<Protobuf> FromOffset(std::uint64_t offset) {
    auto request = boost::make_shared<Protobuf>();
    request->set_offset(offset);
    return request;
}

}  // namespace

IChannelMessageFactory::Message CKelcommMessageFactory::CreateExportConfigurationRequest() {
    return boost::make_shared<CExportConfigurationRequest>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateExportConfigurationResponse() {
    return boost::make_shared<CExportConfigurationResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateImportConfigurationRequest(
    const std::string& configuration) {
    return boost::make_shared<CImportConfigurationRequest>(configuration);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateSendAgentUUIDRequest(
    const std::string& agentUuid) {
    return boost::make_shared<CSendAgentUUIDRequest>(agentUuid);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetStatusResponse() {
    return boost::make_shared<CGetStatusResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetStatusRequest() {
    return boost::make_shared<CGetStatusRequest>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetTaskStatusResponse() {
    return boost::make_shared<CGetTaskStatusResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetTaskStatusRequest() {
    return boost::make_shared<CGetTaskStatusRequest>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateBlockFDEPasswordRequest(
    const Task& task) {
    return boost::make_shared<CBlockFDEPasswordRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateInvalidateFDEPasswordRequest(
    const Task& task) {
    return boost::make_shared<CInvalidateFDEPasswordRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateWipeFDEPasswordRequest(
    const Task& task) {
    return boost::make_shared<CWipeFDEPasswordRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGenerateNewFDERecoveryPasswordRequest(
    const Task& task) {
    return boost::make_shared<CGenerateNewFDERecoveryPasswordRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateRestartFDERequest(const Task& task) {
    return boost::make_shared<CRestartFDERequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEncryptionRecoveryDataRequest() {
    return boost::make_shared<CGetEncryptionRecoveryDataRequest>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEncryptionRecoveryDataResponse() {
    return boost::make_shared<CGetEncryptionRecoveryDataResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEncryptionStorageStatusRequest() {
    return boost::make_shared<CGetEncryptionStorageStatusRequest>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEncryptionStorageStatusResponse() {
    return boost::make_shared<CGetEncryptionStorageStatusResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateConfirmEncryptionRecoveryDataRequest(
    const EncryptionRecoveryConfirmation& confirmation) {
    return boost::make_shared<CConfirmEncryptionRecoveryDataRequest>(confirmation);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateEnableFDEMaintenanceModeRequest(
    const MaintenanceTask& task) {
    return boost::make_shared<CEnableFDEMaintenanceModeRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateDisableFDEMaintenanceModeRequest(
    const Task& task) {
    return boost::make_shared<CDisableFDEMaintenanceModeRequest>(task);
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEcsIndicatorLogsRequest(
    std::uint64_t offset) {
    return boost::make_shared<CGetEcsIndicatorLogsRequest>(FromOffset<GetEcsLogsRequest>(offset));
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEcsIndicatorLogsResponse() {
    return boost::make_shared<CGetEcsIndicatorLogsResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEcsTelemetryLogsRequest(
    std::uint64_t offset) {
    return boost::make_shared<CGetEcsTelemetryLogsRequest>(
        FromOffset<GetEcsTelemetryEventsRequest>(offset));
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetEcsTelemetryLogsResponse() {
    return boost::make_shared<CGetEcsTelemetryLogsResponse>();
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetOvRemediationRequest(
    std::uint64_t offset) {
    return boost::make_shared<CGetOvRemediationRequest>(
        FromOffset<GetRemediationActionsRequest>(offset));
}

IChannelMessageFactory::Message CKelcommMessageFactory::CreateGetOvRemediationResponse() {
    return boost::make_shared<CGetOvRemediationResponse>();
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
