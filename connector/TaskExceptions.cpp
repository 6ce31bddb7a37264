#include "connector/TaskExceptions.h"

#include <utility>

namespace Kyr::Connectors::Common {

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
