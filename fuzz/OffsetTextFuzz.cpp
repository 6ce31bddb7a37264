// Stored offsets: our reading takes the same texts as the library's conversion, to the same number.
#include <exception>
#include <optional>
#include <string>

#include <boost/lexical_cast.hpp>

#include "connector/tasks/RecordOffset.h"

namespace {

template <typename Parse>
std::optional<std::uint64_t> Number(Parse parse) {
    try {
        return parse();
    } catch (const boost::bad_lexical_cast&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto ours = Number([&] { return Kyr::Connectors::OvAgentConnector::ParseOffset(text); });
    // The program's locale is the classic one: no digit groups.
    if (ours != Number([&] { return boost::lexical_cast<std::uint64_t>(text); })) {
        std::terminate();
    }
    return 0;
}
