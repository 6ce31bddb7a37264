// The protobuf form of a symbol row: what can be read must be written and read again the same.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "fuzz/SymbolRows.h"
#include "logs/SymbolContainer.h"

namespace Logs = Kyr::Common::Logs;
using Kyr::Fuzz::Check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > Kyr::Fuzz::kLongestInput) {
        return 0;
    }
    const Kyr::Fuzz::CSymbolRowEnvironment environment;
    Logs::CSymbolContainer row;
    try {
        row.DeserializeFromString({reinterpret_cast<const char*>(data), size});
    } catch (const std::runtime_error&) {
        // A repeated symbol, an incomplete value, or a text that is no UUID or no UTF-8.
    } catch (const std::out_of_range&) {
        // A time without a calendar date.
    }
    std::string written;
    Check(row.SerializeToString(written) == (row.GetCount() != 0));
    Check(row.GetProtobufSize() == written.size());
    Logs::CSymbolContainer again;
    Check(again.DeserializeFromString(written));
    std::string writtenAgain;
    again.SerializeToString(writtenAgain);
    Check(written == writtenAgain);
    return 0;
}
