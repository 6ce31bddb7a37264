// The client of the product's advanced port.
//
// The port is connected by the first request. A request whose result is 1 drops the port and is
// repeated once on a new one.
// Threads: requests hold a slim lock shared, so that several may be in flight; connecting, dropping
// the port and Initialize take it exclusively. Uninitialize takes it shared on purpose:
// disconnecting is what ends requests that are waiting for a reply.
// Errors: see IKelcommClient.
// Ownership: the native table must outlive the client. The owner calls Close before it destroys a
// client: a port that is still open then ends the process.
#pragma once

#include <atomic>

#include "kelcomm/area/KelcommCommonNt.h"
#include "kelcomm/client/IKelcommClient.h"
#include "kelcomm/native/Handle.h"
#include "kelcomm/ports/SlimLock.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CKelcommAlpcClient final : public IKelcommClient, private CKelcommCommonNt {
  public:
    explicit CKelcommAlpcClient(
        const Native::NativeFunctions& native = Native::SystemNativeFunctions());
    /// REQUIRES: no port is open, see Close.
    ~CKelcommAlpcClient() override;

    /// 10 for the option of pumping messages, 4 when an id is already set.
    std::uint32_t Initialize(std::uint32_t clientId, std::uint32_t serverId,
                             std::uint32_t options) override;
    /// Forgets the ids and disconnects an open port, which stays to be closed.
    std::uint32_t Uninitialize() override;
    /// Uninitialises, waits for requests in flight and closes port and broadcast area.
    std::uint32_t Close() override;
    std::uint32_t RequestToBuffer(std::uint32_t flags, std::uint32_t command, const void* request,
                                  std::uint32_t requestLength, CBuffer* reply,
                                  std::int64_t timeout) override;
    std::uint32_t Request(std::uint32_t flags, std::uint32_t command, const void* request,
                          std::uint32_t requestLength, void* reply, std::uint32_t replyCapacity,
                          std::uint32_t* replyLength, std::int64_t timeout) override;
    std::uint32_t ReadBroadcast(std::uint32_t offset, void* destination,
                                std::uint32_t length) override;
    std::uint32_t ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) override;

  private:
    struct Parts;     // one request as its caller gave it
    struct Messages;  // what one exchange sends and receives

    std::uint32_t RequestWithRepeat(const Parts& parts);
    std::uint32_t RequestOnce(const Parts& parts);

    // The steps of RequestOnce, which holds the lock shared meanwhile.

    /// Writes the request, and makes the views that go with the messages. False when the system
    /// refuses one.
    bool Prepare(const Parts& parts, Messages& messages) const;
    NtApi::NtStatus Exchange(const Parts& parts, Messages& messages) const;
    /// Delivers a received reply; its result code, or a local one when it is malformed or does not
    /// fit.
    static std::uint32_t TakeReply(const Parts& parts, Messages& messages);
    /// Gives the reply back to a server that waits for it.
    void Release(Messages& messages) const;

    std::uint32_t Connect();
    void ClosePort();

    CSlimLock lock_;
    Native::CHandle port_ KYR_GUARDED_BY(lock_);
    // Changed under lock_, by Uninitialize even when it is held shared, and read by the readers of
    // the area without it: atomic instead of guarded.
    std::atomic<std::uint32_t> clientId_{0};
    std::atomic<std::uint32_t> serverId_{0};
    std::atomic<std::uint32_t> options_{0};  // contract; nothing here reads it
};

}  // namespace Kyr::Connectors::Common::Kelcomm
