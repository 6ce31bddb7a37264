// What the simulated product makes of a client's bytes: the message of a port, the payload in it
// and the body of each command.
//
// An input is taken for a message of either port and, since a long payload comes beside its
// message, for a payload as well.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "lab/simproduct/ports/PortMessages.h"
#include "lab/simproduct/records/ProtobufWire.h"
#include "lab/simproduct/requests/InnerRequest.h"

namespace {

using namespace Kyr::Lab::SimProduct;

template <typename Decode>
void Try(const Decode& decode) {
    try {
        decode();
    } catch (const CMalformed&) {
    }
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void ReadPayload(const Bytes& payload) {
    const InnerRequest request = DecodeInnerRequest(payload);
    // Whatever command the header names: the bodies of all of them are worth a look.
    Try([&] { ParseXmlRequest(request.body); });
    Try([&] { ReadInteger(request.body, 1); });
    Try([&] { ParseAgentUuid(request.body); });
}

void ReadMessage(std::size_t headerSize, const PortRequest& request, const Bytes& message) {
    Require(request.lengthElsewhere == 0 || request.payload.empty());
    // To what was read, an answer can be given.
    Require(EncodePortReply(headerSize, message, 0, 1, {0}).size() == headerSize + 9);
    ReadPayload(request.payload);
}

void ReadAlpc(const Bytes& message) {
    const PortRequest request = DecodeAlpcRequest(message);
    Require(request.payload.size() + request.lengthElsewhere ==
            ReadU32(message, kAlpcHeaderSize + 8));
    ReadMessage(kAlpcHeaderSize, request, message);
}

void ReadLpc(const LpcLayout& layout, const Bytes& message) {
    const PortRequest request = DecodeLpcRequest(layout, message);
    Require(request.replyBuffer || request.lengthElsewhere == 0);
    ReadMessage(layout.headerSize, request, message);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes input(data, data + size);
    Try([&] { ReadAlpc(input); });
    Try([&] { ReadLpc(kLpcLayout32, input); });
    Try([&] { ReadLpc(kLpcLayout64, input); });
    Try([&] { ReadPayload(input); });
    return 0;
}
