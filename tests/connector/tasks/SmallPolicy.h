// A policy of three letters, byte by byte.
#pragma once

#include <string>

#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Tasks {

inline std::string TextOf(const std::string& hexBytes) {
    const auto bytes = Kyr::Test::HexBytes(hexBytes);
    return {bytes.begin(), bytes.end()};
}

/// The five bytes of a PolicyData with the text "abc", as a stored zlib block.
inline std::string SmallPolicyStream() {
    return TextOf(
        "78 01"           // zlib
        "01 05 00 FA FF"  // the last block, stored, five bytes
        "0A 03 61 62 63"  // field 1: three bytes, "abc"
        "02 8D 01 34");   // checksum
}

/// The serialized CompressedBlob around it.
inline std::string SmallPolicyBlob() {
    return TextOf(
               "08 05"   // field 1: five bytes once inflated
               "12 10")  // field 2: sixteen bytes
           + SmallPolicyStream();
}

}  // namespace Kyr::Connectors::Common::Tasks
