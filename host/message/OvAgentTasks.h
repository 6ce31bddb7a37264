// The server's tasks for the Ov agent.
//
// Made and published by the host; read by the connector's task of the same type, which turns the
// payload into a request to the product. Threads and errors are those of CTask.
#pragma once

#include <string>

#include "host/message/PayloadTask.h"
#include "host/proto/ov_tasks.pb.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task {

/// The payload may hold hashes of the executable, too.
class CKillProcessByPid
    : public CPayloadTask<CKillProcessByPid, DataDefinition::Task::OV::KillProcessByPid> {
  public:
    ~CKillProcessByPid() override;
    Kernel::MessageType GetMessageType() const override {
        return Kernel::MessageType::KillProcessByPid;
    }
    std::string GetName() const override { return "KillProcessByPid"; }
};

class CBlockExecutableByHash
    : public CPayloadTask<CBlockExecutableByHash, DataDefinition::Task::OV::BlockExecutableByHash> {
  public:
    ~CBlockExecutableByHash() override;
    Kernel::MessageType GetMessageType() const override {
        return Kernel::MessageType::BlockExecutableByHash;
    }
    std::string GetName() const override { return "BlockExecutableByHash"; }
};

}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector::Task
