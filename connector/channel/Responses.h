// The responses that tasks read: what each of them offers after Deserialize.
//
// Threads: a message belongs to one thread at a time. References live as long as the response.
// The order of the virtual operations is part of the contract.
#pragma once

#include <string>
#include <vector>

#include "connector/channel/ChannelMessage.h"
#include "connector/channel/EncryptionRecords.h"
#include "connector/channel/ProtectionStatusRecord.h"
#include "connector/channel/TaskStatusRecord.h"

namespace Kyr::Connectors::Common {

class CExportConfigurationResponse : public CChannelResponse {
  public:
    /// The product's configuration; may hold any bytes.
    virtual const std::string& GetConfiguration() const = 0;
};

class CGetStatusResponse : public CChannelResponse {
  public:
    /// In the product's order.
    virtual const std::vector<CProtectionStatusRecord>& GetRecords() const = 0;
    /// The XML text as it came.
    virtual const std::string& GetRawContent() const = 0;
};

class CGetTaskStatusResponse : public CChannelResponse {
  public:
    /// Empty when the product has no more outcomes to tell, else one record.
    virtual std::vector<CTaskStatusRecord> GetRecords() const = 0;
};

class CGetEncryptionStorageStatusResponse : public CChannelResponse {
  public:
    virtual const EncryptionStorageStatus& GetRecords() const = 0;
    /// The XML text as it came.
    virtual const std::string& GetRawContent() const = 0;
};

class CGetEncryptionRecoveryDataResponse : public CChannelResponse {
  public:
    virtual const EncryptionRecoveryData& GetRecoveryData() const = 0;
};

}  // namespace Kyr::Connectors::Common
