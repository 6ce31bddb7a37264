// What the probe makes of bytes, as each of the kinds that it knows.
//
// An input is one byte that chooses the kind, one that chooses the command that a reply answers,
// and the bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "probe/decode/Decode.h"
#include "probe/show/LayoutText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint32_t kCommands[] = {0,    2,    0x21,     0x6D,     0x6E,
                                           0x70, 0x9A, 0x100000, 0x100001, 0x100002};
    constexpr std::size_t kMostBytes = 16384;
    if (size < 2 || size > kMostBytes) {
        return 0;
    }
    static const auto kinds = Kyr::Probe::Kinds();
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
    Kyr::Probe::GuessKind(bytes);
    const Kyr::Probe::Layout layout = Kyr::Probe::Decode(bytes, kinds[data[0] % kinds.size()],
                                                         kCommands[data[1] % std::size(kCommands)]);
    for (const Kyr::Probe::Field& field : layout.fields) {
        // Nothing else is there; what is missing is noted where it should be.
        if (field.wrong.empty() && field.offset + field.length > bytes.size()) {
            std::abort();
        }
    }
    Kyr::Probe::ToJson(layout);
    return 0;
}
