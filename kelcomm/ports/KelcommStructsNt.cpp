#include "kelcomm/ports/KelcommStructsNt.h"

#include <cstring>

#include "base/LittleEndian.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

constexpr std::uint32_t kFlagsForServer = 7;  // the request flags that the server is told
constexpr std::uint32_t kDataEntryCount = 2;  // the request, then the reply

template <typename T>
void StoreEntry(std::uint8_t* entry, const void* address, std::uint32_t length) {
    Base::StoreLittleEndian(entry, static_cast<T>(reinterpret_cast<std::uintptr_t>(address)));
    Base::StoreLittleEndian(entry + NtApi::PortMessageLayout<T>::kDataEntryLength, length);
}

template <typename T>
void StoreLengths(std::uint8_t* message, std::size_t dataLength) {
    Base::StoreLittleEndian(message + NtApi::kDataLengthOffset,
                            static_cast<std::uint16_t>(dataLength));
    Base::StoreLittleEndian(
        message + NtApi::kTotalLengthOffset,
        static_cast<std::uint16_t>(dataLength + NtApi::PortMessageLayout<T>::kHeaderSize));
}

}  // namespace

template <typename T>
void CKelcommStructsNt<T>::BuildRequest(Message& message, const Request& request) {
    std::uint8_t* const bytes = message.bytes;
    std::memset(bytes, 0, kLargePayload);
    Base::StoreLittleEndian(bytes + kCommand, request.command);
    Base::StoreLittleEndian(bytes + kFlags, request.flags & kFlagsForServer);
    Base::StoreLittleEndian(bytes + kReplyCapacity, request.replyCapacity);

    // In a large message the block takes the place of the payload. A payload that fits behind it is
    // copied there and its entry left empty; a longer one is only named, and the server fetches it.
    // The reply buffer is always named: whether it is needed depends on the reply.
    std::size_t end = kSmallPayload;
    bool isInline = true;
    if (IsLarge(request)) {
        end = kLargePayload;
        isInline = request.payloadLength <= kMaxInlinePayload;
        Base::StoreLittleEndian(bytes + NtApi::kDataInfoOffset,
                                static_cast<std::uint16_t>(kDataInfo));
        Base::StoreLittleEndian(bytes + kDataInfo, kDataEntryCount);
        if (!isInline) {
            StoreEntry<T>(bytes + kRequestEntry, request.payload, request.payloadLength);
        }
        StoreEntry<T>(bytes + kReplyEntry, request.reply, request.replyCapacity);
    }
    if (isInline && request.payloadLength != 0) {
        std::memcpy(bytes + end, request.payload, request.payloadLength);
        end += request.payloadLength;
    }
    StoreLengths<T>(bytes, end - Port::kHeaderSize);
}

template <typename T>
void CKelcommStructsNt<T>::PrepareReply(Message& reply) {
    // The fields are zeros, so that a system that reports success and writes nothing leaves no
    // stale result. The lengths tell the system how much it may write.
    std::memset(reply.bytes, 0, kReply);
    StoreLengths<T>(reply.bytes, Port::kMaxMessage - Port::kHeaderSize);
}

template class CKelcommStructsNt<std::uint32_t>;
template class CKelcommStructsNt<std::uint64_t>;

}  // namespace Kyr::Connectors::Common::Kelcomm
