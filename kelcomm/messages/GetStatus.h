// Asks the product for its protection status, and holds the answer: XML text and its records.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CGetStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CGetStatusResponse final : public Common::CGetStatusResponse {
  public:
    /// Appends to the records. A reply without payload leaves the held text as it is, and parses it
    /// again. Throws std::runtime_error "Unknown protection status"; the records before that one
    /// stay.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    const std::vector<CProtectionStatusRecord>& GetRecords() const override { return records_; }
    const std::string& GetRawContent() const override { return rawContent_; }

  private:
    std::string rawContent_;
    std::vector<CProtectionStatusRecord> records_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
