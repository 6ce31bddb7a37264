// What the channel makes of the product's shared block, which changes between two reads.
//
// An input is one byte, the number of leading reads (of which four bits count), four bytes for
// each read (an index, then a 16-bit place and a byte that is put there before the read), and the
// mapped block.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "kelcomm/OvAgentChannel.h"
#include "tests/support/system/ScriptedNative.h"
#include "tests/support/time/ManualClock.h"

namespace {

using Kyr::Connectors::OvAgentConnector::COvAgentChannel;

constexpr std::size_t kReadSize = 4;
constexpr std::size_t kMostReads = 15;

/// Clients of a scripted system whose ports are never there, so that every ping fails at once.
void Read(Kyr::Test::CScriptedNative& native, const std::uint8_t* reads, std::size_t count) {
    COvAgentChannel channel(0, 0, native.GetFunctions(),
                            boost::make_shared<Kyr::Test::CManualClock>());
    std::string errors;
    channel.Ping(errors);
    bool missing = false;  // once said to be missing, the server plug-in stays so
    for (std::size_t i = 0; i < count; ++i, reads += kReadSize) {
        const std::size_t place = Kyr::Base::LoadLittleEndian<std::uint16_t>(reads + 1);
        if (place < native.area.bytes.size()) {
            native.area.bytes[place] = reads[3];
        }
        const std::int32_t index = reads[0] % 16;
        try {
            const std::int32_t value = channel.GetBroadcast(index);
            if (index > 10 || (index == 10 && missing && value != -1)) {
                std::terminate();
            }
            channel.HasBroadcastChanged(index);
            if (channel.HasBroadcastChanged(index)) {
                std::terminate();  // nothing has changed meanwhile
            }
        } catch (const std::runtime_error& error) {
            missing =
                missing || std::string(error.what()).find("serverPluginSize") != std::string::npos;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t count =
        std::min<std::size_t>({data[0] & kMostReads, kMostReads, (size - 1) / kReadSize});
    const std::uint8_t* const block = data + 1 + count * kReadSize;
    if (block == data + size) {
        return 0;
    }
    Kyr::Test::CScriptedNative native;
    native.Fail("NtAlpcConnectPort");
    native.Fail("NtConnectPort");
    native.area.bytes.assign(block, data + size);
    Read(native, data + 1, count);
    if (native.CountLive() != 0 || !native.Misuses().empty()) {
        std::terminate();
    }
    return 0;
}
