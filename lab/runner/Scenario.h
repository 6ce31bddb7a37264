// A scenario: what a person would do with a host and a product, and what must happen, in readable
// lines.
//
//   title A kill task ends the process
//   step  The product starts, the host connects
//   start agent
//   start host
//   expect host log text="Connected to product, processing tasks" within 5s
//   step  The server asks to end the process
//   agent start victim
//   expect agent started name=victim as victim
//   host  kill pid=$victim.pid
//   expect agent did action=kill pid=$victim.pid outcome=done within 5s
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
struct CFieldMatch {
    enum class Kind { Equals, Contains };
    std::string key;
    Kind kind;
    std::string value;
};

/// What an event must look like.
struct CEventPattern {
    std::string kind;
    std::vector<CFieldMatch> fields;
};

/// Opens a step: one row of the table at the end. For each actor the events of the step begin right
/// behind the last one that an earlier step expected of the same process: what that step set going
/// at its end may have been told before this one opens.
struct CStepStatement {
    std::string text;
};
/// A remark for the person who watches.
struct CSayStatement {
    std::string text;
};
/// Starts an actor's program with further arguments.
struct CStartStatement {
    std::string actor;
    std::vector<std::string> arguments;
};
/// Kills an actor's process at once.
struct CKillStatement {
    std::string actor;
};
/// Tells an actor to quit and waits for its end; its exit code must be 0.
struct CQuitStatement {
    std::string actor;
};
/// The actor's process must end by itself, by whatever way.
struct CGoneStatement {
    std::string actor;
    std::chrono::milliseconds within;
};
/// One line to an actor's standard input.
struct CCommandStatement {
    std::string actor;
    std::string line;
};
/// The actor must tell of such an event in this step, or have told of it; each event serves one
/// expectation. The order does not matter within a step, since several threads tell.
struct CExpectStatement {
    std::string actor;
    CEventPattern pattern;
    std::chrono::milliseconds within;
    std::optional<std::string> name;  // keeps the event's fields as $name.key
};
/// The actor must not have told of such an event in this step so far, except where one was
/// expected.
struct CNeverStatement {
    std::string actor;
    CEventPattern pattern;
};
/// A real wait of the system under test, shown counting down while the next expectation is awaited.
struct CCountdownStatement {
    std::chrono::milliseconds duration;
    std::string text;
};

/// A time in which something must not happen, as the CNeverStatements behind it say.
struct CWaitStatement {
    std::chrono::milliseconds duration;
    std::string text;
};

using Statement = std::variant<CStepStatement, CSayStatement, CStartStatement, CKillStatement,
                               CQuitStatement, CGoneStatement, CCommandStatement, CExpectStatement,
                               CNeverStatement, CCountdownStatement, CWaitStatement>;

struct CNumberedStatement {
    std::size_t line;
    Statement statement;
};

struct CScenario {
    std::string title;
    std::vector<CNumberedStatement> statements;
};

/// Reads a whole scenario. One without title, and one in which nothing is expected (by `expect`,
/// `never`, `gone` or `quit`), is none.
CScenario ParseScenario(const std::string& text);

/// Replaces $name.key by its value; throws std::runtime_error for a name that is not known.
std::string Substitute(const std::string& text,
                       const std::vector<std::pair<std::string, std::string>>& variables);

}  // namespace Kyr::Lab::Runner
