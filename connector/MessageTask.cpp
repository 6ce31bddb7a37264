#include "connector/MessageTask.h"

#include <utility>

#include "connector/ILogger.h"
#include "connector/TaskExceptions.h"

namespace Kyr::Connectors::Common {

ILogger::~ILogger() = default;

CMessageTask::CMessageTask(Kyr::Common::Kernel::MessageType messageType)
    : messageType_(messageType) {}
CMessageTask::~CMessageTask() = default;
void CMessageTask::Cancel() {
    cancelled_ = true;
}

CRetryException::CRetryException(const std::string& message, bool restartNeeded)
    : std::runtime_error(message), restartNeeded_(restartNeeded) {}
CRetryException::~CRetryException() = default;

CRestartNeededException::CRestartNeededException(std::string message)
    : message_(std::move(message)) {}
CRestartNeededException::~CRestartNeededException() = default;
const char* CRestartNeededException::what() const noexcept {
    return message_.c_str();
}

}  // namespace Kyr::Connectors::Common
