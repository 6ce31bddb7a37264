// A program file and its digests, as the product knows executables.
#pragma once

#include <string>

namespace Kyr::Lab::SimProduct {

struct Program {
    std::string path;
    std::string sha1;    // lower-case hexadecimal
    std::string sha256;  // lower-case hexadecimal
};

/// Reads the file whole. Errors: std::runtime_error when it cannot be read.
Program ReadProgram(const std::string& path);

}  // namespace Kyr::Lab::SimProduct
