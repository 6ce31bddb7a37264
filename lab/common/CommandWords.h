// The words of a command that a lab program reads, and the numbers among them.
//
// Threads: any; CCommandWords by one at a time.
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
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

/// Which of `names` it is, from 0. `what` names it in the complaint that it is none of them, which
/// tells which there are.
std::size_t PlaceOf(const std::string& name, const std::vector<std::string>& names,
                    const std::string& what);

/// The words behind a command: words, `name=value` pairs and flags, taken out one by one.
///
/// A command takes what it knows and then calls Finish, which refuses what is left.
class CCommandWords {
  public:
    explicit CCommandWords(std::vector<std::string> words);

    bool IsEmpty() const { return words_.empty(); }
    /// The next word. `what` names it in the complaint that it is missing.
    std::string TakeWord(const std::string& what);
    /// All words that are left.
    std::vector<std::string> TakeRest();
    /// The value of `name=value`, if it was given.
    std::optional<std::string> TakeValue(const std::string& name);
    /// The number of `name=<number>`, if it was given; a greater one than `most` is refused.
    std::optional<std::uint64_t> TakeNumber(
        const std::string& name, std::uint64_t most = std::numeric_limits<std::uint64_t>::max());
    /// True when the word `name` stands there.
    bool TakeFlag(const std::string& name);
    void Finish() const;

  private:
    std::vector<std::string> words_;
};

}  // namespace Kyr::Lab
