// What a command has found, for people and for programs: rows under columns, and sentences.
//
// Threads: any, an object at a time. Errors: none.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Kyr::Probe {

// Exit codes; scripts rely on them.
enum ExitCode { kFine = 0, kSomethingFound = 1, kWrongUsage = 2, kNotReached = 3 };

/// Nothing, a text, a number, or yes and no.
using Value = std::variant<std::monostate, std::string, std::uint64_t, std::int64_t, double, bool>;

struct Column {
    std::string name;
    /// Its texts come from elsewhere: shown in quotes, and without what a terminal would obey.
    bool isForeign = false;
    /// Shown behind what stands before it, with an arrow, where there is something.
    bool isNext = false;
};

struct Problem {
    std::string cause;  // as NameOf(Cause) has it, "refused-by-product", "wrong-reply"
    std::string text;
};

struct Report {
    std::string command;
    std::vector<Column> columns;
    std::vector<std::vector<Value>> rows;  // a value a column
    std::vector<std::string> notes;
    std::optional<Problem> problem;
    /// The product's reply, byte for byte, for --raw.
    std::string raw;
    int exit = kFine;
};

/// Columns as wide as their values, with their names, then the notes, then the problem. Verdicts
/// are `coloured` or not.
void WriteText(std::ostream& out, const Report& report, bool coloured);

/// The rows alone, each on a line, values with two blanks between them.
void WriteRows(std::ostream& out, const Report& report, bool coloured);

/// {"command", "exit", "rows": [{<column>: <value>}], "notes": [...], "problem": {"cause", "text"}}
/// on one line; "problem" only where there is one.
std::string ToJson(const Report& report);

}  // namespace Kyr::Probe
