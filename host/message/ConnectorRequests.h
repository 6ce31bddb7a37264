// The triggers of other connectors that share tasks with the Ov agent's.
#pragma once

#include <cstdint>
#include <string>

#include "host/message/Trigger.h"

namespace Kyr::Common::Message::Connectors {

namespace TFDEConnector {

/// What a trigger asks for, as far as the tasks are shared. The numbers are that connector's.
enum TFDERequestType : std::int32_t {
    kProtectionStatus = 0,
    kTaskStatus = 2,
};

/// Type 8, name "TFDERequest".
class CTFDERequest : public CTrigger<CTFDERequest> {
  public:
    ~CTFDERequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace TFDEConnector

namespace TCHConnector {

/// As TFDERequestType, of another connector.
enum TchRequestType : std::int32_t {
    kProtectionStatus = 1,
};

/// Type 9, name "TchRequest".
class CTchRequest : public CTrigger<CTchRequest> {
  public:
    ~CTchRequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
