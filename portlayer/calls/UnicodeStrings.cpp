// Counted strings.
#include <string>

#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

void KYR_NTAPI RtlInitUnicodeString(UnicodeString* target, const char16_t* source) {
    // The longest counted string, in bytes, that leaves room for a terminator.
    constexpr std::size_t kLongest = 0xFFFC;
    std::size_t bytes = 0;
    if (source != nullptr) {
        bytes = std::char_traits<char16_t>::length(source) * sizeof(char16_t);
        bytes = bytes > kLongest ? kLongest : bytes;
    }
    target->Buffer = const_cast<char16_t*>(source);
    target->Length = static_cast<std::uint16_t>(bytes);
    target->MaximumLength =
        static_cast<std::uint16_t>(source != nullptr ? bytes + sizeof(char16_t) : 0);
}

}  // namespace Kyr::PortLayer
