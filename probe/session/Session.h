// A conversation with the product, over the library's own channel: connected by the first use, each
// exchange within a time limit.
//
// Threads: one. Process-wide witness: one session at a time (PortTrace.h).
// Errors: CNotReached when the product is not there or says nothing; CKelcommErrorReplyException
// when it refuses a request; std::runtime_error when its reply is none.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kelcomm/KelcommChannel.h"
#include "probe/session/PortTrace.h"
#include "probe/session/SessionOptions.h"

namespace Kyr::Probe {

using Bytes = std::vector<unsigned char>;

class CSession {
  public:
    explicit CSession(SessionOptions options);
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    /// Pings, when nobody has yet; throws when nobody answers.
    void Connect();
    /// True when the product answers a ping; what failed stands in `why`, if anything did.
    bool Ping(std::string& why);
    /// The whole reply to a request, header included. Pings first when nobody has.
    Bytes Exchange(const Bytes& request);
    /// A value of the area, 0 to 10.
    std::int32_t Broadcast(std::int32_t index);

    const SessionOptions& Options() const { return options_; }

  private:
    using Channel = Connectors::Common::Kelcomm::CKelcommChannel;

    void Within(const std::function<void(Channel&)>& work);

    const SessionOptions options_;
    /// Shared with an exchange that is left behind.
    std::shared_ptr<Channel> channel_;
    std::shared_ptr<std::atomic<bool>> isRunning_ = std::make_shared<std::atomic<bool>>(false);
    bool isConnected_ = false;
};

}  // namespace Kyr::Probe
