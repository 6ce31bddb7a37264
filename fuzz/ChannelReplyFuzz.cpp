// The channel's reply path: growing buffer, header check, statuses, fall-back.
//
// An input is a run of answers of the product: one byte result code, one byte reply length, the
// reply's bytes. The last reply may be cut. At most eight answers are taken, so that the capacity
// stays far below its limit.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "kelcomm/KelcommChannel.h"
#include "kelcomm/KelcommChannelBuffer.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace {

using Kyr::Test::CFakeKelcommClient;
using Kyr::Test::KelcommScript;
namespace Kelcomm = Kyr::Connectors::Common::Kelcomm;

constexpr std::size_t kMostAnswers = 8;

boost::shared_ptr<KelcommScript> ReadScript(const std::uint8_t* data, std::size_t size) {
    auto script = boost::make_shared<KelcommScript>();
    while (size >= 2 && script->requests.size() < kMostAnswers) {
        const std::uint32_t code = data[0];
        const std::size_t length = std::min<std::size_t>(data[1], size - 2);
        script->requests.push_back({code, {data + 2, data + 2 + length}});
        data += 2 + length;
        size -= 2 + length;
    }
    return script;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto script = ReadScript(data, size);
    Kelcomm::CKelcommChannel channel(std::make_unique<CFakeKelcommClient>(script),
                                     std::make_unique<CFakeKelcommClient>(script));
    Kelcomm::KelcommChannelBuffer request;
    request.Append("request", 7);
    Kelcomm::KelcommChannelBuffer reply;
    try {
        channel.SendRequest(request, reply);
        if (reply.GetReadPosition() != 12 || reply.GetSize() < 12) {
            std::terminate();  // a success always leaves a whole header behind the read position
        }
    } catch (const std::runtime_error&) {
        // The documented outcome of every failure.
    }
    std::string errors;
    if (!channel.Ping(errors)) {
        std::terminate();  // pings are answered here, so only a mutex left locked could stop this
    }
    return 0;
}
