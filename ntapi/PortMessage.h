// The header in front of every port message, and the data-information block of legacy port
// requests, as offsets.
//
// Messages cross a port as bytes; they are read and written field by field, little-endian, never by
// laying a structure over them. The 32-bit layout is used by 32-bit processes and by all advanced
// ports of such a process; the 64-bit layout by 64-bit processes and, on legacy ports, by 32-bit
// processes on a 64-bit system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kyr::NtApi {

/// Offsets of the port message header; `Word` is std::uint32_t or std::uint64_t, the pointer width
/// of the layout.
template <typename Word>
struct PortMessageLayout;

template <>
struct PortMessageLayout<std::uint32_t> {
    static constexpr std::size_t kHeaderSize = 24;
    static constexpr std::size_t kProcessId = 8;
    static constexpr std::size_t kThreadId = 12;
    static constexpr std::size_t kMessageId = 16;
    static constexpr std::size_t kViewSize = 20;  // the callback id of a request shares this place
    static constexpr std::size_t kMaxMessage = 328;  // legacy ports
    // Data-information block: u32 count, then {address, u32 size} a data entry.
    static constexpr std::size_t kDataEntries = 4;
    static constexpr std::size_t kDataEntrySize = 8;
    static constexpr std::size_t kDataEntryLength = 4;
};

template <>
struct PortMessageLayout<std::uint64_t> {
    static constexpr std::size_t kHeaderSize = 40;
    static constexpr std::size_t kProcessId = 8;
    static constexpr std::size_t kThreadId = 16;
    static constexpr std::size_t kMessageId = 24;
    static constexpr std::size_t kViewSize = 32;
    static constexpr std::size_t kMaxMessage = 648;
    // Data-information block: u32 count, 4 bytes of padding, then {address, u32 size, padding} a
    // data entry.
    static constexpr std::size_t kDataEntries = 8;
    static constexpr std::size_t kDataEntrySize = 16;
    static constexpr std::size_t kDataEntryLength = 8;
};

// The first eight bytes are the same in both layouts.
constexpr std::size_t kDataLengthOffset = 0;   // u16: bytes after the header
constexpr std::size_t kTotalLengthOffset = 2;  // u16: header and data
constexpr std::size_t kTypeOffset = 4;         // u16: kind in the low byte, flags above
constexpr std::size_t kDataInfoOffset = 6;     // u16: place of the data-information block, 0 = none

// Kinds of messages: the low byte of the type.
constexpr std::uint16_t kMessageKindMask = 0x00FF;
constexpr std::uint16_t kLpcRequest = 1;
constexpr std::uint16_t kLpcReply = 2;
constexpr std::uint16_t kLpcDatagram = 3;
constexpr std::uint16_t kLpcLostReply = 4;
constexpr std::uint16_t kLpcPortClosed = 5;
constexpr std::uint16_t kLpcClientDied = 6;
constexpr std::uint16_t kLpcConnectionRequest = 10;
constexpr std::uint16_t kLpcConnectionReply = 11;  // advanced ports: the connection message back
/// The sender did not release the message: the receiver must send it back once with the release
/// flag.
constexpr std::uint16_t kLpcContinuationRequired = 0x2000;

/// The longest message of an advanced port, header included.
constexpr std::size_t kAlpcMaxMessage = 0xFFFF;

}  // namespace Kyr::NtApi
