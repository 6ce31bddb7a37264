// The protobuf replies of the Ov agent, each input read as all three.
#include <google/protobuf/stubs/logging.h>

#include "fuzz/ReadReply.h"
#include "kelcomm/messages/OvResponse.h"

namespace {

template <typename Response>
void ReadAndPassOn(const std::uint8_t* data, std::size_t size) {
    const auto message = Kyr::Fuzz::ReadReply<Response>(data, size).GetResponse();
    if (message) {
        message->SerializeAsString();  // what becomes of the actions in it
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kyr::Connectors::Common::Kelcomm::Messages;
    // The runtime complains about every text that is not UTF-8.
    google::protobuf::SetLogHandler(nullptr);
    ReadAndPassOn<CGetEcsIndicatorLogsResponse>(data, size);
    ReadAndPassOn<CGetEcsTelemetryLogsResponse>(data, size);
    ReadAndPassOn<CGetOvRemediationResponse>(data, size);
    return 0;
}
