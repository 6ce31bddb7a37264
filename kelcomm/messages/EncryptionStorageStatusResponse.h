// The disks and partitions of this computer as disk encryption sees them.
//
// For connectors of disk encryption, as all of that: no task of this one asks.
// Threads: a message belongs to one thread at a time.
// Errors: std::runtime_error for a short reply, and for XML that is malformed or lacks a part.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/Responses.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

class CGetEncryptionStorageStatusResponse final
    : public Common::CGetEncryptionStorageStatusResponse {
  public:
    /// Appends to the disks. A reply without payload leaves the held text as it is, and parses it
    /// again. A number that is none throws boost::bad_lexical_cast; the disks before it stay.
    void Deserialize(const std::vector<unsigned char>& reply) override;
    const EncryptionStorageStatus& GetRecords() const override { return status_; }
    const std::string& GetRawContent() const override { return rawContent_; }

  private:
    std::string rawContent_;
    EncryptionStorageStatus status_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
