#include "probe/decode/FieldReader.h"

#include <sstream>

#include <boost/locale/utf.hpp>

#include "base/LittleEndian.h"

namespace Kyr::Probe {

namespace {

namespace Utf = boost::locale::utf;

constexpr std::size_t kShownBytes = 32;
constexpr std::size_t kShownText = 200;
constexpr char kDigits[] = "0123456789abcdef";

std::string HexByte(char byte) {
    const auto number = static_cast<unsigned char>(byte);
    return {kDigits[number >> 4], kDigits[number & 15]};
}

std::string Rest(std::size_t all, std::size_t shown) {
    return all > shown ? "... (" + std::to_string(all) + " bytes)" : "";
}

}  // namespace

std::string NumberText(std::uint64_t number) {
    std::ostringstream text;
    text << number;
    if (number > 9) {
        text << " (0x" << std::hex << number << ')';
    }
    return text.str();
}

std::string BytesText(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes.substr(0, kShownBytes)) {
        text += HexByte(byte);
    }
    return text + Rest(bytes.size(), kShownBytes);
}

namespace {

/// The character at the front of `text`, as it may be shown; how many bytes it has is added to
/// `at`.
std::string ShownCharacter(std::string_view text, std::string_view escaped, std::size_t& at) {
    const char* end = text.data();
    const auto character = Utf::utf_traits<char>::decode(end, text.data() + text.size());
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    if (!Utf::is_valid_codepoint(character) || isControl ||
        escaped.find(text.front()) != std::string_view::npos) {
        ++at;
        return "\\x" + HexByte(text.front());
    }
    const auto length = static_cast<std::size_t>(end - text.data());
    at += length;
    return std::string(text.substr(0, length));
}

}  // namespace

std::string HarmlessText(std::string_view text) {
    std::string shown;
    for (std::size_t at = 0; at < text.size();) {
        shown += ShownCharacter(text.substr(at), "", at);
    }
    return shown;
}

std::string QuotedText(std::string_view text) {
    std::string quoted = "\"";
    std::size_t at = 0;
    while (at < text.size() && at < kShownText) {
        quoted += ShownCharacter(text.substr(at), "\"\\", at);
    }
    return quoted + '"' + Rest(text.size(), at);
}

template <typename Integer>
std::optional<Integer> CFieldReader::Number(const std::string& name) {
    const std::size_t offset = at_;
    const auto bytes = Take(name, sizeof(Integer));
    if (!bytes) {
        return std::nullopt;
    }
    const auto number =
        Base::LoadLittleEndian<Integer>(reinterpret_cast<const std::uint8_t*>(bytes->data()));
    Note(offset, sizeof(Integer), name, NumberText(number));
    return number;
}

std::optional<std::uint16_t> CFieldReader::U16(const std::string& name) {
    return Number<std::uint16_t>(name);
}

std::optional<std::uint32_t> CFieldReader::U32(const std::string& name) {
    return Number<std::uint32_t>(name);
}

std::optional<std::uint64_t> CFieldReader::U64(const std::string& name) {
    return Number<std::uint64_t>(name);
}

void CFieldReader::Expect32(const std::string& name, std::uint32_t expected) {
    const auto number = U32(name);
    if (number && *number != expected) {
        Blame("must be " + NumberText(expected));
    }
}

void CFieldReader::Bytes(const std::string& name, std::uint64_t length) {
    const std::size_t offset = at_;
    const auto bytes = Take(name, length);
    if (bytes) {
        Note(offset, bytes->size(), name, BytesText(*bytes));
    }
}

std::optional<std::string_view> CFieldReader::Take(const std::string& name, std::uint64_t length) {
    if (!good_) {
        return std::nullopt;
    }
    if (length > Remaining()) {
        good_ = false;
        Note(at_, Remaining(), name, BytesText(Rest()),
             "ends early: " + std::to_string(Remaining()) + " of " + std::to_string(length) +
                 " bytes are there");
        return std::nullopt;
    }
    const std::string_view bytes = bytes_.substr(at_, static_cast<std::size_t>(length));
    at_ += bytes.size();
    return bytes;
}

void CFieldReader::Explain(const std::string& meaning) {
    layout_.fields.back().value += ", " + meaning;
}

void CFieldReader::Blame(const std::string& wrong) {
    layout_.fields.back().wrong = wrong;
}

void CFieldReader::Note(std::size_t offset, std::size_t length, const std::string& name,
                        const std::string& value, const std::string& wrong) {
    layout_.fields.push_back({offset, length, name, value, wrong});
}

void CFieldReader::ExpectEnd() {
    if (good_ && Remaining() != 0) {
        Note(at_, Remaining(), "behind the end", BytesText(Rest()), "nothing reads this");
    }
}

void CFieldReader::EndAfter(std::size_t length) {
    if (length < Remaining()) {
        Note(at_ + length, Remaining() - length, "behind the body",
             BytesText(Rest().substr(length)));
        bytes_ = bytes_.substr(0, at_ + length);
    }
}

}  // namespace Kyr::Probe
