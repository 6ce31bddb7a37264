// The task-status reply: fixed part, text offset, UTF-16, three parts.
#include "fuzz/ReadReply.h"
#include "kelcomm/messages/GetTaskStatus.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Kyr::Fuzz::ReadReply<Kyr::Connectors::Common::Kelcomm::Messages::CGetTaskStatusResponse>(data,
                                                                                             size);
    return 0;
}
