#include "probe/commands/Identifiers.h"

#include <algorithm>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "probe/commands/WrongUsage.h"

namespace Kyr::Probe {

namespace {

constexpr std::size_t kUuidLength = 36;
constexpr std::size_t kIdentifiers = 3;

bool IsHexadecimal(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

bool IsUuid(const std::string& text) {
    if (text.size() != kUuidLength) {
        return false;
    }
    for (std::size_t i = 0; i < kUuidLength; ++i) {
        const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
        if (isDash ? text[i] != '-' : !IsHexadecimal(text[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

const std::string& CheckedUuid(const std::string& text) {
    if (!IsUuid(text)) {
        throw CWrongUsage("not an identifier of 36 characters: " + text);
    }
    return text;
}

const std::string& CheckedHash(const std::string& text, std::size_t digits) {
    if (text.size() != digits || !std::all_of(text.begin(), text.end(), IsHexadecimal)) {
        throw CWrongUsage("not a hash of " + std::to_string(digits) +
                          " hexadecimal digits: " + text);
    }
    return text;
}

std::vector<std::string> ThreeIdentifiers(const std::string& text) {
    std::vector<std::string> identifiers;
    if (text.empty()) {
        boost::uuids::random_generator fresh;
        for (std::size_t i = 0; i < kIdentifiers; ++i) {
            identifiers.push_back(boost::uuids::to_string(fresh()));
        }
        return identifiers;
    }
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(';', begin);
        identifiers.push_back(CheckedUuid(text.substr(begin, end - begin)));
    }
    if (identifiers.size() != kIdentifiers) {
        throw CWrongUsage("needed are three identifiers with ; between them");
    }
    return identifiers;
}

}  // namespace Kyr::Probe
