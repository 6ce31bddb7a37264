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

    CRecursiveLock lock;
    std::unique_ptr<boost::thread> thread KYR_GUARDED_BY(lock);
    bool running KYR_GUARDED_BY(lock) = true;
};

using Guard = CRecursiveGuard;

void CMessageProcessorThreadHolder::State::OnIdleEnded() {
    const Guard guard(lock);
    JoinThread();
    if (running) {
        thread = std::make_unique<boost::thread>([this] { ThreadBody(); });
    }
}

void CMessageProcessorThreadHolder::State::JoinThread() {
    if (thread) {
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
        boost::this_thread::interruption_point();
        if (!subscriber->WaitForMessage(message, context)) {
            return;
        }
        SetDeliveryContext(context);
        try {
            processor.Process(message);
        } catch (const boost::thread_interrupted&) {
            throw;
        } catch (const std::exception& error) {
            logger.GetLog(4) << error.what();
        } catch (...) {
            // Ending here would leave the queue without a taker: it is not idle.
            logger.GetLog(4) << "Message processing failed with an unknown exception";
        }
    }
}

CMessageProcessorThreadHolder::CMessageProcessorThreadHolder(ILogger& logger, std::string name,
                                                             IMessageProcessor& processor,
                                                             boost::shared_ptr<Base::IClock> clock)
    : state_(boost::make_shared<State>(logger, processor)) {
    // Weak: the subscriber, which the bus never gives up, must not keep the state's users alive.
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
    state_->subscriber->Detach();
    {
        const Guard guard(state_->lock);
        state_->running = false;
        if (state_->thread) {
            state_->thread->interrupt();
        }
    }
    const Guard guard(state_->lock);
    state_->JoinThread();
}

void CMessageProcessorThreadHolder::Resume() {
    const Guard guard(state_->lock);
    if (!state_->thread) {
        state_->subscriber->Rearm();
    }
}

void CMessageProcessorThreadHolder::Halt() {
    const Guard guard(state_->lock);
    state_->JoinThread();
}

const boost::shared_ptr<CSubscriber>& CMessageProcessorThreadHolder::GetSubscriber() const {
    return state_->subscriber;
}

}  // namespace Kyr::Connectors::Common
