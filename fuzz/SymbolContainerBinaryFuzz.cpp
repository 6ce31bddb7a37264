// The binary form of a symbol row: what can be read must be written and read again the same.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ios>
#include <stdexcept>
#include <string>

#include "fuzz/SymbolRows.h"
#include "logs/SymbolContainer.h"

namespace {

namespace Logs = Kyr::Common::Logs;
using Kyr::Fuzz::Check;

bool HasNoNan(const Logs::CSymbolContainer& row) {
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        try {
            const auto value = row.GetValueAt(index);
            if (value.val_double_size() == 1 && std::isnan(value.val_double(0))) {
                return false;
            }
        } catch (const std::out_of_range&) {
            // A time without a calendar date.
        }
    }
    return true;
}

void CheckRoundTrip(const Logs::CSymbolContainer& row) {
    std::string written;
    row.SerializeToBinary(written);
    Check(written.size() == row.GetBinarySize());
    Logs::CSymbolContainer again;
    again.DeserializeFromBinary(written);
    std::string writtenAgain;
    again.SerializeToBinary(writtenAgain);
    Check(written == writtenAgain);
    Check(!HasNoNan(row) || again.Equals(row));  // a NaN equals nothing
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > Kyr::Fuzz::kLongestInput) {
        return 0;
    }
    const Kyr::Fuzz::CSymbolRowEnvironment environment;
    Logs::CSymbolContainer row;
    try {
        row.DeserializeFromBinary(reinterpret_cast<const char*>(data), size);
    } catch (const std::ios_base::failure&) {
        // Too short.
    } catch (const std::runtime_error&) {
        // An unknown tag, a repeated symbol, or a text that is no UTF-8.
    }
    CheckRoundTrip(row);  // of what was read until then
    return 0;
}
