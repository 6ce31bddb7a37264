#include "connector/MessageProcessorThreadHolder.h"

#include <utility>

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>

#include "connector/ReplyThread.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Module::CSubscriber;
using Kyr::Common::Module::IMessageProcessor;

CConnectorModule::IMessageProcessorThreadHolder::~IMessageProcessorThreadHolder() = default;

CMessageProcessorThreadHolder::CMessageProcessorThreadHolder(ILogger& logger, std::string name,
                                                             IMessageProcessor& processor,
                                                             boost::shared_ptr<Base::IClock> clock)
    : thread_(boost::make_shared<CReplyThread>(logger, processor)) {
    // Weak: the bus keeps the subscriber, and with it this callback, for ever. A strong pointer
    // would keep the thread's object as well, whose logger and processor are gone with the module,
    // and whose own pointer to the subscriber would close a circle. A push that has locked it holds
    // the object for the length of its call.
    const boost::weak_ptr<CReplyThread> weak = thread_;
    const auto idleEnded = [weak] {
        if (const boost::shared_ptr<CReplyThread> thread = weak.lock()) {
            thread->OnIdleEnded();
        }
    };
    thread_->SetQueue(
        boost::make_shared<CSubscriber>(std::move(name), std::move(clock), idleEnded));
}

CMessageProcessorThreadHolder::~CMessageProcessorThreadHolder() {
    thread_->End();
}

void CMessageProcessorThreadHolder::Resume() {
    thread_->Resume();
}

void CMessageProcessorThreadHolder::Halt() {
    thread_->Halt();
}

const boost::shared_ptr<CSubscriber>& CMessageProcessorThreadHolder::GetSubscriber() const {
    return thread_->Queue();
}

}  // namespace Kyr::Connectors::Common
