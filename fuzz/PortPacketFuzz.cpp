// What the port layer makes of a packet from a hostile peer, before it uses any of it.
//
// An input is one byte, how many handles came along (at most the layer's own limit), and the
// packet as the socket hands it over.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>

#include "portlayer/packets/Packet.h"

namespace {

using namespace Kyr::PortLayer::Detail;

void Require(bool condition) {
    if (!condition) {
        std::terminate();
    }
}

/// Reads a range that the packet promises; sanitizers see when it is not there.
unsigned Sum(const std::uint8_t* bytes, std::size_t size) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < size; ++i) {
        sum += bytes[i];
    }
    return sum;
}

/// What users of a checked packet rely on.
void UsePacket(const IncomingPacket& packet, const std::uint8_t* end) {
    std::size_t inlineSize = 0;
    std::size_t handles = 0;
    if (packet.head.viewSlot != kNoSlot) {
        Require(packet.head.viewSlot < kMaxSlots);
        handles += packet.head.viewSlotSize != 0 ? 1 : 0;
    }
    for (std::size_t i = 0; i < packet.head.transferCount; ++i) {
        const TransferRecord record = packet.Transfer(i);
        inlineSize += record.slot == kNoSlot ? record.size : 0;
        handles += record.slotSize != 0 ? 1 : 0;
    }
    Require(inlineSize == packet.head.inlineLength);
    Require(handles == packet.handleCount);
    Require(packet.inlineBytes + inlineSize == end);
    volatile unsigned sum = Sum(packet.message, packet.head.messageLength);
    sum = Sum(packet.inlineBytes, inlineSize);
    static_cast<void>(sum);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1 || size - 1 > kMaxPacket) {
        return 0;
    }
    static const std::unique_ptr<PacketBuffer> buffer(new PacketBuffer);
    IncomingPacket packet;
    packet.handleCount = std::min<std::size_t>(data[0], kMaxHandles);
    std::copy(data + 1, data + size, buffer->bytes.begin());
    if (ParsePacket(*buffer, size - 1, packet)) {
        UsePacket(packet, buffer->bytes.data() + size - 1);
    }
    return 0;
}
