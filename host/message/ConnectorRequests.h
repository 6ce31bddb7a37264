// The triggers of other connectors that share tasks with the Ov agent's.
//
// Those connectors publish them to themselves, as this one does with its own (type 7). A shared
// task reads them when it is made for one of these types, which the Ov agent's module never does.
// Threads and errors are those of CTrigger.
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

class CTFDERequest : public CTrigger<CTFDERequest> {
  public:
    ~CTFDERequest() override;
    Kernel::MessageType GetMessageType() const override { return Kernel::MessageType::TFDERequest; }
    std::string GetName() const override { return "TFDERequest"; }
};

}  // namespace TFDEConnector

namespace TCHConnector {

/// As TFDERequestType, of another connector.
enum TchRequestType : std::int32_t {
    kProtectionStatus = 1,
};

class CTchRequest : public CTrigger<CTchRequest> {
  public:
    ~CTchRequest() override;
    Kernel::MessageType GetMessageType() const override { return Kernel::MessageType::TchRequest; }
    std::string GetName() const override { return "TchRequest"; }
};

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
