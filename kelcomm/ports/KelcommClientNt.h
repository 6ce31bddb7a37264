// The client of the product's legacy port, in 32-bit or 64-bit structures.
//
// The port is connected by the first request. An exchange that fails drops it, connects again and
// is repeated once; STATUS_INVALID_PARAMETER, which no reconnection cures, neither drops nor
// repeats.
// Threads: the critical section guards the port's handle, exchanges run outside it; two threads
// share one client only under a lock of their own.
// Errors: see IKelcommClient. Time-outs are not provided: anything but 0 is an invalid argument.
// Ownership: the native table must outlive the client.
#pragma once

#include <memory>

#include "kelcomm/area/KelcommCommonNt.h"
#include "kelcomm/client/IKelcommClient.h"
#include "kelcomm/ports/KelcommStructsNt.h"

namespace Kyr::Connectors::Common::Kelcomm {

template <typename T>
class CKelcommClientNt final : public IKelcommClient,
                               public CKelcommCommonNt,
                               public CKelcommStructsNt<T> {
  public:
    explicit CKelcommClientNt(
        const Native::NativeFunctions& native = Native::SystemNativeFunctions());
    /// Closes whatever is open.
    ~CKelcommClientNt() override;

    /// Closes first, so that a client may be given other ids at any time.
    std::uint32_t Initialize(std::uint32_t clientId, std::uint32_t serverId,
                             std::uint32_t options) override;
    /// Not provided.
    std::uint32_t Uninitialize() override;
    /// Closes port, wait pool and broadcast area; the ids stay.
    std::uint32_t Close() override;
    /// Not provided.
    std::uint32_t RequestToBuffer(std::uint32_t flags, std::uint32_t command, const void* request,
                                  std::uint32_t requestLength, CBuffer* reply,
                                  std::int64_t timeout) override;
    std::uint32_t Request(std::uint32_t flags, std::uint32_t command, const void* request,
                          std::uint32_t requestLength, void* reply, std::uint32_t replyCapacity,
                          std::uint32_t* replyLength, std::int64_t timeout) override;
    // The area has nothing to do with the port: it can be read while no server answers.
    std::uint32_t ReadBroadcast(std::uint32_t offset, void* destination,
                                std::uint32_t length) override;
    std::uint32_t ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) override;

  private:
    using Structs = CKelcommStructsNt<T>;
    using Message = typename Structs::Message;

    // Each of the three takes the critical section; nobody holds it during an exchange.
    std::uint32_t Connect();
    void ClosePort();
    /// Borrowed; null when there is no port, which the system refuses like any other bad handle.
    NtApi::Handle CurrentPort();
    /// On the calling thread, or through the wait pool when messages are to be kept flowing.
    NtApi::NtStatus Exchange(NtApi::Handle port, Message& request, Message& reply);
    /// Runs `send` on the current port, and once more on a new one when it fails.
    template <typename Send>
    NtApi::NtStatus SendWithRepeat(const Send& send);
};

extern template class CKelcommClientNt<std::uint32_t>;
extern template class CKelcommClientNt<std::uint64_t>;

/// A client for the structures that this process' legacy ports use, with the module's ids. Null
/// when it cannot be made.
std::unique_ptr<IKelcommClient> CreateKelcommClientNt(
    const Native::NativeFunctions& native = Native::SystemNativeFunctions());

}  // namespace Kyr::Connectors::Common::Kelcomm
