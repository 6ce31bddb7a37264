// The protection-status reply: header, XML, hexadecimal attributes.
#include "fuzz/ReadReply.h"
#include "kelcomm/messages/GetStatus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Kyr::Fuzz::ReadReply<Kyr::Connectors::Common::Kelcomm::Messages::CGetStatusResponse>(data,
                                                                                         size);
    return 0;
}
