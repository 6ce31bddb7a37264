// One client on a scripted system: what the clients' tests stand on. Whatever a test does, the
// client has given everything back at its end.
#pragma once

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "kelcomm/client/IKelcommClient.h"
#include "tests/support/HexBytes.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Test {

namespace Kelcomm = Connectors::Common::Kelcomm;

class ClientFixture : public testing::Test {
  protected:
    static constexpr std::uint32_t kUntouchedLength = 0xDEADBEEF;

    void TearDown() override {
        native_.OnCall({});  // may look at what has ended with the test
        client_->Close();
        client_.reset();
        EXPECT_EQ(0U, native_.CountLive());
        EXPECT_THAT(native_.Misuses(), testing::IsEmpty());
    }

    void InitializeClient(std::uint32_t options = 0) {
        ASSERT_EQ(0U, client_->Initialize(0x31564B51, 0x61564B51, options));
    }

    /// Command 3 into a fresh reply buffer, which `reply_` is cut to afterwards.
    std::uint32_t Request(const Bytes& payload, std::uint32_t capacity, std::uint32_t flags = 0,
                          std::int64_t timeout = 0) {
        reply_.assign(capacity, 0xEE);
        replyLength_ = kUntouchedLength;
        const std::uint32_t result =
            client_->Request(flags, 3, payload.data(), static_cast<std::uint32_t>(payload.size()),
                             reply_.data(), capacity, &replyLength_, timeout);
        if (replyLength_ <= capacity) {
            reply_.resize(replyLength_);
        }
        return result;
    }

    /// The kinds of what the call gives back to the system, in order.
    template <typename Call>
    std::vector<std::string> GivenBackBy(const Call& call) {
        const std::size_t before = native_.GivenBack().size();
        call();
        std::vector<std::string> kinds = native_.GivenBack();
        kinds.erase(kinds.begin(), kinds.begin() + static_cast<std::ptrdiff_t>(before));
        return kinds;
    }

    /// An area with nothing but its head, for clients that are to open it.
    void ProvideEmptyArea() {
        native_.area.bytes = HexBytes("20 00 00 00  00 00 00 00") + TextBytes("KelComm ") +
                             HexBytes("02 00 00 00  00 00 00 00  20 00 00 00  00 00 00 00");
    }

    std::uint32_t Ping() { return client_->Request(0, 0, nullptr, 0, nullptr, 0, nullptr, 0); }

    void QueueStatus(NtApi::NtStatus status) {
        CScriptedPorts::Answer answer;
        answer.status = status;
        native_.ports.Queue(answer);
    }
    void QueueReply(Bytes message) {
        CScriptedPorts::Answer answer;
        answer.reply = std::move(message);
        native_.ports.Queue(answer);
    }

    CScriptedNative native_;
    std::unique_ptr<Kelcomm::IKelcommClient> client_;
    Bytes reply_;
    std::uint32_t replyLength_ = kUntouchedLength;
};

constexpr auto kInvalidParameter = static_cast<NtApi::NtStatus>(0xC000000D);
constexpr auto kPortDisconnected = static_cast<NtApi::NtStatus>(0xC0000037);

inline Bytes LittleEndian(std::uint64_t value, std::size_t size) {
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    return bytes;
}

/// A received message: the header's lengths, zeros to the header's end, result code, reply length,
/// bytes. The data length is what the parts have unless it is given.
inline Bytes ReceivedMessage(std::size_t headerSize, std::uint32_t result, std::uint32_t length,
                             const Bytes& bytes, int dataLength = -1) {
    const std::size_t data =
        dataLength < 0 ? 8 + bytes.size() : static_cast<std::size_t>(dataLength);
    return LittleEndian(data, 2) + LittleEndian(data + headerSize, 2) + Bytes(headerSize - 4) +
           LittleEndian(result, 4) + LittleEndian(length, 4) + bytes;
}

}  // namespace Kyr::Test
