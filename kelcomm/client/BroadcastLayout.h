// The layout of the product's broadcast area, a shared-memory format of little-endian words;
// docs/wire-format.md has it as tables.
//
// The section begins with a head, which says where the data stand in it and how long they are. The
// data begin with words at fixed places, and name the place of a table of modules, each of which
// may publish a block of its own. Places in the data count from their start.
//
// The area's reader (kelcomm/area) knows the head; the channel knows the data, and reads them
// through a client. The product writes the area at any time: whoever reads it takes each word once
// and checks what it took.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm::Broadcast {

// The head.
constexpr std::size_t kHeaderSizeField = 0;   // u32, must be kHeaderSize
constexpr std::size_t kMagicField = 8;        // 8 bytes, kKelcommMagic
constexpr std::size_t kVersionField = 16;     // u32, kKelcommVersion
constexpr std::size_t kDataOffsetField = 24;  // u32, from the start of the section
constexpr std::size_t kDataSizeField = 28;    // u32, bounds every read
constexpr std::uint32_t kHeaderSize = 32;

// The data: the place of the module table, its length, and the values 0 to 9.
constexpr std::uint32_t kFirstModuleOffset = 12;
constexpr std::uint32_t kModuleCount = 20;
constexpr std::uint32_t kValues[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};

// An entry of the module table. Its last word is unread.
constexpr std::uint32_t kEntrySize = 20;
constexpr std::uint32_t kModuleId = 0;
constexpr std::uint32_t kUserDataSize = 4;
constexpr std::uint32_t kUserDataOffset = 8;
constexpr std::uint32_t kUserDataTimestamp = 12;  // changes whenever the module's block does

/// The module whose block holds value 10.
constexpr std::uint32_t kServerPlugin = 0x1004000;
// Its block, TSERVER_BROADCAST: a word of the product's own, then the value.
constexpr std::uint32_t kServerBlockSize = 8;
constexpr std::uint32_t kServerValue = 4;

}  // namespace Kyr::Connectors::Common::Kelcomm::Broadcast
