// What the tests of the decoder share: bytes as digits in, a layout as lines out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "probe/decode/Decode.h"
#include "probe/decode/HexText.h"

namespace Kyr::Probe {

constexpr std::uint32_t kGetStatus = 0x21;
constexpr std::uint32_t kGetTaskStatus = 0x70;

using Lines = std::vector<std::string>;

/// "<offset>+<length> <name>: <value>", and " !<what is wrong>".
inline Lines LinesOf(const Layout& layout) {
    Lines lines;
    for (const Field& field : layout.fields) {
        lines.push_back(std::to_string(field.offset) + '+' + std::to_string(field.length) + ' ' +
                        field.name + ": " + field.value +
                        (field.wrong.empty() ? "" : " !" + field.wrong));
    }
    return lines;
}

inline Lines Decoded(const std::string& hex, const std::string& kind,
                     std::optional<std::uint32_t> command = {}) {
    return LinesOf(Decode(FromHexText(hex), kind, command));
}

/// Those from the field at `offset` on.
inline Lines DecodedFrom(std::size_t offset, const std::string& hex, const std::string& kind,
                         std::optional<std::uint32_t> command = {}) {
    Layout layout = Decode(FromHexText(hex), kind, command);
    Layout rest;
    for (Field& field : layout.fields) {
        if (field.offset >= offset) {
            rest.fields.push_back(std::move(field));
        }
    }
    return LinesOf(rest);
}

/// Of every field that something is wrong with: its name, and what.
inline Lines Wrong(const std::string& hex, const std::string& kind,
                   std::optional<std::uint32_t> command = {}) {
    Lines wrong;
    for (const Field& field : Decode(FromHexText(hex), kind, command).fields) {
        if (!field.wrong.empty()) {
            wrong.push_back(field.name + ": " + field.wrong);
        }
    }
    return wrong;
}

}  // namespace Kyr::Probe
