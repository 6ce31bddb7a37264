#include "logs/SymbolText.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

#include "host/logs/LogDescriptorMap.h"

namespace Kyr::Common::Logs {

namespace {

/// The byte count of the UTF-8 character that starts with `lead`: its number of leading one bits.
std::uint32_t CharacterLength(unsigned char lead) {
    // Only the first byte is looked at: the walk trusts it for the others.
    if (lead < 0x80) {
        return 1;
    }
    if ((lead & 0xC0) == 0x80) {
        throw std::runtime_error("Invalid utf8 leading byte");
    }
    std::uint32_t length = 0;
    for (unsigned bit = 0x80; (lead & bit) != 0; bit >>= 1) {
        ++length;
    }
    if (length > 6) {
        throw std::runtime_error("Utf8 character cannot have more than 6 characters");
    }
    return length;
}

/// The value of a hexadecimal digit, 16 for any other character.
unsigned HexDigit(char character) {
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned>(character - '0');
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<unsigned>(character - 'a' + 10);
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<unsigned>(character - 'A' + 10);
    }
    return 16;
}

[[noreturn]] void RefuseUuid() {
    throw std::runtime_error("invalid uuid string");
}

}  // namespace

std::string LimitText(std::int32_t id, std::string text) {
    const CLogDescriptorMap& map = CLogDescriptorMap::Instance();
    // The limits are the host's. A symbol that its tables do not know has none.
    if (!map.HasSymbol(id)) {
        return text;
    }
    const auto log = map.GetLogDescriptor(map.GetLogTypeBySymbol(id));
    return ShortenText(std::move(text), log->GetSymbolDescriptor(id)->GetOtlLength());
}

std::string ShortenText(std::string text, std::uint32_t limit) {
    // Zero and numbers that are negative as signed ones are the tables' way to say "no limit". Text
    // that fits is not looked at: broken UTF-8 is found only in text that has to be cut.
    if (limit == 0 || limit > 0x7FFFFFFFu || text.size() <= limit) {
        return text;
    }
    // Three bytes are for the dots. The last character that begins at or before `last` goes,
    // however long it is; what stands before it stays. So ASCII text becomes exactly `limit` bytes
    // long, and no character is cut in two.
    // Deliberate: below 3 the subtraction wraps. Then the limit alone ends the walk, and the result
    // is longer than the limit.
    const std::uint32_t last = limit - 3;
    std::uint32_t start = 0;
    std::uint32_t position = 0;
    while (position <= last && position < limit) {
        start = position;
        position += CharacterLength(static_cast<unsigned char>(text[position]));
    }
    text.resize(start);
    text += "...";
    return text;
}

boost::uuids::uuid ParseUuid(const std::string& text) {
    std::string_view digits = text;
    // Both braces or neither.
    if (digits.size() == 38 && digits.front() == '{' && digits.back() == '}') {
        digits = digits.substr(1, 36);
    }
    // 32 digits and four hyphens: from here on no index is out of range.
    if (digits.size() != 36) {
        RefuseUuid();
    }
    boost::uuids::uuid uuid;
    std::size_t position = 0;
    for (std::size_t byte = 0; byte < uuid.size(); ++byte) {
        if (byte == 4 || byte == 6 || byte == 8 || byte == 10) {
            if (digits[position++] != '-') {
                RefuseUuid();
            }
        }
        const unsigned high = HexDigit(digits[position++]);
        const unsigned low = HexDigit(digits[position++]);
        if (high > 15 || low > 15) {
            RefuseUuid();
        }
        uuid.data[byte] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return uuid;
}

}  // namespace Kyr::Common::Logs
