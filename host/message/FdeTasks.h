// The server's tasks for disk encryption. Only the one that carries more than its identifiers has a
// class; the others are told apart by who sends them.
//
// Known here because the requests that they become are the product family's; the connector of the
// Ov agent has no task for them. Threads and errors are those of CTask.
#pragma once

#include <string>

#include "host/message/PayloadTask.h"
#include "host/proto/fde_tasks.pb.h"

namespace Kyr::Common::Message::Connectors::FDEConnector::Task {

class CEnableFDEMaintenanceMode
    : public CPayloadTask<CEnableFDEMaintenanceMode,
                          DataDefinition::Task::FDE::MaintenanceConfiguration> {
  public:
    using Configuration = Payload;

    /// `type`: the number under which the host carries the message; the one of the connector that
    /// subscribes to it.
    explicit CEnableFDEMaintenanceMode(Kernel::MessageType type);
    ~CEnableFDEMaintenanceMode() override;
    Kernel::MessageType GetMessageType() const override { return type_; }
    std::string GetName() const override { return "EnableFDEMaintenanceMode"; }
    /// Equal type, identifiers and configuration.
    bool Equals(const Kernel::IMessage& other) const override;

    /// The host's name for GetPayload.
    const Configuration& GetConfiguration() const { return GetPayload(); }
    /// The host's name for SetPayload.
    void SetConfiguration(const Configuration& configuration) { SetPayload(configuration); }

  private:
    const Kernel::MessageType type_;
};

}  // namespace Kyr::Common::Message::Connectors::FDEConnector::Task
