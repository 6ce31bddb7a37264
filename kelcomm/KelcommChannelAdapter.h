// The Kelcomm channel as the connector sees it: starts by pinging, hands each reply to a receiver.
//
// Threads: Start, Send and SetBufferReceiver belong to the task thread; the channel's
// own operations may be used by others at the same time. Start's sleeps are interruption points.
// Ownership: the receiver is shared until the next SetBufferReceiver. A receiver may replace itself
// while it runs, and may send: it is kept alive until its call returns, and no lock is held.
#pragma once

#include <memory>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "connector/channel/IChannel.h"
#include "kelcomm/KelcommChannel.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CKelcommChannelAdapter : public IChannel, public CKelcommChannel {
  public:
    /// As the channel's; `native` must outlive the channel.
    CKelcommChannelAdapter(std::uint32_t unused1, std::uint32_t unused2,
                           const Native::NativeFunctions& native = Native::SystemNativeFunctions(),
                           boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    CKelcommChannelAdapter(std::unique_ptr<IKelcommClient> nonLegacyClient,
                           std::unique_ptr<IKelcommClient> legacyClient,
                           boost::shared_ptr<Base::IClock> clock);
    ~CKelcommChannelAdapter() override;

    /// Pings until the product answers, one second apart; gives up after a minute.
    void Start() override;
    /// One exchange; the receiver gets the whole reply, header included. Throws like SendRequest.
    void Send(const std::vector<unsigned char>& request) override;
    void SetBufferReceiver(const boost::shared_ptr<IBufferReceiver>& receiver) override;
    /// Does nothing: the ports stay open as long as the channel lives.
    void Stop() override;

  private:
    /// The whole reply to `request`.
    std::vector<unsigned char> Exchange(const std::vector<unsigned char>& request);

    const boost::shared_ptr<Base::IClock> clock_;
    boost::shared_ptr<IBufferReceiver> receiver_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
