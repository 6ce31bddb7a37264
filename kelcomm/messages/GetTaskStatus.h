// Asks the product for the outcome of one task that it has carried out, and holds the reply.
//
// The product hands out one outcome a request: CGetTaskStatusTask asks until a reply has no
// payload. Which task an outcome belongs to is told by the identifiers that the task's own request
// carried as USERDATA (XmlRequest.h).
// Threads: a message belongs to one thread at a time.
// Errors: a short reply throws std::runtime_error; the task turns it into a retry.
#pragma once

#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// The command header alone.
class CGetTaskStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CGetTaskStatusResponse final : public Common::CGetTaskStatusResponse {
  public:
    /// Appends at most one record: a reply without payload has none. Text that ends early, or that
    /// the reply states behind its own end, is taken for what of it is there. Throws
    /// std::runtime_error "Task log: Log record has badly formated uuids in user data" when the
    /// user data are not three parts.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    std::vector<CTaskStatusRecord> GetRecords() const override { return records_; }

  private:
    std::vector<CTaskStatusRecord> records_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
