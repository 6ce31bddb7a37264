// A reply of the host's request/response scheme.
#pragma once

#include <cstdint>
#include <string>

#include "host/kernel/IMessage.h"

namespace Kyr::Common::Module {

/// Types 688 and 1, name "Response".
class CResponse : public Kernel::IMessage {
  public:
    explicit CResponse(std::uint32_t requestId,
                       Kernel::MessageType type = Kernel::MessageType::Response);
    ~CResponse() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type and request identifier.
    bool Equals(const Kernel::IMessage& other) const override;

    /// The identifier of the request whose reply this is.
    std::uint32_t GetRequestId() const { return requestId_; }

  private:
    std::uint32_t requestId_;
    Kernel::MessageType type_;
};

}  // namespace Kyr::Common::Module
