// Asks the product for the outcome of the last task that it carried out, and holds the answer.
#pragma once

#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CGetTaskStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CGetTaskStatusResponse final : public Common::CGetTaskStatusResponse {
  public:
    /// Appends at most one record: a reply without payload has none. Throws std::runtime_error
    /// "Task log: Log record has badly formated uuids in user data" when the user data are not
    /// three parts.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    std::vector<CTaskStatusRecord> GetRecords() const override { return records_; }

  private:
    std::vector<CTaskStatusRecord> records_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
