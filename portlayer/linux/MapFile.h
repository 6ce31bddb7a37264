// Maps a file, shared with whoever else maps it.
#pragma once

#include "portlayer/packets/SharedMemory.h"

namespace Kyr::PortLayer::Detail {

/// `protection` as for mmap. What was mapped before is unmapped in any case.
bool MapFile(int file, std::size_t size, int protection, CMapping& mapping);
/// Lets a mapping show another file, at the same place. Changes nothing where the system has no
/// room for it.
void RemapFile(int file, int protection, const CMapping& mapping);

}  // namespace Kyr::PortLayer::Detail
