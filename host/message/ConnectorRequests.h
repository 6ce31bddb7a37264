// The triggers of other connectors that share tasks with the Ov agent's.
#pragma once

#include <string>

#include "host/message/Trigger.h"

namespace Kyr::Common::Message::Connectors {

namespace TFDEConnector {

/// Type 8, name "TFDERequest".
class CTFDERequest : public CTrigger<CTFDERequest> {
  public:
    ~CTFDERequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace TFDEConnector

namespace TCHConnector {

/// Type 9, name "TchRequest".
class CTchRequest : public CTrigger<CTchRequest> {
  public:
    ~CTchRequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
