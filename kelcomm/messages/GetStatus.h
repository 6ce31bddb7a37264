// Asks the product for its protection status, and holds the reply: XML text and its records.
//
// Made by the factory; CGetStatusTask serialises the one and reads the other, whose records become
// a log (connector/reports/ProtectionStatus.h).
// Threads: a message belongs to one thread at a time.
// Errors: a reply that is short, or whose XML is malformed or lacks a part, throws
// std::runtime_error; the task turns each into a retry.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// The command header alone.
class CGetStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

/// A record's severity and its first text do not come with the reply: they follow from its status
/// (host/Catalogue.h). The other texts are numbers of the product's, passed on.
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
