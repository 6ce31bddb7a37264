// Whole conversations of host, module and product in virtual time; Conversation.h says how an input
// tells one.
#include "fuzz/Conversation.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Kyr::Fuzz::CConversation conversation;
    conversation.Run(data, size);
    return 0;
}
