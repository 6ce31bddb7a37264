// The recovery-data reply of disk encryption.
#include "fuzz/ReadReply.h"
#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Kyr::Fuzz::ReadReply<
        Kyr::Connectors::Common::Kelcomm::Messages::CGetEncryptionRecoveryDataResponse>(data, size);
    return 0;
}
