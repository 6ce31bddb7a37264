// The words behind a command: words, `name=value` pairs and flags, taken out one by one.
//
// A command takes what it knows and then calls Finish, which refuses what is left.
//
// Errors: std::invalid_argument with a text for the person who typed the command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::Lab::DevHost {

class CCommandArguments {
  public:
    explicit CCommandArguments(std::vector<std::string> words);

    /// The next word. `what` names it in the complaint that it is missing.
    std::string TakeWord(const std::string& what);
    /// The value of `name=value`, if it was given.
    std::optional<std::string> TakeValue(const std::string& name);
    /// The number of `name=<number>`, if it was given; none is negative.
    std::optional<std::int32_t> TakeInt32(const std::string& name);
    /// True when the word `name` stands there.
    bool TakeFlag(const std::string& name);
    void Finish() const;

  private:
    std::vector<std::string> words_;
};

}  // namespace Kyr::Lab::DevHost
