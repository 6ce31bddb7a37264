// Copies the block actions that are new on the Ov agent's list into the host's database, for
// triggers of the kind 5, and tells the data miner about them.
//
// One batch a trigger: what the product puts into one reply. Its block actions are stored first,
// then the offset under "OV_REMEDIATION_OFFSET" moves over all actions of the reply, then the data
// miner is told: an interruption may store a batch twice and never skips one. A reply without a
// block action moves nothing and is fetched again.
// Threads: the task thread only; keeps nothing between two messages.
// Errors: every failure is a counted CRetryException with the failure's text. A message of another
// class or kind is ignored.
#pragma once

#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"
#include "host/database/IMapper.h"

namespace Kyr::Connectors::OvAgentConnector {

class COvAgentConnectorModule;

class CWinOvGetRemediationTask : public Common::CMessageTask {
  public:
    class BufferReceiver;

    /// REQUIRES: none of the shared pointers is empty. `module` is not used.
    CWinOvGetRemediationTask(
        boost::shared_ptr<Common::ILogger> logger,
        boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
        boost::shared_ptr<Common::IChannel> channel, COvAgentConnectorModule* module,
        boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
        boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore,
        boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore);
    ~CWinOvGetRemediationTask() override;

    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    const boost::shared_ptr<Common::IChannel> channel_;
    [[maybe_unused]] COvAgentConnectorModule* const module_;  // borrowed
    const boost::shared_ptr<Common::IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore_;
    const boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore_;
    const boost::shared_ptr<Common::ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
};

/// Takes the reply of one request. Holds no pointer to the task, so it may outlive it.
class CWinOvGetRemediationTask::BufferReceiver : public Common::IBufferReceiver {
  public:
    /// `trigger` is kept alive only.
    BufferReceiver(
        boost::shared_ptr<Common::ILogger> logger,
        boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
        boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger,
        boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
        boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore,
        boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore);
    ~BufferReceiver() override;

    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

  private:
    const boost::shared_ptr<Common::ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger_;
    const boost::shared_ptr<Common::IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<Kyr::Common::Database::IOvRemediationActionsMapper> remediationStore_;
    const boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore_;
};

}  // namespace Kyr::Connectors::OvAgentConnector
