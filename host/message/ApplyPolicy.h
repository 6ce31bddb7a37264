// A policy of the server, for one product to apply.
//
// Made and published by the host. The connector keeps the last one, and applies it again after each
// connection, since the product may have lost it meanwhile. It carries no identifiers: nobody is
// told what became of it.
// Threads: one until the message is read-only, any from then on.
#pragma once

#include <string>

#include "host/message/Message.h"

namespace Kyr::Common::Message::Policies {

class CApplyPolicy : public CMessage {
  public:
    ~CApplyPolicy() override;
    Kernel::MessageType GetMessageType() const override { return Kernel::MessageType::ApplyPolicy; }
    std::string GetName() const override { return "ApplyPolicy"; }
    /// Equal type and policy.
    bool Equals(const Kernel::IMessage& other) const override;

    /// A serialised Common::CompressedBlob; what is compressed in it is a serialised
    /// Policy::PolicyData. As it came: nothing has been checked.
    const std::string& GetPolicyBlob() const { return policyBlob_; }
    /// Throws std::runtime_error "Message is read only".
    void SetPolicyBlob(const std::string& policyBlob);

  private:
    std::string policyBlob_;
};

}  // namespace Kyr::Common::Message::Policies
