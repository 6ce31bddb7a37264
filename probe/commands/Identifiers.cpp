#include "probe/commands/Identifiers.h"

#include <algorithm>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "probe/TaskIdentifiers.h"
#include "probe/commands/WrongUsage.h"

namespace Kyr::Probe {

const std::string& CheckedUuid(const std::string& text) {
    if (!IsUuid(text)) {
        throw CWrongUsage("not an identifier of 36 characters: " + text);
    }
    return text;
}

const std::string& CheckedHash(const std::string& text, std::size_t digits) {
    if (text.size() != digits || !std::all_of(text.begin(), text.end(), IsHexDigit)) {
        throw CWrongUsage("not a hash of " + std::to_string(digits) +
                          " hexadecimal digits: " + text);
    }
    return text;
}

std::vector<std::string> ThreeIdentifiers(const std::string& text) {
    std::vector<std::string> identifiers;
    if (text.empty()) {
        boost::uuids::random_generator fresh;
        for (std::size_t i = 0; i < kIdentifiersOfTask; ++i) {
            identifiers.push_back(boost::uuids::to_string(fresh()));
        }
        return identifiers;
    }
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(';', begin);
        identifiers.push_back(CheckedUuid(text.substr(begin, end - begin)));
    }
    if (identifiers.size() != kIdentifiersOfTask) {
        throw CWrongUsage("needed are three identifiers with ; between them");
    }
    return identifiers;
}

}  // namespace Kyr::Probe
