// The recovery passwords and recovery data that disk encryption has to offer.
//
// For connectors of disk encryption, as all of that: no task of this one asks.
// Threads: a message belongs to one thread at a time.
// Errors: std::runtime_error for a short reply, and for XML that is malformed or lacks a part.
#pragma once

#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CGetEncryptionRecoveryDataResponse final : public Common::CGetEncryptionRecoveryDataResponse {
  public:
    /// Appends to both lists. What was read before a fault stays.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    const EncryptionRecoveryData& GetRecoveryData() const override { return recoveryData_; }

  private:
    EncryptionRecoveryData recoveryData_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
