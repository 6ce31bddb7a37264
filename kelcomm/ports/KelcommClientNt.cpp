#include "kelcomm/ports/KelcommClientNt.h"

#include <cstring>
#include <new>
#include <utility>

#include "base/LittleEndian.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

/// Connection information: the magic and the version.
constexpr std::uint32_t kConnectionInfoSize = kKelcommMagicSize + 4;

/// Replies shorter than result code and reply length are malformed.
constexpr std::uint16_t kReplyHeadSize = 8;

Native::CHandle OpenPort(const Native::NativeFunctions& native, std::uint32_t clientId,
                         std::uint32_t serverId) {
    ObjectName nameText = LpcPortName(clientId, serverId);
    NtApi::UnicodeString name{};
    native.RtlInitUnicodeString(&name, nameText.data());
    NtApi::SecurityQualityOfService qos{};
    qos.Length = sizeof(qos);
    qos.ImpersonationLevel = NtApi::kSecurityImpersonation;
    qos.ContextTrackingMode = NtApi::kSecurityDynamicTracking;
    std::uint8_t information[kConnectionInfoSize];
    std::memcpy(information, kKelcommMagic, kKelcommMagicSize);
    Base::StoreLittleEndian(information + kKelcommMagicSize, kKelcommVersion);
    std::uint32_t informationSize = kConnectionInfoSize;

    NtApi::Handle opened = nullptr;
    const NtApi::NtStatus status = native.NtConnectPort(&opened, &name, &qos, nullptr, nullptr,
                                                        nullptr, information, &informationSize);
    // Owned before the status is looked at: a failure may come with a handle.
    Native::CHandle port(native, opened);
    if (NtApi::IsError(status)) {
        port.Reset();
    }
    return port;
}

}  // namespace

template <typename T>
CKelcommClientNt<T>::CKelcommClientNt(const Native::NativeFunctions& native)
    : CKelcommCommonNt(native) {}

template <typename T>
CKelcommClientNt<T>::~CKelcommClientNt() {
    CKelcommClientNt::Close();
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::Initialize(std::uint32_t clientId, std::uint32_t serverId,
                                              std::uint32_t options) {
    const std::uint32_t result = CKelcommClientNt::Close();
    this->clientId_ = clientId;
    this->serverId_ = serverId;
    this->options_ = options;
    return result;
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::Uninitialize() {
    return kKelcommNotProvided;
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::Close() {
    ClosePort();
    this->waitPool_.reset();
    CloseArea();
    return kKelcommSuccess;
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::RequestToBuffer(std::uint32_t, std::uint32_t, const void*,
                                                   std::uint32_t, CBuffer*, std::int64_t) {
    return kKelcommFailure;
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::Connect() {
    const Base::CLock lock(criticalSection_);
    if (this->port_) {
        return kKelcommSuccess;
    }
    Native::CHandle port = OpenPort(native_, this->clientId_, this->serverId_);
    if (!port) {
        return kKelcommCannotConnect;
    }
    // The pool outlives the port: a reconnection finds its threads idle. A connection that cannot
    // keep the promise of the option is none.
    if ((this->options_ & kKelcommPumpMessages) != 0 && this->waitPool_ == nullptr) {
        this->waitPool_ = CKelcommWaitPool::Create(native_);
        if (this->waitPool_ == nullptr) {
            return kKelcommCannotConnect;
        }
    }
    this->port_ = std::move(port);
    return kKelcommSuccess;
}

template <typename T>
void CKelcommClientNt<T>::ClosePort() {
    const Base::CLock lock(criticalSection_);
    this->port_.Reset();
}

template <typename T>
NtApi::Handle CKelcommClientNt<T>::CurrentPort() {
    const Base::CLock lock(criticalSection_);
    return this->port_.Get();
}

template <typename T>
NtApi::NtStatus CKelcommClientNt<T>::Exchange(NtApi::Handle port, Message& request,
                                              Message& reply) {
    Structs::PrepareReply(reply);
    if ((this->options_ & kKelcommPumpMessages) != 0 && this->waitPool_ != nullptr) {
        return this->waitPool_->Exchange(port, request.bytes, reply.bytes);
    }
    return native_.NtRequestWaitReplyPort(port, request.bytes, reply.bytes);
}

template <typename T>
template <typename Send>
NtApi::NtStatus CKelcommClientNt<T>::SendWithRepeat(const Send& send) {
    // A port that has failed once fails for ever, and the repeat reaches a product that has been
    // restarted since. An invalid parameter speaks of the message, which would be the same again.
    const auto dropIfFailed = [this](NtApi::NtStatus status) {
        const bool drop = NtApi::IsError(status) && status != NtApi::kStatusInvalidParameter;
        if (drop) {
            ClosePort();
        }
        return drop;
    };
    NtApi::NtStatus status = send(CurrentPort());
    if (!dropIfFailed(status)) {
        return status;
    }
    if (Connect() != kKelcommSuccess) {
        return NtApi::kStatusUnsuccessful;
    }
    status = send(CurrentPort());
    // No third time, but the next request must not begin with this port.
    dropIfFailed(status);
    return status;
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::Request(std::uint32_t flags, std::uint32_t command,
                                           const void* request, std::uint32_t requestLength,
                                           void* reply, std::uint32_t replyCapacity,
                                           std::uint32_t* replyLength, std::int64_t timeout) {
    if (Connect() != kKelcommSuccess) {
        return kKelcommFailure;
    }
    // Deliberately behind the connecting: without a server even this is a failure to connect.
    if (timeout != 0) {
        return kKelcommInvalidArgument;
    }
    const bool oneWay = (flags & kKelcommOneWay) != 0;
    if (oneWay) {
        replyCapacity = 0;
        replyLength = nullptr;
    }
    const typename Structs::Request parts{flags,         command, request,
                                          requestLength, reply,   replyCapacity};
    Message requestMessage;
    Structs::BuildRequest(requestMessage, parts);

    // A server can read the data entries of a large message only as long as the sender waits for
    // the reply; a large one-way request is therefore an exchange, with a reply without bytes.
    if (oneWay && !Structs::IsLarge(parts)) {
        const NtApi::NtStatus sent = SendWithRepeat(
            [&](NtApi::Handle port) { return native_.NtRequestPort(port, requestMessage.bytes); });
        return NtApi::IsError(sent) ? kKelcommFailure : kKelcommSuccess;
    }

    Message replyMessage;
    const NtApi::NtStatus exchanged = SendWithRepeat(
        [&](NtApi::Handle port) { return Exchange(port, requestMessage, replyMessage); });
    const auto dataLength =
        Base::LoadLittleEndian<std::uint16_t>(replyMessage.bytes + NtApi::kDataLengthOffset);
    if (NtApi::IsError(exchanged) || dataLength < kReplyHeadSize) {
        return kKelcommFailure;
    }
    // From here on nothing is repeated: the exchange worked, and the port is sound.
    const auto length =
        Base::LoadLittleEndian<std::uint32_t>(replyMessage.bytes + Structs::kReplyLength);
    if (length > replyCapacity) {
        return kKelcommFailure;
    }
    if (length != 0 && length <= Structs::kMaxSmallReply) {
        // The bytes stand in the message; a message that ends before them is malformed.
        if (length > std::uint32_t{dataLength} - kReplyHeadSize || reply == nullptr) {
            return kKelcommFailure;
        }
        std::memcpy(reply, replyMessage.bytes + Structs::kReply, length);
    }
    // A longer reply has already been written into the caller's buffer by the server.
    if (replyLength != nullptr) {
        *replyLength = length;
    }
    return Base::LoadLittleEndian<std::uint32_t>(replyMessage.bytes + Structs::kResult);
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::ReadBroadcast(std::uint32_t offset, void* destination,
                                                 std::uint32_t length) {
    return ReadArea({this->clientId_, this->serverId_}, offset, destination, length);
}

template <typename T>
std::uint32_t CKelcommClientNt<T>::ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) {
    return ReadAreaValue({this->clientId_, this->serverId_}, offset, value);
}

template class CKelcommClientNt<std::uint32_t>;
template class CKelcommClientNt<std::uint64_t>;

std::unique_ptr<IKelcommClient> CreateKelcommClientNt(const Native::NativeFunctions& native) {
    // Legacy ports are not translated for a 32-bit process on a 64-bit system: it has to write the
    // structures of the kernel below. Everybody else writes the 32-bit ones, the protocol's own.
    NtApi::Bool isWow64 = 0;
    const bool use64 =
        native.IsWow64Process(native.GetCurrentProcess(), &isWow64) != 0 && isWow64 != 0;
    std::unique_ptr<IKelcommClient> client;
    if (use64) {
        client.reset(new (std::nothrow) CKelcommClientNt<std::uint64_t>(native));
    } else {
        client.reset(new (std::nothrow) CKelcommClientNt<std::uint32_t>(native));
    }
    if (client == nullptr || client->Initialize(kKelcommClientId, kKelcommServerId,
                                                kKelcommNoOptions) != kKelcommSuccess) {
        return nullptr;
    }
    return client;
}

}  // namespace Kyr::Connectors::Common::Kelcomm
