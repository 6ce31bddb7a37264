#include "host/message/ApplyPolicy.h"

namespace Kyr::Common::Message::Policies {

CApplyPolicy::~CApplyPolicy() = default;

Kernel::MessageType CApplyPolicy::GetMessageType() const {
    return Kernel::MessageType::ApplyPolicy;
}

std::string CApplyPolicy::GetName() const {
    return "ApplyPolicy";
}

bool CApplyPolicy::Equals(const Kernel::IMessage& other) const {
    const auto* same = dynamic_cast<const CApplyPolicy*>(&other);
    return same != nullptr && same->policyBlob_ == policyBlob_;
}

void CApplyPolicy::SetPolicyBlob(const std::string& policyBlob) {
    CheckWritable();
    policyBlob_ = policyBlob;
}

}  // namespace Kyr::Common::Message::Policies
