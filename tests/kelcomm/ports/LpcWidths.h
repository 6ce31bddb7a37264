// The two structure widths of the legacy port's client, each with its numbers and its messages as
// literals, and the fixture that runs over both.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "kelcomm/ports/KelcommClientNt.h"
#include "tests/kelcomm/client/ClientFixture.h"

namespace Kyr::Test {

struct Width32 {
    using Word = std::uint32_t;
    static constexpr std::size_t kHeader = 24;
    static constexpr std::uint32_t kSmallPayload = 292;
    static constexpr std::uint32_t kSmallReply = 296;
    static constexpr std::uint32_t kInlinePayload = 272;
    // data length 15, total 39, zeros; command 3, flags 0, capacity 16, "abc"
    static constexpr char kSmallMessage[] =
        "0F 00 27 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  10 00 00 00  61 62 63";
    // data length 12, total 36; command 0, all zero
    static constexpr char kPingMessage[] =
        "0C 00 24 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00  00 00 00 00  00 00 00 00";
    // data length 35, total 59, block at 36; capacity 297; two entries, the first empty
    static constexpr char kInlineHead[] =
        "23 00 3B 00 00 00 24 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  29 01 00 00  02 00 00 00  00 00 00 00  00 00 00 00";
    static constexpr char kReplyEntryLength[] = "29 01 00 00";
    // data length 32, total 56, block at 36; capacity 16; two entries; lengths 293 and 16
    static constexpr char kReferenceHead[] =
        "20 00 38 00 00 00 24 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  10 00 00 00  02 00 00 00";
    static constexpr char kRequestEntryLength[] = "25 01 00 00";
    static constexpr char kSixteen[] = "10 00 00 00";
    // the same one-way: flags 1, capacity 0
    static constexpr char kOneWayReferenceHead[] =
        "20 00 38 00 00 00 24 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  01 00 00 00  00 00 00 00  02 00 00 00";
    static constexpr char kZero[] = "00 00 00 00";
    // data length 304, total 328; result and length zero
    static constexpr char kAnnounced[] =
        "30 01 48 01 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 "
        "00 00 00 00";
};

struct Width64 {
    using Word = std::uint64_t;
    static constexpr std::size_t kHeader = 40;
    static constexpr std::uint32_t kSmallPayload = 596;
    static constexpr std::uint32_t kSmallReply = 600;
    static constexpr std::uint32_t kInlinePayload = 556;
    // data length 15, total 55, zeros; command 3, flags 0, capacity 16, "abc"
    static constexpr char kSmallMessage[] =
        "0F 00 37 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  10 00 00 00  61 62 63";
    // data length 12, total 52; command 0, all zero
    static constexpr char kPingMessage[] =
        "0C 00 34 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00  00 00 00 00  00 00 00 00";
    // data length 55, total 95, block at 52; capacity 601; two entries, the first empty
    static constexpr char kInlineHead[] =
        "37 00 5F 00 00 00 34 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  59 02 00 00  02 00 00 00  00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00  00 00 00 00";
    static constexpr char kReplyEntryLength[] = "59 02 00 00  00 00 00 00";
    // data length 52, total 92, block at 52; capacity 16; two entries; lengths 597 and 16
    static constexpr char kReferenceHead[] =
        "34 00 5C 00 00 00 34 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  00 00 00 00  10 00 00 00  02 00 00 00  00 00 00 00";
    static constexpr char kRequestEntryLength[] = "55 02 00 00  00 00 00 00";
    static constexpr char kSixteen[] = "10 00 00 00  00 00 00 00";
    // the same one-way: flags 1, capacity 0
    static constexpr char kOneWayReferenceHead[] =
        "34 00 5C 00 00 00 34 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "03 00 00 00  01 00 00 00  00 00 00 00  02 00 00 00  00 00 00 00";
    static constexpr char kZero[] = "00 00 00 00  00 00 00 00";
    // data length 608, total 648; result and length zero
    static constexpr char kAnnounced[] =
        "60 02 88 02 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"
        "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00  00 00 00 00";
};

template <typename Width>
class LpcClientFixture : public ClientFixture {
  protected:
    LpcClientFixture() {
        client_ = std::make_unique<Kelcomm::CKelcommClientNt<typename Width::Word>>(
            native_.GetFunctions());
        InitializeClient();
    }

    static Bytes Reply(std::uint32_t result, std::uint32_t length, const Bytes& bytes,
                       int dataLength = -1) {
        return ReceivedMessage(Width::kHeader, result, length, bytes, dataLength);
    }
    /// An address as this width writes it.
    static Bytes Address(const void* address) {
        return LittleEndian(reinterpret_cast<std::uintptr_t>(address),
                            sizeof(typename Width::Word));
    }
    static std::uint16_t DataInfoOffset(const Bytes& message) {
        return static_cast<std::uint16_t>(message.at(6) | message.at(7) << 8);
    }
};

using LpcWidths = testing::Types<Width32, Width64>;

struct LpcWidthNames {
    template <typename Width>
    static std::string GetName(int) {
        return Width::kHeader == 24 ? "Structures32" : "Structures64";
    }
};

}  // namespace Kyr::Test
