// Reading and writing the header of a port message, field by field.
#pragma once

#include <cstring>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"

namespace Kyr::PortLayer::Detail {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "port messages are little-endian");

/// Advanced messages are the same everywhere.
using AlpcLayout = NtApi::PortMessageLayout<std::uint32_t>;

/// Legacy messages and their data blocks in one of the two widths (ntapi/PortMessage.h).
struct LpcHeaderLayout {
    bool isWide;  // words of 64 bits
    std::size_t headerSize;
    std::size_t maxMessage;
    std::size_t dataEntries;
    std::size_t dataEntrySize;
    std::size_t dataEntryLength;
};

/// The one that all processes of this system use on legacy ports.
const LpcHeaderLayout& LpcLayout();
/// Defined by the back end: true when that is the wide one.
bool LegacyPortsAreWide();

/// In either width.
constexpr std::size_t kLongestLpcMessage = NtApi::PortMessageLayout<std::uint64_t>::kMaxMessage;

template <typename T>
T LoadField(const void* message, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const std::uint8_t*>(message) + offset, sizeof value);
    return value;
}

template <typename T>
void StoreField(void* message, std::size_t offset, T value) {
    std::memcpy(static_cast<std::uint8_t*>(message) + offset, &value, sizeof value);
}

inline std::uint16_t DataLength(const void* message) {
    return LoadField<std::uint16_t>(message, NtApi::kDataLengthOffset);
}
inline std::uint16_t TotalLength(const void* message) {
    return LoadField<std::uint16_t>(message, NtApi::kTotalLengthOffset);
}
inline std::uint16_t MessageType(const void* message) {
    return LoadField<std::uint16_t>(message, NtApi::kTypeOffset);
}
inline std::uint16_t DataInfoOffset(const void* message) {
    return LoadField<std::uint16_t>(message, NtApi::kDataInfoOffset);
}

/// Which of the two layouts a port speaks.
enum class PortDialect : std::uint32_t { kLpc, kAlpc };

/// The fields that the system fills in.
struct MessageIds {
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    std::uint32_t messageId = 0;

    bool operator==(const MessageIds& other) const {
        return processId == other.processId && threadId == other.threadId &&
               messageId == other.messageId;
    }
};

// Here, and not in the source: each message is checked at both ends, whose kinds of ports are known
// where they do so.
inline std::size_t HeaderSize(PortDialect dialect) {
    return dialect == PortDialect::kLpc ? LpcLayout().headerSize : AlpcLayout::kHeaderSize;
}
/// What the lengths in a message's header say to whoever sends it through a port of that limit:
/// kStatusPortMessageTooLong, or kStatusInvalidParameter when they contradict each other.
inline NtApi::NtStatus CheckLengths(PortDialect dialect, const void* message, std::size_t limit) {
    const std::size_t total = TotalLength(message);
    const std::size_t used = HeaderSize(dialect) + DataLength(message);
    if (dialect == PortDialect::kAlpc && used != total) {
        return NtApi::kStatusInvalidParameter;
    }
    if (total > limit) {
        return NtApi::kStatusPortMessageTooLong;
    }
    // A legacy message may be longer than its data: the data block stands behind them.
    return used > total ? NtApi::kStatusInvalidParameter : NtApi::kStatusSuccess;
}
/// Whether a message that came in so many bytes is no longer than `limit`, and its header tells the
/// same: who receives it trusts the header.
inline bool LengthsFit(PortDialect dialect, const void* message, std::size_t length,
                       std::size_t limit) {
    return length >= HeaderSize(dialect) && TotalLength(message) == length &&
           CheckLengths(dialect, message, limit) == NtApi::kStatusSuccess;
}
MessageIds ReadIds(PortDialect dialect, const void* message);
void WriteIds(PortDialect dialect, void* message, const MessageIds& ids);

}  // namespace Kyr::PortLayer::Detail
