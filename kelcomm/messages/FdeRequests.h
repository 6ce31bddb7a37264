// The requests of the product's disk encryption, all of them XML.
//
// A request that answers a bus message holds that message and quotes its identifiers.
// Ownership: shares the bus message. REQUIRES: it is not empty.
#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "connector/channel/EncryptionRecords.h"
#include "host/message/FdeTasks.h"
#include "host/message/Task.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

/// A request whose only node is USERDATA.
class CFDETaskRequest : public CChannelRequest {
  public:
    using Task = boost::shared_ptr<Kyr::Common::Message::CTask>;

    std::vector<unsigned char> Serialize() const override;

  protected:
    /// `function`: the product's name of the request; a literal.
    CFDETaskRequest(const char* function, Task task);

  private:
    const char* const function_;
    const Task task_;
};

class CBlockFDEPasswordRequest final : public CFDETaskRequest {
  public:
    explicit CBlockFDEPasswordRequest(const Task& task);
};

class CInvalidateFDEPasswordRequest final : public CFDETaskRequest {
  public:
    explicit CInvalidateFDEPasswordRequest(const Task& task);
};

class CWipeFDEPasswordRequest final : public CFDETaskRequest {
  public:
    explicit CWipeFDEPasswordRequest(const Task& task);
};

class CGenerateNewFDERecoveryPasswordRequest final : public CFDETaskRequest {
  public:
    explicit CGenerateNewFDERecoveryPasswordRequest(const Task& task);
};

class CRestartFDERequest final : public CFDETaskRequest {
  public:
    explicit CRestartFDERequest(const Task& task);
};

class CDisableFDEMaintenanceModeRequest final : public CFDETaskRequest {
  public:
    explicit CDisableFDEMaintenanceModeRequest(const Task& task);
};

class CEnableFDEMaintenanceModeRequest final : public CChannelRequest {
  public:
    using Task = boost::shared_ptr<
        Kyr::Common::Message::Connectors::FDEConnector::Task::CEnableFDEMaintenanceMode>;

    explicit CEnableFDEMaintenanceModeRequest(Task task);
    /// Throws std::runtime_error "CEnableFDEMaintenanceModeRequest: Invalid configuration" when
    /// none of the settings is present, and std::out_of_range for an end time that is no date.
    std::vector<unsigned char> Serialize() const override;

  private:
    const Task task_;
};

class CGetEncryptionStorageStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CGetEncryptionRecoveryDataRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

class CConfirmEncryptionRecoveryDataRequest final : public CChannelRequest {
  public:
    explicit CConfirmEncryptionRecoveryDataRequest(EncryptionRecoveryConfirmation confirmation);
    std::vector<unsigned char> Serialize() const override;

  private:
    const EncryptionRecoveryConfirmation confirmation_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
