// The triggers of other connectors that share tasks with the Ov agent's.
//
// Those connectors publish them to themselves, as this one does with its own (type 7). A shared
// task reads them when it is made for one of these types, which the Ov agent's module never does.
// Threads: none inside; made read-only, then published.
#pragma once

#include <cstdint>
#include <string>

#include "host/message/Message.h"

namespace Kyr::Common::Message {

/// `Concrete` is the trigger class itself. What a request type means is the connector's own.
template <typename Concrete>
class CTrigger : public CMessage {
  public:
    std::int32_t GetRequestType() const { return requestType_; }
    /// Throws std::runtime_error "Message is read only".
    void SetRequestType(std::int32_t requestType) {
        CheckWritable();
        requestType_ = requestType;
    }
    /// Equal type, class and request type. Never throws.
    bool Equals(const Kernel::IMessage& other) const override {
        const auto* same = dynamic_cast<const Concrete*>(&other);
        return other.GetMessageType() == GetMessageType() && same != nullptr &&
               same->GetRequestType() == requestType_;
    }

  private:
    std::int32_t requestType_ = 0;
};

namespace Connectors {

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
}  // namespace Connectors
}  // namespace Kyr::Common::Message
