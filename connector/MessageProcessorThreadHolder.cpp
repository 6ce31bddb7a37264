#include "connector/MessageProcessorThreadHolder.h"

#include <exception>
#include <memory>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>
#include <boost/weak_ptr.hpp>

#include "connector/DeliveryContext.h"
#include "connector/RecursiveLock.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Module::CSubscriber;
using Kyr::Common::Module::IMessageProcessor;

CConnectorModule::IMessageProcessorThreadHolder::~IMessageProcessorThreadHolder() = default;

// The states of the reply thread, and what leads out of them:
//   thread  queue
//   none    not idle  before the first Resume: messages are queued and start nothing
//   none    idle      the next push starts the thread
//   runs    not idle  the thread takes messages
//   ended   idle      five seconds without a message: the next push joins the thread, which only
//                     has to leave, and starts another one; Halt joins it and starts none
//   none    any       after the destructor: pushes are queued, and nothing starts
// Joining it under the lock comes to an end, because the thread never takes the lock and always
// leaves: it has done so already (push), does so after five seconds of silence (Halt), or is
// interrupted (destructor).
struct CMessageProcessorThreadHolder::State {
    State(ILogger& loggerToUse, IMessageProcessor& processorToUse)
        : logger(loggerToUse), processor(processorToUse) {}

    void OnIdleEnded();
    void JoinThread() KYR_REQUIRES(lock);
    void ThreadBody();
    void RunUntilIdle();
    void ProcessMessages();

    ILogger& logger;
    IMessageProcessor& processor;
    boost::shared_ptr<CSubscriber> subscriber;

    // Recursive: Resume holds it when it rearms a queue with messages, which calls OnIdleEnded.
    CRecursiveLock lock;
    std::unique_ptr<boost::thread> thread KYR_GUARDED_BY(lock);
    bool running KYR_GUARDED_BY(lock) = true;
};

using Guard = CRecursiveGuard;

void CMessageProcessorThreadHolder::State::OnIdleEnded() {
    const Guard guard(lock);
    JoinThread();
    // Not once the destructor has begun: this push may have waited for the lock meanwhile.
    if (running) {
        thread = std::make_unique<boost::thread>([this] { ThreadBody(); });
    }
}

void CMessageProcessorThreadHolder::State::JoinThread() {
    if (thread) {
        // A join is an interruption point. A pushing or stopping thread that is interrupted here
        // would go on with the reply thread still running.
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread->join();
        thread.reset();
    }
}

void CMessageProcessorThreadHolder::State::ThreadBody() {
    try {
        RunUntilIdle();
    } catch (...) {
        // A line could not even be begun. Nothing may leave the thread.
    }
}

void CMessageProcessorThreadHolder::State::RunUntilIdle() {
    try {
        ProcessMessages();
    } catch (const boost::thread_interrupted&) {
        logger.GetLog(1) << "There were " << subscriber->GetQueueSize()
                         << " messages left unprocessed in a queue";
    }
}

void CMessageProcessorThreadHolder::State::ProcessMessages() {
    for (;;) {
        CSubscriber::Message message;
        CSubscriber::Context context;
        // A queue that never runs empty never waits, and a wait is what an interruption would end.
        boost::this_thread::interruption_point();
        if (!subscriber->WaitForMessage(message, context)) {
            return;
        }
        // What the processor publishes belongs to this message.
        SetDeliveryContext(context);
        try {
            processor.Process(message);
        } catch (const boost::thread_interrupted&) {
            // It is no std::exception: the last handler would keep the thread from ending.
            throw;
        } catch (const std::exception& error) {
            logger.GetLog(4) << error.what();
        } catch (...) {
            // Ending here would leave the queue without a consumer: it is not idle.
            logger.GetLog(4) << "Message processing failed with an unknown exception";
        }
    }
}

CMessageProcessorThreadHolder::CMessageProcessorThreadHolder(ILogger& logger, std::string name,
                                                             IMessageProcessor& processor,
                                                             boost::shared_ptr<Base::IClock> clock)
    : state_(boost::make_shared<State>(logger, processor)) {
    // Weak: the bus keeps the subscriber, and with it this callback, for ever. A strong pointer
    // would keep the state as well, whose logger and processor are gone with the module, and whose
    // own pointer to the subscriber would close a circle. A push that has locked it holds the state
    // for the length of its call.
    const boost::weak_ptr<State> weak = state_;
    const auto idleEnded = [weak] {
        if (const boost::shared_ptr<State> state = weak.lock()) {
            state->OnIdleEnded();
        }
    };
    state_->subscriber =
        boost::make_shared<CSubscriber>(std::move(name), std::move(clock), idleEnded);
}

CMessageProcessorThreadHolder::~CMessageProcessorThreadHolder() {
    // From here on a push starts nothing, but for one that has copied the callback already: that
    // one has the lock first, and its thread is joined below, or comes later and finds `running`
    // cleared.
    state_->subscriber->Detach();
    {
        const Guard guard(state_->lock);
        state_->running = false;
        if (state_->thread) {
            state_->thread->interrupt();
        }
    }
    // The lock has been free for a moment. A push that waited for it has joined the interrupted
    // thread then, and started none; else it is joined here.
    const Guard guard(state_->lock);
    state_->JoinThread();
}

void CMessageProcessorThreadHolder::Resume() {
    const Guard guard(state_->lock);
    // A thread that is there takes the messages, or has ended for want of them and left the queue
    // idle: both need nothing. Without one the queue must be told that the next message, or the one
    // that waits already, has to start it.
    if (!state_->thread) {
        state_->subscriber->Rearm();
    }
}

void CMessageProcessorThreadHolder::Halt() {
    const Guard guard(state_->lock);
    // Not interrupted: what is queued is still handed out. So this takes until five seconds have
    // passed without one.
    state_->JoinThread();
}

const boost::shared_ptr<CSubscriber>& CMessageProcessorThreadHolder::GetSubscriber() const {
    return state_->subscriber;
}

}  // namespace Kyr::Connectors::Common
