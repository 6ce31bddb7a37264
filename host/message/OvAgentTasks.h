// The server's tasks for the Ov agent.
#pragma once

#include <string>

#include "host/message/PayloadTask.h"
#include "host/proto/ov_tasks.pb.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task {

/// Type 918, name "KillProcessByPid".
class CKillProcessByPid
    : public CPayloadTask<CKillProcessByPid, DataDefinition::Task::OV::KillProcessByPid> {
  public:
    ~CKillProcessByPid() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

/// Type 919, name "BlockExecutableByHash".
class CBlockExecutableByHash
    : public CPayloadTask<CBlockExecutableByHash, DataDefinition::Task::OV::BlockExecutableByHash> {
  public:
    ~CBlockExecutableByHash() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task
