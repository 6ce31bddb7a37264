// Bytes as the product would write them, and read again by a hand of our own: nothing of the
// connector's coding is in here.
//
// Threads: any. Errors: none but REQUIRES.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "proofs/bytes/Changes.h"

namespace Kyr::Proofs::Bytes {

Input FromText(const std::string& text);
Input operator+(Input first, const Input& second);
/// Little-endian.
Input Word(std::uint32_t number);
Input Half(std::uint16_t number);

/// The number at `place`. REQUIRES: its bytes are there.
std::uint32_t WordAt(const Input& bytes, std::size_t place);
std::uint16_t HalfAt(const Input& bytes, std::size_t place);

/// A reply: header size 12, status, length of the body, body.
Input Reply(std::uint32_t status, const Input& body);

/// Why a reply's body cannot be had; nothing when it can.
extern const char kShort[];
/// The body as long as the header says; nothing when the reply is too short for it.
std::optional<Input> BodyOf(const Input& reply);

/// A field of a protobuf message: text or another message, or a number.
Input TextField(std::uint32_t field, const Input& text);
Input NumberField(std::uint32_t field, std::uint64_t number);
/// One of that kind, whose bytes are a number that is always as long.
Input FixedField(std::uint32_t field, std::uint32_t type, const Input& bytes);

/// What stands in a protobuf message, in its order.
struct Fields {
    struct Field {
        std::uint32_t number;
        std::uint32_t type;  // 0 a number, 2 text or a message; others have no value here
        std::uint64_t value;
        Input text;
    };
    std::vector<Field> fields;
    /// Whether it is a sound message. If not, `fields` are what stands before the first fault.
    bool sound;
    /// The fault is that bytes are missing at the end.
    bool endsEarly = false;
};
Fields ReadFields(const Input& message);

bool IsUtf8(const Input& text);

}  // namespace Kyr::Proofs::Bytes
