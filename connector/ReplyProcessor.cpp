#include "connector/ReplyProcessor.h"

#include <stdexcept>
#include <utility>

#include <boost/make_shared.hpp>

namespace Kyr::Common::Module {

namespace {

using Lock = Base::CLock;

}  // namespace

IMessageProcessor::~IMessageProcessor() = default;

CReplyProcessor::CReplyProcessor(boost::shared_ptr<Kernel::IBusResource> bus,
                                 boost::shared_ptr<Kernel::IIdGeneratorResource> idGenerator,
                                 boost::shared_ptr<Base::IClock> clock)
    : bus_(std::move(bus)), idGenerator_(std::move(idGenerator)), clock_(std::move(clock)) {}

CReplyProcessor::~CReplyProcessor() = default;

void CReplyProcessor::Process(const boost::shared_ptr<Kernel::IMessage>& message) {
    const auto response = boost::dynamic_pointer_cast<CResponse>(message);
    if (!response) {
        throw std::runtime_error("Bad cast to Kyr::Common::Module::CResponse");
    }
    const Lock lock(mutex_);
    // A response that nobody waits for, or not any more, is dropped: the bus brings those of other
    // modules, too.
    const auto found = pending_.find(response->GetRequestId());
    if (found != pending_.end()) {
        found->second->response = response;
        found->second->answered.NotifyAll();
    }
}

std::uint32_t CReplyProcessor::Expect() {
    const std::uint32_t requestId = idGenerator_->GenerateId();
    const Lock lock(mutex_);
    // Before the request is published: its response may come at once.
    pending_[requestId] = boost::make_shared<Pending>();
    return requestId;
}

boost::shared_ptr<CResponse> CReplyProcessor::WaitForReply(std::uint32_t requestId,
                                                           std::chrono::milliseconds timeout) {
    Lock lock(mutex_);
    const auto found = pending_.find(requestId);
    if (found == pending_.end()) {
        return {};
    }
    // Held on its own: the map may change while this thread waits.
    const boost::shared_ptr<Pending> pending = found->second;
    while (!pending->response && clock_->WaitFor(pending->answered, lock, timeout)) {
    }
    pending_.erase(requestId);
    return pending->response;
}

}  // namespace Kyr::Common::Module
