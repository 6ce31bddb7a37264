// What events and commands have in common: words, and quoted runs with their escapes.
//
// For those who read events, commands and scenarios; all of it stands in this header.
//
// Threads: one at a time. Errors: std::invalid_argument that says what is missing.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Kyr::Lab {

// In a quoted run the bytes of the first stand as a backslash and the character at the same place
// of the second.
constexpr std::string_view kEscapedBytes = "\"\\\n\r\t";
constexpr std::string_view kEscapes = "\"\\nrt";
constexpr std::string_view kHexDigits = "0123456789abcdef";

/// Reads words, keys and values from one text; every operation moves on behind what it read.
class CLineScanner {
  public:
    explicit CLineScanner(std::string_view text) : text_(text) {}

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

    void SkipBlanks() { TakeWhile(IsBlank); }

    /// Up to the next blank; a quoted run is part of its word, blanks and all.
    std::string TakeWord() {
        std::string word;
        while (!AtEnd() && !IsBlank(Peek())) {
            if (Peek() == '"') {
                word += TakeQuoted();
            } else {
                word += Peek();
                Skip();
            }
        }
        return word;
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
    static bool IsBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r'; }

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
        const char escape = Take();
        if (escape == 'x') {
            const std::size_t high = TakeHexDigit();
            return static_cast<char>(high << 4 | TakeHexDigit());
        }
        const std::size_t place = kEscapes.find(escape);
        if (place == std::string_view::npos) {
            throw std::invalid_argument(std::string("unknown escape '\\") + escape + "'");
        }
        return kEscapedBytes[place];
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

}  // namespace Kyr::Lab
