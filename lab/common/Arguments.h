// The command line of a lab program: `--name`, `--name=value`, and the words behind or between
// them.
//
// A program takes out what it knows and then calls Finish, which refuses what is left.
//
// Threads: one at a time.
// Errors: std::invalid_argument with a text for the person who typed the line.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Kyr::Lab {

class CArguments {
  public:
    /// Takes the arguments of `main`; "--" makes words of all that follows.
    CArguments(int argc, const char* const* argv);

    /// True when `--name` was given, without a value.
    bool TakeFlag(const std::string& name);

    /// The value of `--name=value`; the last one holds when it was given twice.
    std::optional<std::string> TakeValue(const std::string& name);

    /// The values of every `--name=value`, in order.
    std::vector<std::string> TakeValues(const std::string& name);

    /// The words, in order.
    std::vector<std::string> TakeWords();

    /// Refuses every option and word that nobody has taken.
    void Finish() const;

  private:
    struct Option {
        std::string name;
        std::optional<std::string> value;
    };

    std::vector<Option> options_;
    std::vector<std::string> words_;
};

/// What `--colour` says: never, always, or (auto, and without the option) only on a terminal.
bool TakeColour(CArguments& arguments, bool isTerminal);

}  // namespace Kyr::Lab
