// The words of a command that a lab program reads, and the numbers among them.
//
// Threads: any.
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Kyr::Lab {

/// Splits a command into its words: blanks part them, and a quoted run (as in a line's value) is
/// part of its word, so that `start "my program" name="a b"` has three words.
std::vector<std::string> SplitWords(std::string_view command);

/// A number in decimal, or in hexadecimal after "0x"; nothing may stand before or behind it.
std::uint64_t ParseNumber(std::string_view text);

/// The same, of 32 bits at most.
std::uint32_t ParseNumber32(std::string_view text);

}  // namespace Kyr::Lab
