// A line command of the product, and what all of them share. Commands stand in groups, one pair of
// files each, with one function that returns its rows.
//
// Errors: std::invalid_argument with a text for the person who typed the line.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/common/LineWriter.h"

namespace Kyr::Lab::SimProduct {

using Words = std::vector<std::string>;

struct ConsoleCommand {
    std::string name;
    std::string usage;
    std::string text;
    /// `words` begins with the command's name.
    std::function<void(const Words& words)> run;
};

using ConsoleCommandGroup = std::vector<ConsoleCommand>;

/// The `answer` event of a command.
CLine AnswerTo(const std::string& command);

/// What stands behind `name=`; nothing when the word begins otherwise.
std::optional<std::string> ValueOf(const std::string& word, const std::string& name);

/// Refuses a word beyond `most`.
void RequireWords(const Words& words, std::size_t most);

}  // namespace Kyr::Lab::SimProduct
