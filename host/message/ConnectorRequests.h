// The triggers of other connectors that share tasks with the Ov agent's.
#pragma once

#include <cstdint>
#include <string>

#include "host/message/Message.h"

namespace Kyr::Common::Message::Connectors {

namespace TFDEConnector {

/// Type 8, name "TFDERequest".
class CTFDERequest : public CMessage {
  public:
    ~CTFDERequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type and request type.
    bool Equals(const Kernel::IMessage& other) const override;

    std::int32_t GetRequestType() const { return requestType_; }
    /// Throws std::runtime_error "Message is read only".
    void SetRequestType(std::int32_t requestType);

  private:
    std::int32_t requestType_ = 0;
};

}  // namespace TFDEConnector

namespace TCHConnector {

/// Type 9, name "TchRequest".
class CTchRequest : public CMessage {
  public:
    ~CTchRequest() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type and request type.
    bool Equals(const Kernel::IMessage& other) const override;

    std::int32_t GetRequestType() const { return requestType_; }
    /// Throws std::runtime_error "Message is read only".
    void SetRequestType(std::int32_t requestType);

  private:
    std::int32_t requestType_ = 0;
};

}  // namespace TCHConnector
}  // namespace Kyr::Common::Message::Connectors
