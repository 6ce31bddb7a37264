// The policy in a policy message: a protobuf message, a zlib stream and another protobuf message.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "connector/tasks/PolicyBlob.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Kyr::Connectors::Common::Tasks;
    const PolicyText policy =
        ReadPolicyBlob(std::string(reinterpret_cast<const char*>(data), size));
    // Whatever the blob states: nothing comes out that is larger than the limit, and only a stream
    // that could hold more than that is too large.
    if (policy.text ? policy.text->size() > kLargestPolicy
                    : std::uint64_t{size} * 1032 < kLargestPolicy) {
        std::abort();
    }
    return 0;
}
