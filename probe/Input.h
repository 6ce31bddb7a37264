// What a person gives to be read: a file, or standard input.
//
// Threads: one. Errors: std::runtime_error, with a text for that person.
#pragma once

#include <string>

namespace Kyr::Probe {

/// The bytes of that file, of standard input for "-".
std::string ReadInput(const std::string& name);

}  // namespace Kyr::Probe
