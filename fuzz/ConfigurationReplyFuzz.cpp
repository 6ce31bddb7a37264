// The configuration reply: a text of the announced length.
#include "fuzz/ReadReply.h"
#include "kelcomm/messages/ExportConfiguration.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Kyr::Fuzz::ReadReply<Kyr::Connectors::Common::Kelcomm::Messages::CExportConfigurationResponse>(
        data, size);
    return 0;
}
