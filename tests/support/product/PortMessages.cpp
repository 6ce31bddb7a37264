#include "tests/support/product/PortMessages.h"

#include "portlayer/ClientFunctions.h"

namespace Kyr::Test {

bool SystemIsWide() {
    NtApi::Bool isWow64 = 0;
    return PortLayer::IsWow64Process(PortLayer::GetCurrentProcess(), &isWow64) != 0 && isWow64 != 0;
}

std::uint64_t GetWord(const void* message, std::size_t offset) {
    return LpcLayout::kIsWide ? Get<std::uint64_t>(message, offset)
                              : Get<std::uint32_t>(message, offset);
}

void PutWord(void* message, std::size_t offset, std::uint64_t value) {
    if (LpcLayout::kIsWide) {
        Put(message, offset, value);
    } else {
        Put(message, offset, static_cast<std::uint32_t>(value));
    }
}

Bytes Message(std::size_t headerSize, const Bytes& data, std::size_t room) {
    Bytes message(room);
    Put<std::uint16_t>(message.data(), 0, static_cast<std::uint16_t>(data.size()));
    Put<std::uint16_t>(message.data(), 2, static_cast<std::uint16_t>(headerSize + data.size()));
    if (!data.empty()) {
        std::memcpy(message.data() + headerSize, data.data(), data.size());
    }
    return message;
}

Bytes LpcMessage(const Bytes& data) {
    return Message(LpcLayout::kHeaderSize, data, LpcLayout::kMaxMessage);
}

Bytes AlpcMessage(const Bytes& data) {
    return Message(AlpcLayout::kHeaderSize, data, NtApi::kAlpcMaxMessage);
}

Bytes LpcData(const void* message) {
    const auto* const data = static_cast<const std::uint8_t*>(message) + LpcLayout::kHeaderSize;
    return Bytes(data, data + Get<std::uint16_t>(message, 0));
}

Bytes AlpcData(const void* message) {
    const auto* const data = static_cast<const std::uint8_t*>(message) + AlpcLayout::kHeaderSize;
    return Bytes(data, data + Get<std::uint16_t>(message, 0));
}

std::uint16_t Kind(const void* message) {
    return Get<std::uint16_t>(message, 4) & 0xFF;
}

Bytes LpcMessageWithEntries(const std::vector<BlockEntry>& entries, std::size_t before) {
    Bytes data(before + LpcLayout::kDataEntries + entries.size() * LpcLayout::kDataEntrySize);
    Put<std::uint32_t>(data.data(), before, static_cast<std::uint32_t>(entries.size()));
    std::size_t at = before + LpcLayout::kDataEntries;
    for (const BlockEntry& entry : entries) {
        PutWord(data.data(), at, reinterpret_cast<std::uintptr_t>(entry.base));
        Put<std::uint32_t>(data.data(), at + LpcLayout::kDataEntryLength, entry.size);
        at += LpcLayout::kDataEntrySize;
    }
    Bytes message = LpcMessage(data);
    Put(message.data(), 6, static_cast<std::uint16_t>(LpcLayout::kHeaderSize + before));
    return message;
}

}  // namespace Kyr::Test
