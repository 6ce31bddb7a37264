// The import tables of a loaded library: whatever they say, nothing outside of the memory is read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "lab/devhost/LoadedImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const Kyr::Lab::DevHost::CLoadedImage image(data, size);
        const auto place = image.FindImport("KERNEL32.dll", "GetProcAddress");
        if (place && (*place > size || size - *place < 4)) {
            std::abort();
        }
    } catch (const std::runtime_error&) {
    }
    return 0;
}
