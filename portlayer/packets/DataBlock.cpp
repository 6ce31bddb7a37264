#include "portlayer/packets/DataBlock.h"

#include "portlayer/packets/MessageHeader.h"

namespace Kyr::PortLayer::Detail {

NtApi::NtStatus ReadDataBlock(const void* message, std::size_t totalLength, DataBlock& block) {
    block.count = 0;
    const std::size_t offset = DataInfoOffset(message);
    if (offset == 0) {
        return NtApi::kStatusSuccess;
    }
    const LpcHeaderLayout& layout = LpcLayout();
    if (offset < layout.headerSize || offset + layout.dataEntries > totalLength) {
        return NtApi::kStatusInvalidParameter;
    }
    const std::size_t count = LoadField<std::uint32_t>(message, offset);
    // The count is the sender's word: it is compared by a division, as its product could overflow.
    const std::size_t room = totalLength - offset - layout.dataEntries;
    if (count > room / layout.dataEntrySize || count > kMaxDataEntries) {
        return NtApi::kStatusInvalidParameter;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = offset + layout.dataEntries + i * layout.dataEntrySize;
        const std::uint64_t base = layout.isWide ? LoadField<std::uint64_t>(message, at)
                                                 : LoadField<std::uint32_t>(message, at);
        // 32-bit processes write 64-bit addresses on some systems (ntapi/PortMessage.h).
        if (base > UINTPTR_MAX) {
            return NtApi::kStatusInvalidParameter;
        }
        block.entries[i].base = reinterpret_cast<std::uint8_t*>(static_cast<std::uintptr_t>(base));
        block.entries[i].size = LoadField<std::uint32_t>(message, at + layout.dataEntryLength);
    }
    block.count = count;
    return NtApi::kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
