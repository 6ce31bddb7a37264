// A reply of the host's request/response scheme.
//
// Whoever answers a request of the host makes it; the module's reply thread hands it to the one who
// waits for that request.
// Threads: any; it is immutable.
#pragma once

#include <cstdint>
#include <string>

#include "host/kernel/IMessage.h"

namespace Kyr::Common::Module {

/// Of either type of reply.
class CResponse : public Kernel::IMessage {
  public:
    explicit CResponse(std::uint32_t requestId,
                       Kernel::MessageType type = Kernel::MessageType::Response);
    ~CResponse() override;
    Kernel::MessageType GetMessageType() const override { return type_; }
    std::string GetName() const override { return "Response"; }
    /// Equal type and request identifier.
    bool Equals(const Kernel::IMessage& other) const override;

    /// The identifier of the request whose reply this is.
    std::uint32_t GetRequestId() const { return requestId_; }

  private:
    std::uint32_t requestId_;
    Kernel::MessageType type_;
};

}  // namespace Kyr::Common::Module
