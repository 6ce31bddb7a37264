// The requests of the product's disk encryption, all of them XML.
//
// The messages and their factory serve every connector of the product family; the tasks of disk
// encryption belong to another one, so that nothing in this library asks for these.
// A request that carries out a task message holds that message and quotes its identifiers, as
// USERDATA, so that the product can tell what became of it.
// Threads: a message belongs to one thread at a time.
// Ownership: shares the task message. REQUIRES: it is not empty.
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

/// Its reply is read by CGetEncryptionStorageStatusResponse.
class CGetEncryptionStorageStatusRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

/// Its reply is read by CGetEncryptionRecoveryDataResponse.
class CGetEncryptionRecoveryDataRequest final : public CChannelRequest {
  public:
    std::vector<unsigned char> Serialize() const override;
};

/// Tells the product which recovery data has been stored safely.
class CConfirmEncryptionRecoveryDataRequest final : public CChannelRequest {
  public:
    explicit CConfirmEncryptionRecoveryDataRequest(EncryptionRecoveryConfirmation confirmation);
    std::vector<unsigned char> Serialize() const override;

  private:
    const EncryptionRecoveryConfirmation confirmation_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
