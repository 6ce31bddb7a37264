// The wire format of protocol buffers, as far as records need it: fields of variable-length
// integers and of bytes.
//
// Written by hand on purpose: the connector reads with the protobuf runtime, and what both ends
// took from one library they would misread alike.
//
// Errors: CMalformed when bytes are no such message.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

class CWireWriter {
  public:
    CWireWriter& AddInteger(std::uint32_t field, std::uint64_t value);
    CWireWriter& AddBytes(std::uint32_t field, std::string_view value);

    const Bytes& Written() const { return bytes_; }
    /// Gives the bytes away; nothing has been written afterwards.
    Bytes TakeWritten() { return std::exchange(bytes_, {}); }

  private:
    void Append(std::uint64_t value);

    Bytes bytes_;
};

/// The value of the last integer field of that number, as parsers take it; nothing when there is
/// none. Every other field is passed over.
std::optional<std::uint64_t> ReadInteger(const Bytes& message, std::uint32_t field);

}  // namespace Kyr::Lab::SimProduct
