// Matches replies of the host's request/response scheme to the requests that wait for them. Made
// for every connector: the Ov agent's asks the host for nothing, so all that comes here is dropped.
//
// Threads: any; the reply thread calls Process, requesting threads the rest.
// Errors: Process throws std::runtime_error on a message that is no reply.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "connector/IMessageProcessor.h"
#include "host/kernel/Resources.h"
#include "host/module/Response.h"

namespace Kyr::Common::Module {

class CReplyProcessor : public IMessageProcessor {
  public:
    CReplyProcessor(boost::shared_ptr<Kernel::IBusResource> bus,
                    boost::shared_ptr<Kernel::IIdGeneratorResource> idGenerator,
                    boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CReplyProcessor() override;

    /// Hands the response to the request that it answers. A response that nobody waits for is
    /// dropped.
    void Process(const boost::shared_ptr<Kernel::IMessage>& message) override;

    /// Announces a request: returns its new identifier, for which replies are kept from now on.
    std::uint32_t Expect();
    /// Waits for the reply to an announced request and forgets the request. Empty when none came in
    /// time. A boost interruption point.
    boost::shared_ptr<CResponse> WaitForReply(std::uint32_t requestId,
                                              std::chrono::milliseconds timeout);

  private:
    struct Pending {
        boost::shared_ptr<CResponse> response;
        Base::CCondition answered;
    };

    Base::CMutex mutex_;  // guards also what the pointers point to
    std::map<std::uint32_t, boost::shared_ptr<Pending>> pending_ KYR_GUARDED_BY(mutex_);
    const boost::shared_ptr<Kernel::IBusResource> bus_;  // nobody reads it; contract
    const boost::shared_ptr<Kernel::IIdGeneratorResource> idGenerator_;
    const boost::shared_ptr<Base::IClock> clock_;
};

}  // namespace Kyr::Common::Module
