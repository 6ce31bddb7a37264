#include "connector/MessageTask.h"

namespace Kyr::Connectors::Common {

CMessageTask::CMessageTask(Kyr::Common::Kernel::MessageType messageType)
    : messageType_(messageType) {}
CMessageTask::~CMessageTask() = default;
void CMessageTask::Cancel() {
    cancelled_ = true;
}

}  // namespace Kyr::Connectors::Common
