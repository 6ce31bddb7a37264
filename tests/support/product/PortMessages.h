// The messages of both ports as bytes, written and read with nothing of the connector's or of the
// simulated product's own coding.
//
// Threads: any. Errors: none; offsets are the caller's business.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ntapi/PortMessage.h"

namespace Kyr::Test {

using Bytes = std::vector<std::uint8_t>;

/// Whether legacy messages have the 64-bit layout on this system, as a client of the ports finds
/// out.
bool SystemIsWide();

/// The layout of legacy messages on this system: which one is found out when the program starts.
struct LpcLayout {
    using Narrow = NtApi::PortMessageLayout<std::uint32_t>;
    using Wide = NtApi::PortMessageLayout<std::uint64_t>;
    static std::size_t Choose(std::size_t narrow, std::size_t wide) {
        return kIsWide ? wide : narrow;
    }

    static inline const bool kIsWide = SystemIsWide();
    static inline const std::size_t kHeaderSize = Choose(Narrow::kHeaderSize, Wide::kHeaderSize);
    static inline const std::size_t kProcessId = Choose(Narrow::kProcessId, Wide::kProcessId);
    static inline const std::size_t kThreadId = Choose(Narrow::kThreadId, Wide::kThreadId);
    static inline const std::size_t kMessageId = Choose(Narrow::kMessageId, Wide::kMessageId);
    static inline const std::size_t kMaxMessage = Choose(Narrow::kMaxMessage, Wide::kMaxMessage);
    static inline const std::size_t kDataEntries = Choose(Narrow::kDataEntries, Wide::kDataEntries);
    static inline const std::size_t kDataEntrySize =
        Choose(Narrow::kDataEntrySize, Wide::kDataEntrySize);
    static inline const std::size_t kDataEntryLength =
        Choose(Narrow::kDataEntryLength, Wide::kDataEntryLength);
};
using AlpcLayout = NtApi::PortMessageLayout<std::uint32_t>;

template <typename T>
T Get(const void* message, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const std::uint8_t*>(message) + offset, sizeof value);
    return value;
}

template <typename T>
void Put(void* message, std::size_t offset, T value) {
    std::memcpy(static_cast<std::uint8_t*>(message) + offset, &value, sizeof value);
}

/// A field of a legacy message that is as wide as its layout.
std::uint64_t GetWord(const void* message, std::size_t offset);
void PutWord(void* message, std::size_t offset, std::uint64_t value);

/// A message of a header of `headerSize` bytes and the data, in a buffer of `room` bytes.
Bytes Message(std::size_t headerSize, const Bytes& data, std::size_t room);
/// A legacy message with room for the longest.
Bytes LpcMessage(const Bytes& data);
/// An advanced message with room for the longest.
Bytes AlpcMessage(const Bytes& data);
/// The bytes after the header.
Bytes LpcData(const void* message);
Bytes AlpcData(const void* message);
std::uint16_t Kind(const void* message);

/// A part of memory that a legacy request offers.
struct BlockEntry {
    void* base;
    std::uint32_t size;
};
/// A legacy message whose data ends in the block of these entries, behind `before` other bytes.
Bytes LpcMessageWithEntries(const std::vector<BlockEntry>& entries, std::size_t before = 0);

}  // namespace Kyr::Test
