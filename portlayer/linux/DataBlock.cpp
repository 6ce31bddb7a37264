#include "portlayer/linux/DataBlock.h"

#include "portlayer/linux/MessageHeader.h"

namespace Kyr::PortLayer::Detail {

NtApi::NtStatus ReadDataBlock(const void* message, std::size_t totalLength, CDataBlock& block) {
    block.count = 0;
    const std::size_t offset = DataInfoOffset(message);
    if (offset == 0) {
        return NtApi::kStatusSuccess;
    }
    if (offset < LpcLayout::kHeaderSize || offset + LpcLayout::kDataEntries > totalLength) {
        return NtApi::kStatusInvalidParameter;
    }
    const std::size_t count = LoadField<std::uint32_t>(message, offset);
    const std::size_t room = totalLength - offset - LpcLayout::kDataEntries;
    if (count > room / LpcLayout::kDataEntrySize || count > kMaxDataEntries) {
        return NtApi::kStatusInvalidParameter;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = offset + LpcLayout::kDataEntries + i * LpcLayout::kDataEntrySize;
        const auto base = LoadField<NativeWord>(message, at);
        block.entries[i].base = reinterpret_cast<std::uint8_t*>(base);
        block.entries[i].size = LoadField<std::uint32_t>(message, at + LpcLayout::kDataEntryLength);
    }
    block.count = count;
    return NtApi::kStatusSuccess;
}

}  // namespace Kyr::PortLayer::Detail
