#include "connector/ReplyThread.h"

#include <exception>
#include <utility>

#include <boost/thread/thread.hpp>

#include "connector/DeliveryContext.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Module::CSubscriber;
using Kyr::Common::Module::IMessageProcessor;
using Guard = CRecursiveGuard;

CReplyThread::CReplyThread(ILogger& logger, IMessageProcessor& processor)
    : logger_(logger), processor_(processor) {}

CReplyThread::~CReplyThread() = default;

void CReplyThread::SetQueue(boost::shared_ptr<CSubscriber> queue) {
    queue_ = std::move(queue);
}

void CReplyThread::OnIdleEnded() {
    const Guard guard(lock_);
    // This push may have waited for the lock while a Resume has started a thread for its message.
    // That one stays: to join it would be to wait until nobody has a message for it any more.
    if (thread_ && queue_->GetDepartureCount() == departuresBefore_) {
        return;
    }
    Join();
    // Not once End has begun: this push may have waited for the lock meanwhile.
    if (running_) {
        departuresBefore_ = queue_->GetDepartureCount();
        thread_ = std::make_unique<boost::thread>([this] { ThreadBody(); });
    }
}

void CReplyThread::Resume() {
    const Guard guard(lock_);
    // A thread that is there takes the messages, or has ended for want of them and left the queue
    // idle: both need nothing. Without one the queue must be told that the next message, or the one
    // that waits already, has to start it.
    if (!thread_) {
        queue_->Rearm();
    }
}

void CReplyThread::Halt() {
    const Guard guard(lock_);
    // Not interrupted: what is queued is still handed out. So this takes until five seconds have
    // passed without one.
    Join();
}

void CReplyThread::End() {
    // From here on a push starts nothing, but for one that has copied the callback already: that
    // one has the lock first, and its thread is joined below, or comes later and finds `running_`
    // cleared.
    queue_->Detach();
    {
        const Guard guard(lock_);
        running_ = false;
        if (thread_) {
            thread_->interrupt();
        }
    }
    // The lock has been free for a moment. A push that waited for it has joined the interrupted
    // thread then, and started none; else it is joined here.
    const Guard guard(lock_);
    Join();
}

void CReplyThread::Join() {
    if (thread_) {
        // A join is an interruption point. A pushing or stopping thread that is interrupted here
        // would go on with the reply thread still running.
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread_->join();
        thread_.reset();
    }
}

void CReplyThread::ThreadBody() {
    try {
        // The thread's place for contexts is made here, where a want of memory costs a thread and
        // not a message.
        SetDeliveryContext({});
        RunUntilIdle();
    } catch (...) {
        // Nothing may leave the thread, and no queue may stay without a consumer.
        TellFailure();
        queue_->Abandon();
    }
}

void CReplyThread::RunUntilIdle() {
    try {
        ProcessMessages();
    } catch (const boost::thread_interrupted&) {
        logger_.GetLog(1) << "There were " << queue_->GetQueueSize()
                          << " messages left unprocessed in a queue";
    }
}

void CReplyThread::ProcessMessages() {
    for (;;) {
        CSubscriber::Message message;
        CSubscriber::Context context;
        // A queue that never runs empty never waits, and a wait is what an interruption would end.
        boost::this_thread::interruption_point();
        if (!queue_->WaitForMessage(message, context)) {
            return;
        }
        ProcessMessage(message, context);
    }
}

void CReplyThread::ProcessMessage(const CSubscriber::Message& message,
                                  const CSubscriber::Context& context) {
    try {
        // What the processor publishes belongs to this message.
        SetDeliveryContext(context);
        processor_.Process(message);
    } catch (const boost::thread_interrupted&) {
        // The other handler would keep the thread from ending.
        throw;
    } catch (...) {
        TellFailure();
    }
}

void CReplyThread::TellFailure() {
    try {
        throw;
    } catch (const std::exception& error) {
        logger_.GetLog(4) << error.what();
    } catch (...) {
        logger_.GetLog(4) << "Message processing failed with an unknown exception";
    }
}

}  // namespace Kyr::Connectors::Common
