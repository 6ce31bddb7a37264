// The clients' reads of the product's shared block, whatever it holds.
//
// An input is u32 offset, u32 length (of which 16 bits count, those above say which calls of the
// system fail), and the mapped block.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <vector>

#include "base/LittleEndian.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "ntapi/Status.h"
#include "tests/support/system/ScriptedNative.h"

namespace {

constexpr std::size_t kHead = 8;
constexpr std::uint32_t kLengthMask = 0xFFFF;
const char* const kFailures[] = {"OpenMutexW", "OpenFileMappingW", "MapViewOfFile", "VirtualQuery"};
constexpr std::uint32_t kNoMutexInTime = 0x100000;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size <= kHead) {
        return 0;
    }
    const auto offset = Kyr::Base::LoadLittleEndian<std::uint32_t>(data);
    const auto word = Kyr::Base::LoadLittleEndian<std::uint32_t>(data + 4);
    const std::uint32_t length = word & kLengthMask;
    Kyr::Test::CScriptedNative native;
    for (unsigned index = 0; index < std::size(kFailures); ++index) {
        if ((word & (0x10000u << index)) != 0) {
            native.Fail(kFailures[index]);
        }
    }
    if ((word & kNoMutexInTime) != 0) {
        native.area.mutexWait = Kyr::NtApi::kWaitTimeout;
    }
    native.area.bytes.assign(data + kHead, data + size);

    const auto client =
        Kyr::Connectors::Common::Kelcomm::CreateKelcommClientNt(native.GetFunctions());
    std::vector<std::uint8_t> destination(length);
    client->ReadBroadcast(offset, destination.data(), length);
    std::uint32_t value = 0;
    client->ReadBroadcastValue(offset, &value);
    client->Close();
    if (native.CountLive() != 0 || !native.Misuses().empty()) {
        std::terminate();
    }
    return 0;
}
