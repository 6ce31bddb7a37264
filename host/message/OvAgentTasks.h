// The server's tasks for the Ov agent.
#pragma once

#include <string>

#include "host/message/Task.h"
#include "host/proto/ov_tasks.pb.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task {

/// Type 918, name "KillProcessByPid".
class CKillProcessByPid : public CTask {
  public:
    using Payload = DataDefinition::Task::OV::KillProcessByPid;

    ~CKillProcessByPid() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type, identifiers and payload.
    bool Equals(const Kernel::IMessage& other) const override;

    const Payload& GetPayload() const { return payload_; }
    /// Throws std::runtime_error "Message is read only".
    void SetPayload(const Payload& payload);

  private:
    Payload payload_;
};

/// Type 919, name "BlockExecutableByHash".
class CBlockExecutableByHash : public CTask {
  public:
    using Payload = DataDefinition::Task::OV::BlockExecutableByHash;

    ~CBlockExecutableByHash() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type, identifiers and payload.
    bool Equals(const Kernel::IMessage& other) const override;

    const Payload& GetPayload() const { return payload_; }
    /// Throws std::runtime_error "Message is read only".
    void SetPayload(const Payload& payload);

  private:
    Payload payload_;
};

}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task
