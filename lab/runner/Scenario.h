// A scenario: what a person would do with a host and a product, and what must happen, in readable
// lines.
//
//   title A kill task ends the process
//   step  The product starts, the host connects
//   start product
//   start host
//   expect host log text="Connected to product, processing tasks" within 20s
//   step  The server asks to end the process
//   product start victim
//   expect product started name=victim as victim
//   host  kill pid=$victim.pid
//   expect product did action=kill pid=$victim.pid outcome=done within 20s
//   then product reply status=0
//
// One statement a line; "#" opens a comment line. See lab/scenarios/README.md for every statement.
//
// Errors: a line that is not understood, or missing, throws CScenarioError with its number.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace Kyr::Lab::Runner {

class CScenarioError : public std::runtime_error {
  public:
    CScenarioError(std::size_t line, const std::string& text);
};

/// How one field of an event is compared.
struct FieldMatch {
    enum class Kind { kEquals, kContains };
    std::string key;
    Kind kind;
    std::string value;
};

/// What an event must look like.
struct EventPattern {
    std::string kind;
    std::vector<FieldMatch> fields;
};

/// Opens a step: one row of the table at the end. For each actor the events of the step begin right
/// behind the last one that an earlier step expected of the same process: what that step set going
/// at its end may have been told before this one opens.
struct StepStatement {
    std::string text;
};
/// A remark for the person who watches.
struct SayStatement {
    std::string text;
};
/// Starts an actor's program with further arguments.
struct StartStatement {
    std::string actor;
    std::vector<std::string> arguments;
};
/// Kills an actor's process at once.
struct KillStatement {
    std::string actor;
};
/// Tells an actor to quit and waits for its end; its exit code must be 0.
struct QuitStatement {
    std::string actor;
};
/// The actor's process must end by itself, by whatever way.
struct GoneStatement {
    std::string actor;
    std::chrono::milliseconds within;
};
/// One line to an actor's standard input.
struct CommandStatement {
    std::string actor;
    std::string line;
};
/// The actor must tell of such an event in this step, or have told of it; each event serves one
/// expectation. The order does not matter within a step, since several threads tell, unless the
/// scenario says so.
struct ExpectStatement {
    std::string actor;
    EventPattern pattern;
    std::chrono::milliseconds within;
    std::optional<std::string> name;  // keeps the event's fields as $name.key
    bool then;                        // it came after the event expected before, of either actor
    std::optional<std::chrono::milliseconds> after;  // and at least so long after it
};
/// The actor must not have told of such events in this step, except where one was expected: so far,
/// or until the step ends.
struct NeverStatement {
    std::string actor;
    std::vector<EventPattern> patterns;
    bool wholeStep;
};
/// A real wait of the system under test, shown counting down while the next expectation is awaited.
struct CountdownStatement {
    std::chrono::milliseconds duration;
    std::string text;
};

/// A time in which something must not happen, as the CNeverStatements behind it say.
struct WaitStatement {
    std::chrono::milliseconds duration;
    std::string text;
};

using Statement = std::variant<StepStatement, SayStatement, StartStatement, KillStatement,
                               QuitStatement, GoneStatement, CommandStatement, ExpectStatement,
                               NeverStatement, CountdownStatement, WaitStatement>;

struct NumberedStatement {
    std::size_t line;
    Statement statement;
};

struct Scenario {
    std::string title;
    std::vector<NumberedStatement> statements;
};

/// Reads a whole scenario. One without title, and one in which nothing is expected (by `expect`,
/// `then`, `never`, `only`, `gone` or `quit`), is none.
Scenario ParseScenario(const std::string& text);

/// Replaces $name.key by its value; throws std::runtime_error for a name that is not known.
std::string Substitute(const std::string& text,
                       const std::vector<std::pair<std::string, std::string>>& variables);

}  // namespace Kyr::Lab::Runner
