// One road to the product over two clients: ALPC, the preferred one, and LPC, the fallback for
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

#include <cstdint>
#include <memory>
#include <string>

#include <boost/thread/mutex.hpp>

#include "kelcomm/IKelcommClient.h"

namespace Kyr::Connectors::Common::Kelcomm {

class KelcommChannelBuffer;

class CKelcommChannel {
  public:
    /// A channel over two initialised clients. A missing one answers everything with code 10.
    CKelcommChannel(std::unique_ptr<IKelcommClient> nonLegacyClient,
                    std::unique_ptr<IKelcommClient> legacyClient);
    CKelcommChannel(const CKelcommChannel&) = delete;
    CKelcommChannel& operator=(const CKelcommChannel&) = delete;
    /// Closes and destroys the non-legacy client, then the legacy one.
    ~CKelcommChannel();

    /// True when one of the clients gets an answer. What failed is appended to `errors`, also when
    /// only the non-legacy ping failed.
    bool Ping(std::string& errors);

    /// Sends `request` unchanged and fills `reply` with the whole reply, header included, the read
    /// position just behind the header. Returns the header's value, 0 when the product sent none.
    /// A reply buffer that has a size is the first capacity that the product is offered.
    std::uint32_t SendRequest(const KelcommChannelBuffer& request, KelcommChannelBuffer& reply);

  protected:
    /// Passes `client` on; throws std::runtime_error when there is none.
    static std::unique_ptr<IKelcommClient> Required(std::unique_ptr<IKelcommClient> client);

  private:
    // REQUIRES: mutex_ is held, for both.
    IKelcommClient* CurrentClient() const;
    /// Decides what a failed exchange means: moves an unpinged channel to the fallback and returns,
    /// or throws. `nonLegacyError` carries the first failure's text to the second.
    void FallBackOrThrow(std::uint32_t code, std::string& nonLegacyError);

    boost::mutex mutex_;  // guards everything below
    std::unique_ptr<IKelcommClient> nonLegacyClient_;
    bool pinged_ = false;     // a ping or a fallback has decided; only ever set
    bool useLegacy_ = false;  // only ever set
    std::unique_ptr<IKelcommClient> legacyClient_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
