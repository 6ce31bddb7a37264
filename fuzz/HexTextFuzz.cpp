// Hexadecimal text that somebody gives the probe: digits, or a dump.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "probe/decode/HexText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostRepeated = std::size_t{64} << 20U;
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        // Two digits make a byte, and repeated rows are bounded but for the last of them.
        if (Kyr::Probe::FromHexText(text).size() > kMostRepeated + size) {
            std::abort();
        }
    } catch (const std::runtime_error&) {
        return 0;
    }
    return 0;
}
