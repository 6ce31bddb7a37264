// The data-information block of a legacy request: which parts of the sender's memory the receiver
// may read and write while the request is open.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ntapi/Status.h"

namespace Kyr::PortLayer::Detail {

/// More entries than the longest message can hold.
constexpr std::size_t kMaxDataEntries = 40;

struct DataEntry {
    std::uint8_t* base;
    std::uint32_t size;
};

struct DataBlock {
    std::size_t count = 0;
    std::array<DataEntry, kMaxDataEntries> entries;  // the first `count` are set
};

/// Checks and reads the block of a message of `totalLength` bytes; an offset of 0 means none.
/// kStatusInvalidParameter when it starts inside the header or ends after the message, or holds an
/// address that no pointer of this process can. The addresses are the sender's: the receiving side
/// must not use them as its own.
NtApi::NtStatus ReadDataBlock(const void* message, std::size_t totalLength, DataBlock& block);

}  // namespace Kyr::PortLayer::Detail
