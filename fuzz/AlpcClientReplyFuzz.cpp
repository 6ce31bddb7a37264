// What the advanced port's client makes of a reply message and of the view that comes with it.
//
// An input is one byte (bit 0: into a growable buffer, bit 1: the reply has a view, bit 2: the view
// belongs to a secure section, bit 3: nobody waits for the reply, bit 4: the request needs a view),
// one byte that chooses the status, u16 reply capacity, u32 view size (of which 17 bits count), and
// the reply message as the port hands it over.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "base/LittleEndian.h"
#include "fuzz/ReplyStatus.h"
#include "kelcomm/client/Buffer.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "tests/support/system/ScriptedNative.h"

namespace {

namespace Kelcomm = Kyr::Connectors::Common::Kelcomm;

constexpr std::size_t kHead = 8;
constexpr std::uint32_t kViewSizeMask = 0x1FFFF;
constexpr std::uint32_t kUntouched = 0xFFFFFFFF;

constexpr std::size_t kLongRequest = 70000;  // no message has room for it

void RequestToFixedBuffer(Kelcomm::IKelcommClient& client, std::uint32_t flags,
                          const std::vector<std::uint8_t>& request, std::uint32_t capacity) {
    std::vector<std::uint8_t> reply(capacity);
    std::uint32_t length = kUntouched;
    client.Request(flags, 3, request.data(), static_cast<std::uint32_t>(request.size()),
                   reply.data(), capacity, &length, 0);
    if (length != kUntouched && length > capacity) {
        std::terminate();  // a caller reads so many bytes
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kHead) {
        return 0;
    }
    Kyr::Test::CScriptedNative native;
    Kyr::Test::CScriptedPorts::Answer& answer = native.ports.defaultAnswer;
    answer.status = Kyr::Fuzz::ReplyStatus(data[1]);
    answer.reply.assign(data + kHead, data + size);
    answer.hasView = (data[0] & 2) != 0;
    answer.viewFlags = (data[0] & 4) != 0 ? Kyr::NtApi::kAlpcViewSecured : 0;
    answer.view.resize(Kyr::Base::LoadLittleEndian<std::uint32_t>(data + 4) & kViewSizeMask);

    Kelcomm::CKelcommAlpcClient client(native.GetFunctions());
    client.Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
    const std::uint32_t flags = (data[0] & 8) != 0 ? Kelcomm::kKelcommOneWay : 0;
    const std::vector<std::uint8_t> request((data[0] & 16) != 0 ? kLongRequest : 7);
    if ((data[0] & 1) != 0) {
        Kelcomm::CBuffer buffer;
        client.RequestToBuffer(flags, 3, request.data(), static_cast<std::uint32_t>(request.size()),
                               &buffer, 0);
    } else {
        RequestToFixedBuffer(client, flags, request,
                             Kyr::Base::LoadLittleEndian<std::uint16_t>(data + 2));
    }
    client.Close();
    // A view that no message asks to be released is the server's affair; all else must be gone.
    if (native.CountLive() != native.CountLive("view") || !native.Misuses().empty()) {
        std::terminate();
    }
    return 0;
}
