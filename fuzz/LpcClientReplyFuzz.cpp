// What the legacy port's client makes of a reply message, in both structure widths.
//
// An input is one byte (bit 0: 64-bit structures, bit 1: nobody waits for the reply, bit 2: the
// request does not go into a message), one byte that chooses the status, u16 reply capacity, and
// the reply message as the port hands it over.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "base/LittleEndian.h"
#include "fuzz/ReplyStatus.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "tests/support/system/ScriptedNative.h"

namespace {

constexpr std::size_t kHead = 4;
constexpr std::size_t kLongRequest = 4096;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kHead) {
        return 0;
    }
    Kyr::Test::CScriptedNative native;
    native.process.isWow64 = (data[0] & 1) != 0;
    native.ports.defaultAnswer.status = Kyr::Fuzz::ReplyStatus(data[1]);
    native.ports.defaultAnswer.reply.assign(data + kHead, data + size);
    const std::uint32_t capacity = Kyr::Base::LoadLittleEndian<std::uint16_t>(data + 2);

    namespace Kelcomm = Kyr::Connectors::Common::Kelcomm;
    const auto client = Kelcomm::CreateKelcommClientNt(native.GetFunctions());
    const std::uint32_t flags = (data[0] & 2) != 0 ? Kelcomm::kKelcommOneWay : 0;
    const std::vector<std::uint8_t> request((data[0] & 4) != 0 ? kLongRequest : 7);
    std::vector<std::uint8_t> reply(capacity);
    constexpr std::uint32_t kUntouched = 0xFFFFFFFF;
    std::uint32_t length = kUntouched;
    client->Request(flags, 3, request.data(), static_cast<std::uint32_t>(request.size()),
                    reply.data(), capacity, &length, 0);
    if (length != kUntouched && length > capacity) {
        std::terminate();  // a caller reads so many bytes
    }
    client->Close();
    if (native.CountLive() != 0 || !native.Misuses().empty()) {
        std::terminate();
    }
    return 0;
}
