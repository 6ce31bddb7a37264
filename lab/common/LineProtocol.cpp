#include "lab/common/LineProtocol.h"

#include <algorithm>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/common/LineScanner.h"

namespace Kyr::Lab {

namespace {

bool IsBare(char byte) {
    return static_cast<unsigned char>(byte) > ' ' && byte != 0x7F && byte != '"' && byte != '\\' &&
           byte != '=';
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
    if (!value.empty() && std::all_of(value.begin(), value.end(), IsBare)) {
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
    return std::equal(text.begin(), text.end(), kShape.begin(), kShape.end(),
                      [](char byte, char shape) {
                          return shape == '0' ? byte >= '0' && byte <= '9' : byte == shape;
                      });
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
        const std::string_view value = scanner.TakeWhile(IsBare);
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
