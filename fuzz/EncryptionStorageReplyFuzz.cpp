// The storage-status reply of disk encryption, numbers included.
#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "fuzz/ReadReply.h"
#include "kelcomm/messages/EncryptionStorageStatusResponse.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Kyr::Connectors::Common::Kelcomm::Messages::CGetEncryptionStorageStatusResponse;
    try {
        Kyr::Fuzz::ReadReply<CGetEncryptionStorageStatusResponse>(data, size);
    } catch (const boost::bad_lexical_cast&) {
        // A number that is none.
    }
    return 0;
}
