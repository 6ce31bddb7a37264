#include "lab/common/LineProtocol.h"

#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/common/LineScanner.h"

namespace Kyr::Lab {

namespace {

bool IsBare(unsigned char byte) {
    return byte > ' ' && byte != 0x7F && byte != '"' && byte != '\\' && byte != '=';
}

bool IsKeyByte(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '-';
}

void AppendQuotedByte(std::string& text, unsigned char byte) {
    const std::size_t escape = kEscapedBytes.find(static_cast<char>(byte));
    if (escape != std::string_view::npos) {
        text += {'\\', kEscapes[escape]};
    } else if (byte < ' ' || byte == 0x7F) {
        text += {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0x0F]};
    } else {
        text += static_cast<char>(byte);
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

std::string CLine::Value(std::string_view key) const {
    const std::string* const value = Find(key);
    return value == nullptr ? "" : *value;
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

TimedLine ParseLine(std::string_view text) {
    CLineScanner scanner(text);
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
    TimedLine result{time, CLine(std::string(kind))};
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
        if (key == "at" && scanner.AtEnd()) {
            result.stamp = ParseNumber(value);
        } else {
            result.line.With(std::move(key), value);
        }
    }
    return result;
}

}  // namespace Kyr::Lab
