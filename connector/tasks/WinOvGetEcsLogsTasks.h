// The two tasks that fetch the ECS records which are new since the last fetch and pass them on to
// the host's data miner: indicator records for triggers of the kind 3, telemetry records for
// triggers of the kind 4. They are one design with different constants.
//
// One batch a trigger: what the product puts into one reply. It is published first, then the offset
// under the kind's key moves over it, so that an interruption in between makes the batch come twice
// and never skips a record.
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

/// What both tasks are. `Kind` holds what they differ in; only the source file needs to know it.
template <typename Kind>
class CEcsLogsTask : public Common::CMessageTask {
  public:
    class BufferReceiver;

    /// REQUIRES: none of the shared pointers is empty. `module` is not used.
    CEcsLogsTask(boost::shared_ptr<Common::ILogger> logger,
                 boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                 boost::shared_ptr<Common::IChannel> channel, COvAgentConnectorModule* module,
                 boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
                 boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore);
    ~CEcsLogsTask() override;

    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    const boost::shared_ptr<Common::IChannel> channel_;
    [[maybe_unused]] COvAgentConnectorModule* const module_;  // borrowed
    const boost::shared_ptr<Common::IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore_;
    const boost::shared_ptr<Common::ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
};

/// Takes the reply of one request. Holds no pointer to the task, so it may outlive it.
template <typename Kind>
class CEcsLogsTask<Kind>::BufferReceiver : public Common::IBufferReceiver {
  public:
    /// `trigger` is kept alive only.
    BufferReceiver(boost::shared_ptr<Common::ILogger> logger,
                   boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger,
                   boost::shared_ptr<Common::IChannelMessageFactory> messageFactory,
                   boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore,
                   boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher);
    ~BufferReceiver() override;

    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

  private:
    const boost::shared_ptr<Common::ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Kernel::IMessage> trigger_;
    const boost::shared_ptr<Common::IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<Kyr::Common::Database::IKeyValueAccessMapper> keyValueStore_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
};

struct EcsIndicatorLogs;
struct EcsTelemetryLogs;
extern template class CEcsLogsTask<EcsIndicatorLogs>;
extern template class CEcsLogsTask<EcsTelemetryLogs>;

/// Kind 3, offset under "XDR_OFFSET".
class CWinOvGetEcsIndicatorLogsTask final : public CEcsLogsTask<EcsIndicatorLogs> {
  public:
    using CEcsLogsTask::CEcsLogsTask;
};

/// Kind 4, offset under "XDR_TELEMETRY_OFFSET".
class CWinOvGetEcsTelemetryLogsTask final : public CEcsLogsTask<EcsTelemetryLogs> {
  public:
    using CEcsLogsTask::CEcsLogsTask;
};

}  // namespace Kyr::Connectors::OvAgentConnector
