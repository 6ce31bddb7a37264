// What a person gives to be decoded: a file, standard input, or hexadecimal text.
//
// Threads: one. Errors: std::runtime_error, with a text for that person.
#pragma once

#include <string>

namespace Kyr::Probe {

/// The bytes of that file, of standard input for "-".
std::string ReadInput(const std::string& name);

/// The bytes that hexadecimal text stands for. Blanks and line ends are passed over, so is what
/// dumps put around the digits: an offset of four or more digits at the beginning of a line, and
/// all behind three blanks.
std::string FromHexText(const std::string& text);

}  // namespace Kyr::Probe
