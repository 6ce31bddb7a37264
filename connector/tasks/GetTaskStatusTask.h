// Fetches the outcomes of the tasks that the product has finished and publishes an event log for
// each.
//
// One exchange fetches one outcome; while there is one, the receiver runs the task again, until a
// reply without payload ends the chain. A run that is asked for inside another one begins when the
// exchange of that one has ended: a chain of any length takes the stack and the memory of one
// exchange.
// The product forgets an outcome with handing it out. A reply whose outcome then could not be
// published, or read for want of memory, is kept for as long as the task lives, and its outcome
// published before the next is asked for. One of more than 4 KiB is not kept when there is no
// memory to read it: it might never be read, and would stand before all that come after it.
// Threads: the task thread only. An interruption ends a chain behind an exchange whose outcome has
// been told.
// Ownership: the task must be owned by a boost::shared_ptr, which its receivers share.
// Errors: every failure is a counted CRetryException with the failure's text. A message of another
// class or kind is ignored.
#pragma once

#include <cstdint>
#include <vector>

#include <boost/enable_shared_from_this.hpp>

#include "base/Clock.h"
#include "connector/IInstanceUUIDProvider.h"
#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/MessageTask.h"
#include "connector/channel/IChannel.h"
#include "connector/channel/IChannelMessageFactory.h"
#include "connector/channel/Responses.h"
#include "logs/EventLog.h"

namespace Kyr::Connectors::Common::Tasks {

class CGetTaskStatusTask : public CMessageTask,
                           public boost::enable_shared_from_this<CGetTaskStatusTask> {
  public:
    class BufferReceiver;

    /// `messageType` says whose triggers the task serves: 7 or 8; for any other type it ignores
    /// every message. `productId` is what the events name as their product; `clock` gives them
    /// their current time.
    /// REQUIRES: none of the pointers is empty.
    CGetTaskStatusTask(Kyr::Common::Kernel::MessageType messageType,
                       boost::shared_ptr<ILogger> logger,
                       boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                       boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                       boost::shared_ptr<IChannelMessageFactory> messageFactory,
                       boost::shared_ptr<IChannel> channel, std::uint64_t productId,
                       boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CGetTaskStatusTask() override;

    /// Inside a run of the task, which its receivers are: only notes `message` for the next
    /// exchange.
    void Execute(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) override;

  private:
    class CRun;

    bool IsTrigger(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) const;
    /// Exchanges, each with a receiver of its own, as long as there is a next message.
    void Run();
    void ForgetKept();

    const boost::shared_ptr<ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const boost::shared_ptr<IChannel> channel_;
    const std::uint64_t productId_;
    const boost::shared_ptr<Base::IClock> clock_;
    bool running_ = false;
    boost::shared_ptr<Kyr::Common::Kernel::IMessage> next_;  // what the next exchange answers
    bool keeps_ = false;
    std::vector<unsigned char> kept_;  // while it keeps one: the reply that is not dealt with yet
    std::size_t told_ = 0;             // how many of its outcomes have been published
};

/// Publishes the outcome in one task-status reply, then asks for the next.
class CGetTaskStatusTask::BufferReceiver : public IBufferReceiver {
  public:
    /// `message` is what `task` is run again with.
    /// REQUIRES: none of the pointers is empty.
    BufferReceiver(boost::shared_ptr<Kyr::Common::Kernel::IMessage> message,
                   boost::shared_ptr<ILogger> logger,
                   boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher,
                   boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider,
                   boost::shared_ptr<IChannelMessageFactory> messageFactory,
                   std::uint64_t productId, boost::shared_ptr<CGetTaskStatusTask> task,
                   boost::shared_ptr<Base::IClock> clock);
    ~BufferReceiver() override;

    /// The receiver may have been destroyed when this returns.
    void OnBufferReceived(const std::vector<unsigned char>& reply) override;

    /// Publishes the outcomes in the reply that the task keeps, if any; whether there was one. What
    /// could not be published stays kept, unless no attempt ever could.
    bool PublishKept() const;

  private:
    std::vector<CTaskStatusRecord> ReadKept() const;
    boost::shared_ptr<Kyr::Common::Message::Logs::CEventLog> EventOf(
        const CTaskStatusRecord& record) const;

    const boost::shared_ptr<Kyr::Common::Kernel::IMessage> message_;
    const boost::shared_ptr<ILogger> logger_;
    const boost::shared_ptr<Kyr::Common::Module::IMessagePublisher> publisher_;
    const boost::shared_ptr<IInstanceUUIDProvider> instanceUuidProvider_;
    const boost::shared_ptr<IChannelMessageFactory> messageFactory_;
    const std::uint64_t productId_;
    const boost::shared_ptr<CGetTaskStatusTask> task_;
    const boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Connectors::Common::Tasks
