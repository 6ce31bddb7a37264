// The recovery passwords and recovery data that disk encryption has to offer.
#pragma once

#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CGetEncryptionRecoveryDataResponse final : public Common::CGetEncryptionRecoveryDataResponse {
  public:
    /// Appends to both lists.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    const EncryptionRecoveryData& GetRecoveryData() const override { return recoveryData_; }

  private:
    EncryptionRecoveryData recoveryData_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
