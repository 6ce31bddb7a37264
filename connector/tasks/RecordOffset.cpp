#include "connector/tasks/RecordOffset.h"

#include <limits>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

namespace Kyr::Connectors::OvAgentConnector {

std::uint64_t ParseOffset(const std::string& text) {
    // By hand: boost::lexical_cast would take digit groups in a process whose locale has them.
    const boost::bad_lexical_cast notANumber(typeid(std::string), typeid(std::uint64_t));
    const std::size_t signs = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    if (text.size() == signs) {
        throw notANumber;
    }
    std::uint64_t value = 0;
    for (std::size_t i = signs; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') {
            throw notANumber;
        }
        const auto digit = static_cast<std::uint64_t>(text[i] - '0');
        if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / 10) {
            throw notANumber;
        }
        value = value * 10 + digit;
    }
    return text[0] == '-' ? 0 - value : value;
}

std::uint64_t ReadOffset(Kyr::Common::Database::IKeyValueAccessMapper& store, const char* key) {
    const std::string text = store.GetValue(key);
    return text.empty() ? 0 : ParseOffset(text);
}

void AdvanceOffset(Kyr::Common::Database::IKeyValueAccessMapper& store, const char* key,
                   std::uint64_t count) {
    store.SetValue(key, std::to_string(ReadOffset(store, key) + count));
}

}  // namespace Kyr::Connectors::OvAgentConnector
