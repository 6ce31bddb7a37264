// The channel to the product over two clients: ALPC, the preferred one, and LPC, the fallback for
// products that offer only the older port.
//
// The choice is made by pings and by the first failure, and it is a one-way switch: once a channel
// has moved to the fallback it stays there for its whole life, whatever later pings say.
//
// Threads: any; every use of the clients is serialised by one mutex, which is not held while a
// reply is examined. Nothing has a time limit: a product that never answers blocks every caller.
// Errors: std::runtime_error with a text that begins with the class name, and
// CKelcommErrorReplyException when the product refuses. The mutex is free whenever one is thrown.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "base/Mutex.h"
#include "kelcomm/ServerBroadcast.h"
#include "kelcomm/client/IKelcommClient.h"
#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm {

class KelcommChannelBuffer;

class CKelcommChannel {
  public:
    /// Makes and initialises both clients, the non-legacy one first; throws std::runtime_error when
    /// that fails. The two numbers have no meaning. `native` must outlive the channel.
    CKelcommChannel(std::uint32_t unused1, std::uint32_t unused2,
                    const Native::NativeFunctions& native = Native::SystemNativeFunctions());
    /// A channel over two initialised clients. A missing one counts as one that returns code 10.
    CKelcommChannel(std::unique_ptr<IKelcommClient> nonLegacyClient,
                    std::unique_ptr<IKelcommClient> legacyClient);
    CKelcommChannel(const CKelcommChannel&) = delete;
    CKelcommChannel& operator=(const CKelcommChannel&) = delete;
    /// Closes and destroys the non-legacy client, then the legacy one.
    ~CKelcommChannel();

    /// True when the product answers one of the clients. What failed is appended to `errors`, also
    /// when only the non-legacy ping failed.
    bool Ping(std::string& errors);

    /// Sends `request` unchanged and fills `reply` with the whole reply, header included, the read
    /// position just behind the header. Returns the header's value, 0 when the product sent none.
    /// A reply buffer that has a size is the first capacity that the product is offered.
    std::uint32_t SendRequest(const KelcommChannelBuffer& request, KelcommChannelBuffer& reply);

    /// A value of the product's broadcast area: one of its words for 0 to 9, the server plug-in's
    /// value for 10, -1 when the product has no such plug-in. Pings first when nobody has yet.
    std::int32_t GetBroadcast(std::int32_t index);

  protected:
    /// Passes `client` on; throws std::runtime_error when there is none.
    static std::unique_ptr<IKelcommClient> Required(std::unique_ptr<IKelcommClient> client);

  private:
    void PingOnce();

    IKelcommClient* CurrentClient() const KYR_REQUIRES(mutex_);
    /// Decides what a failed exchange means: moves an unpinged channel to the fallback and returns,
    /// or throws. `nonLegacyError` carries the first failure's text to the second.
    void FallBackOrThrow(std::uint32_t code, std::string& nonLegacyError) KYR_REQUIRES(mutex_);

    // The order of mutex, clients and their flags is part of the contract; in it they are made.
    Base::CMutex mutex_;
    std::unique_ptr<IKelcommClient> nonLegacyClient_ KYR_GUARDED_BY(mutex_);
    // A ping or a fallback has decided; only ever set, and read without the mutex, too.
    std::atomic<bool> pinged_{false};
    bool useLegacy_ KYR_GUARDED_BY(mutex_) = false;  // only ever set
    std::unique_ptr<IKelcommClient> legacyClient_ KYR_GUARDED_BY(mutex_);
    // Whether there may be a server plug-in: only ever cleared, and read without the mutex, too.
    std::atomic<bool> serverBroadcastAvailable_{true};
    CServerBroadcast serverBroadcast_ KYR_GUARDED_BY(mutex_){serverBroadcastAvailable_};
};

}  // namespace Kyr::Connectors::Common::Kelcomm
