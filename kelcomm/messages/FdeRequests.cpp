#include "kelcomm/messages/FdeRequests.h"

#include <stdexcept>
#include <string>
#include <utility>

#include <boost/date_time/posix_time/posix_time.hpp>

#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/XmlRequest.h"
#include "logs/SymbolTime.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

using Kyr::Common::DataDefinition::Common::UTCTime;

/// 2026-03-31T23:59:00, whole seconds. Throws std::out_of_range for what is no date.
std::string TimeText(UTCTime time) {
    time.clear_nanos();
    return boost::posix_time::to_iso_extended_string(Kyr::Common::Logs::FromUtcTime(time));
}

}  // namespace

CFDETaskRequest::CFDETaskRequest(const char* function, Task task)
    : function_(function), task_(std::move(task)) {}

std::vector<unsigned char> CFDETaskRequest::Serialize() const {
    return MakeRequest(Command::Xml, CXmlRequest::WithData(function_).UserData(*task_).Close());
}

CBlockFDEPasswordRequest::CBlockFDEPasswordRequest(const Task& task)
    : CFDETaskRequest("BLOCK_FDE_ENCRYPTION_PASSWORD", task) {}

CInvalidateFDEPasswordRequest::CInvalidateFDEPasswordRequest(const Task& task)
    : CFDETaskRequest("INVALIDATE_FDE_ENCRYPTION_PASSWORD", task) {}

CWipeFDEPasswordRequest::CWipeFDEPasswordRequest(const Task& task)
    : CFDETaskRequest("WIPE_FDE_ENCRYPTION_PASSWORD", task) {}

CGenerateNewFDERecoveryPasswordRequest::CGenerateNewFDERecoveryPasswordRequest(const Task& task)
    : CFDETaskRequest("GENERATE_NEW_FDE_RECOVERY_PASSWORD", task) {}

CRestartFDERequest::CRestartFDERequest(const Task& task) : CFDETaskRequest("RESTART_FDE", task) {}

CDisableFDEMaintenanceModeRequest::CDisableFDEMaintenanceModeRequest(const Task& task)
    : CFDETaskRequest("DISABLE_MAINTENANCE_MODE", task) {}

CEnableFDEMaintenanceModeRequest::CEnableFDEMaintenanceModeRequest(Task task)
    : task_(std::move(task)) {}

std::vector<unsigned char> CEnableFDEMaintenanceModeRequest::Serialize() const {
    const auto& configuration = task_->GetConfiguration();
    if (!configuration.has_boots() && !configuration.has_seconds() &&
        !configuration.has_end_time()) {
        throw std::runtime_error("CEnableFDEMaintenanceModeRequest: Invalid configuration");
    }
    CXmlRequest request = CXmlRequest::WithData("ENABLE_MAINTENANCE_MODE");
    request.UserData(*task_);
    if (configuration.has_boots()) {
        request.StringNode("BOOTS", std::uint64_t{configuration.boots()});
    }
    if (configuration.has_seconds()) {
        request.StringNode("SECONDS", std::uint64_t{configuration.seconds()});
    }
    if (configuration.has_end_time()) {
        request.StringNode("TIME", TimeText(configuration.end_time()));
    }
    return MakeRequest(Command::Xml, request.Close());
}

std::vector<unsigned char> CGetEncryptionStorageStatusRequest::Serialize() const {
    return MakeRequest(Command::Xml,
                       CXmlRequest::WithoutData("GET_ENCRYPTION_STORAGE_STATUS").Close());
}

std::vector<unsigned char> CGetEncryptionRecoveryDataRequest::Serialize() const {
    return MakeRequest(Command::Xml,
                       CXmlRequest::WithoutData("GET_ENCRYPTION_RECOVERY_DATA").Close());
}

CConfirmEncryptionRecoveryDataRequest::CConfirmEncryptionRecoveryDataRequest(
    EncryptionRecoveryConfirmation confirmation)
    : confirmation_(std::move(confirmation)) {}

std::vector<unsigned char> CConfirmEncryptionRecoveryDataRequest::Serialize() const {
    CXmlRequest request = CXmlRequest::WithoutData("CONFIRM_ENCRYPTION_RECOVERY_DATA");
    for (const std::string& uid : confirmation_.passwordUids) {
        request.UidElement("RECOVERY_PASSWORD", uid);
    }
    for (const std::string& uid : confirmation_.itemUids) {
        request.UidElement("RECOVERY_DATA", uid);
    }
    return MakeRequest(Command::Xml, request.Close());
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
