#include "lab/common/LineProtocol.h"

#include <charconv>
#include <limits>
#include <stdexcept>

namespace Kyr::Lab {

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

bool IsBare(unsigned char byte) {
    return byte > ' ' && byte != 0x7F && byte != '"' && byte != '\\' && byte != '=';
}

bool IsKeyByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '-';
}

void AppendQuotedByte(std::string& text, unsigned char byte) {
    switch (byte) {
        case '"':
            text += "\\\"";
            break;
        case '\\':
            text += "\\\\";
            break;
        case '\n':
            text += "\\n";
            break;
        case '\r':
            text += "\\r";
            break;
        case '\t':
            text += "\\t";
            break;
        default:
            if (byte < ' ' || byte == 0x7F) {
                text += "\\x";
                text += kHexDigits[byte >> 4];
                text += kHexDigits[byte & 0x0F];
            } else {
                text += static_cast<char>(byte);
            }
    }
}

void AppendValue(std::string& text, const std::string& value) {
    bool bare = !value.empty();
    for (const char byte : value) {
        bare = bare && IsBare(static_cast<unsigned char>(byte));
    }
    if (bare) {
        text += value;
        return;
    }
    text += '"';
    for (const char byte : value) {
        AppendQuotedByte(text, static_cast<unsigned char>(byte));
    }
    text += '"';
}

/// Reads words, keys and values from one text; every operation moves on behind what it read.
class CScanner {
  public:
    explicit CScanner(std::string_view text) : text_(text) {}

    bool AtEnd() const { return position_ == text_.size(); }
    char Peek() const { return AtEnd() ? '\0' : text_[position_]; }
    void Skip() { ++position_; }

    template <typename Predicate>
    std::string_view TakeWhile(Predicate predicate) {
        const std::size_t start = position_;
        while (!AtEnd() && predicate(text_[position_])) {
            ++position_;
        }
        return text_.substr(start, position_ - start);
    }

    void Expect(char byte) {
        if (AtEnd() || text_[position_] != byte) {
            throw std::invalid_argument(std::string("'") + byte + "' expected");
        }
        ++position_;
    }

    std::string TakeQuoted() {
        Expect('"');
        std::string value;
        while (Peek() != '"') {
            value += TakeQuotedByte();
        }
        Skip();
        return value;
    }

  private:
    char Take() {
        if (AtEnd()) {
            throw std::invalid_argument("closing quote missing");
        }
        return text_[position_++];
    }

    char TakeQuotedByte() {
        const char byte = Take();
        if (byte != '\\') {
            return byte;
        }
        switch (const char escaped = Take()) {
            case '"':
            case '\\':
                return escaped;
            case 'n':
                return '\n';
            case 'r':
                return '\r';
            case 't':
                return '\t';
            case 'x': {
                const std::size_t high = TakeHexDigit();
                return static_cast<char>(high << 4 | TakeHexDigit());
            }
            default:
                throw std::invalid_argument(std::string("unknown escape '\\") + escaped + "'");
        }
    }

    std::size_t TakeHexDigit() {
        const std::size_t digit = kHexDigits.find(Take());
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("two hexadecimal digits expected behind '\\x'");
        }
        return digit;
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

bool IsTime(std::string_view text) {
    constexpr std::string_view kShape = "00:00:00.000";
    if (text.size() != kShape.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (kShape[i] == '0' ? !digit : text[i] != kShape[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

CLine::CLine(std::string kind) : kind_(std::move(kind)) {}

CLine& CLine::With(std::string key, std::string_view value) {
    fields_.emplace_back(std::move(key), value);
    return *this;
}

CLine& CLine::With(std::string key, std::uint64_t value) {
    return With(std::move(key), std::to_string(value));
}

const std::string* CLine::Find(std::string_view key) const {
    for (const auto& field : fields_) {
        if (field.first == key) {
            return &field.second;
        }
    }
    return nullptr;
}

std::string CLine::Text() const {
    std::string text = kind_;
    for (const auto& field : fields_) {
        text += ' ';
        text += field.first;
        text += '=';
        AppendValue(text, field.second);
    }
    return text;
}

CTimedLine ParseLine(std::string_view text) {
    CScanner scanner(text);
    const std::string time(scanner.TakeWhile([](char byte) { return byte != ' '; }));
    if (!IsTime(time)) {
        throw std::invalid_argument("time expected");
    }
    scanner.Expect(' ');
    const std::string_view kind =
        scanner.TakeWhile([](char byte) { return (byte >= 'a' && byte <= 'z') || byte == '-'; });
    if (kind.empty()) {
        throw std::invalid_argument("kind expected");
    }
    CTimedLine result{time, CLine(std::string(kind))};
    while (!scanner.AtEnd()) {
        scanner.Expect(' ');
        std::string key(scanner.TakeWhile(IsKeyByte));
        if (key.empty()) {
            throw std::invalid_argument("key expected");
        }
        scanner.Expect('=');
        if (scanner.Peek() == '"') {
            result.line.With(std::move(key), scanner.TakeQuoted());
            continue;
        }
        const std::string_view value =
            scanner.TakeWhile([](char byte) { return IsBare(static_cast<unsigned char>(byte)); });
        if (value.empty()) {
            throw std::invalid_argument("value expected");
        }
        result.line.With(std::move(key), value);
    }
    return result;
}

std::vector<std::string> SplitWords(std::string_view command) {
    const auto isBlank = [](char byte) { return byte == ' ' || byte == '\t' || byte == '\r'; };
    CScanner scanner(command);
    std::vector<std::string> words;
    for (;;) {
        scanner.TakeWhile(isBlank);
        if (scanner.AtEnd()) {
            return words;
        }
        std::string& word = words.emplace_back();
        while (!scanner.AtEnd() && !isBlank(scanner.Peek())) {
            if (scanner.Peek() == '"') {
                word += scanner.TakeQuoted();
            } else {
                word += scanner.Peek();
                scanner.Skip();
            }
        }
    }
}

std::uint64_t ParseNumber(std::string_view text) {
    const bool hexadecimal = text.substr(0, 2) == "0x";
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::invalid_argument("'" + std::string(text) + "' is not a number");
    }
    return number;
}

std::uint32_t ParseNumber32(std::string_view text) {
    const std::uint64_t number = ParseNumber(text);
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        throw std::invalid_argument("'" + std::string(text) + "' is too large");
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace Kyr::Lab
