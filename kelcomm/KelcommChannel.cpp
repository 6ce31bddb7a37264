#include "kelcomm/KelcommChannel.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "kelcomm/KelcommChannelBuffer.h"
#include "kelcomm/KelcommErrorReplyException.h"
#include "kelcomm/client/BroadcastLayout.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/PayloadHeader.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// The product's commands.
constexpr std::uint32_t kPing = 0;     // CCCOMM_PING
constexpr std::uint32_t kRequest = 3;  // CCCOMM_REQUEST

constexpr std::int64_t kNoTimeout = 0;

/// The product family's limit for any reply.
constexpr std::uint32_t kLargestCapacity = 0x10000000;

// Statuses of a reply.
constexpr std::uint32_t kSuccess = 0;
constexpr std::uint32_t kReplyBufferTooSmall = 5;
constexpr std::uint32_t kCommandFailed = 14;
constexpr std::uint32_t kSuccessWithoutValue = 18;

/// The index of the server plug-in's broadcast value, behind those at fixed places.
constexpr std::uint32_t kServerBroadcast = 10;
static_assert(std::size(Broadcast::kValues) == kServerBroadcast);

std::unique_ptr<IKelcommClient> CreateAlpcClient(const Native::NativeFunctions& native) {
    auto client = std::make_unique<CKelcommAlpcClient>(native);
    if (client->Initialize(kKelcommClientId, kKelcommServerId, kKelcommNoOptions) !=
        kKelcommSuccess) {
        return nullptr;
    }
    return client;
}

std::uint32_t SendPing(IKelcommClient* client) {
    if (client == nullptr) {
        return kKelcommInvalidArgument;
    }
    return client->Request(0, kPing, nullptr, 0, nullptr, 0, nullptr, kNoTimeout);
}

/// Also keeps doubling inside 32 bits.
void CheckCapacity(std::size_t capacity) {
    if (capacity > kLargestCapacity) {
        // The spelling is the product family's own; log readers match on it.
        throw std::runtime_error("CKelcommChannel: Reply buffer exeeded allowed size");
    }
}

/// What follows the header's own size in it.
struct ReplyHeader {
    std::uint32_t status;
    std::uint32_t value;
};

/// Leaves the read position behind the header, where whoever reads the body goes on.
ReplyHeader ReadHeader(KelcommChannelBuffer& reply) {
    reply.SetReadPosition(0);
    // All three are read before one is judged: a reply that ends too soon is short, whatever size
    // it states.
    const std::uint32_t headerSize = reply.ReadU32();
    const std::uint32_t status = reply.ReadU32();
    const std::uint32_t value = reply.ReadU32();
    if (headerSize != kPayloadHeaderSize) {
        throw std::runtime_error("CKelcommChannel: Reply header has wrong size");
    }
    return {status, value};
}

[[noreturn]] void ThrowErrorReply(std::uint32_t status) {
    std::string text = "CKelcommChannel: Send request failed with " + std::to_string(status);
    if (status == kCommandFailed) {
        text += ", Command failed - Make sure that Agent runs with Administrator privileges.";
    }
    throw CKelcommErrorReplyException(text, status);
}

}  // namespace

CKelcommChannel::CKelcommChannel(std::uint32_t /*unused1*/, std::uint32_t /*unused2*/,
                                 const Native::NativeFunctions& native)
    // Made in the order of the members: the preferred client first.
    : nonLegacyClient_(Required(CreateAlpcClient(native))),
      legacyClient_(Required(CreateKelcommClientNt(native))) {}

CKelcommChannel::CKelcommChannel(std::unique_ptr<IKelcommClient> nonLegacyClient,
                                 std::unique_ptr<IKelcommClient> legacyClient)
    : nonLegacyClient_(std::move(nonLegacyClient)), legacyClient_(std::move(legacyClient)) {}

CKelcommChannel::~CKelcommChannel() {
    // A client must be closed before it is destroyed: the ALPC one ends the process otherwise.
    for (auto* client : {&nonLegacyClient_, &legacyClient_}) {
        if (*client) {
            (*client)->Close();
            client->reset();
        }
    }
}

std::unique_ptr<IKelcommClient> CKelcommChannel::Required(std::unique_ptr<IKelcommClient> client) {
    if (!client) {
        throw std::runtime_error("CKelcommChannel: KelcommClient creation failed");
    }
    return client;
}

bool CKelcommChannel::Ping(std::string& errors) {
    // The switch between the clients goes one way, and only two places turn it: here, when the
    // product answers on the older port only, and FallBackOrThrow, when nobody has asked before the
    // first request. Either way it has been decided from then on, also by pings that both fail:
    // `pinged_` says that a failed request may no longer turn it.
    const Base::CLock lock(mutex_);
    pinged_ = true;
    std::uint32_t code = SendPing(nonLegacyClient_.get());
    if (code == kKelcommSuccess) {
        // Deliberate: useLegacy_ stays as it is. A product that has been spoken to over the older
        // port is spoken to over it to the end, however the newer one may come and go.
        return true;
    }
    errors += "Ping (CCCOMM_PING) failed with " + std::to_string(code);
    code = SendPing(legacyClient_.get());
    if (code == kKelcommSuccess) {
        useLegacy_ = true;
        return true;
    }
    errors += ", Legacy ping (CCCOMM_PING) failed with " + std::to_string(code);
    return false;
}

std::uint32_t CKelcommChannel::SendRequest(const KelcommChannelBuffer& request,
                                           KelcommChannelBuffer& reply) {
    CheckCapacity(reply.GetSize());
    std::uint32_t capacity = reply.IsEmpty() ? KelcommChannelBuffer::kUsualSize
                                             : static_cast<std::uint32_t>(reply.GetSize());
    std::string nonLegacyError;
    // Where the first offer's reply goes, unwritten but for that: most replies are so much shorter
    // that clearing the whole would be the dearest part of the exchange.
    unsigned char uncleared[KelcommChannelBuffer::kUsualSize];
    // Each turn sends the whole request: with more room for the reply, or to the other client.
    // Neither client nor product keeps a reply that did not fit.
    for (;; CheckCapacity(capacity)) {
        bool isUncleared = false;
        std::uint32_t replyLength = 0;
        {
            // One exchange at a time, whose end may be far away. Between the turns, and while the
            // reply is examined, others have their turn.
            const Base::CLock lock(mutex_);
            IKelcommClient* const client = CurrentClient();
            // Over the older port the product itself writes the reply here, and may leave out a
            // part of it: that must be zero. The newer port's client writes all that it tells.
            isUncleared = !useLegacy_ && reply.IsEmpty() && capacity == sizeof uncleared;
            // A buffer that grows begins anew: nobody reads what a reply that did not fit has left.
            if (!isUncleared && reply.GetSize() != capacity) {
                reply.Renew(capacity);
            }
            const std::uint32_t code =
                client == nullptr ? std::uint32_t{kKelcommInvalidArgument}
                                  : client->Request(0, kRequest, request.GetData(),
                                                    static_cast<std::uint32_t>(request.GetSize()),
                                                    isUncleared ? uncleared : reply.GetData(),
                                                    capacity, &replyLength, kNoTimeout);
            if (code == kKelcommReplyTooLarge) {
                capacity *= 2;
                continue;
            }
            if (code != kKelcommSuccess) {
                FallBackOrThrow(code, nonLegacyError);
                continue;
            }
        }
        // From here on the transport has worked. What the product says decides, and no reply of
        // its moves the channel to the other client.
        if (isUncleared) {
            // No further than it goes, whatever length a client tells: zeros stand behind it then.
            reply.Append(uncleared, std::min(replyLength, capacity));
        }
        reply.Resize(replyLength);
        const ReplyHeader header = ReadHeader(reply);
        switch (header.status) {
            case kSuccess:
                return header.value;
            case kSuccessWithoutValue:
                return 0;
            // The product's own way to say what the ALPC client says by its code: its reply was
            // made for the capacity that the request announced.
            case kReplyBufferTooSmall:
                capacity *= 2;
                continue;
            default:
                ThrowErrorReply(header.status);
        }
    }
}

std::int32_t CKelcommChannel::GetBroadcast(std::int32_t index) {
    // Before the index is looked at: the first use of a channel finds out which client to use.
    PingOnce();
    const auto place = static_cast<std::uint32_t>(index);  // a negative index is above all places
    if (place > kServerBroadcast) {
        throw std::runtime_error("CKelcommChannel: Unknown broadcast was specified");
    }
    if (place == kServerBroadcast && !serverBroadcastAvailable_) {
        return CServerBroadcast::kNoValue;
    }
    const Base::CLock lock(mutex_);
    IKelcommClient* const client = CurrentClient();
    if (place == kServerBroadcast) {
        return serverBroadcast_.Read(client);
    }
    std::uint32_t value = 0;
    if (client == nullptr ||
        client->ReadBroadcastValue(Broadcast::kValues[place], &value) != kKelcommSuccess) {
        throw std::runtime_error("CKelcommChannel: Get broadcast failed");
    }
    return static_cast<std::int32_t>(value);
}

void CKelcommChannel::PingOnce() {
    if (pinged_) {
        return;
    }
    // Fails at most once in a channel's life: Ping sets the flag whatever becomes of it. The area
    // may well be readable while no port answers.
    std::string errors;
    if (!Ping(errors)) {
        throw std::runtime_error("CKelcommChannel::GetBroadcast: " + errors);
    }
}

IKelcommClient* CKelcommChannel::CurrentClient() const {
    return useLegacy_ ? legacyClient_.get() : nonLegacyClient_.get();
}

void CKelcommChannel::FallBackOrThrow(std::uint32_t code, std::string& nonLegacyError) {
    // An unpinged channel does not know yet whether the product has the newer port at all: its
    // first failure is taken for a "no". Once that is decided, a failure is a failure.
    std::string error =
        "CKelcommChannel: Send request failed with kelcomm error " + std::to_string(code);
    if (pinged_) {
        if (!nonLegacyError.empty()) {
            error += ", Non-legacy " + nonLegacyError;
        }
        throw std::runtime_error(error);
    }
    pinged_ = true;
    useLegacy_ = true;
    nonLegacyError = std::move(error);
}

}  // namespace Kyr::Connectors::Common::Kelcomm
