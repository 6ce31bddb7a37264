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
// Errors: a line that is not understood, or missing, throws std::runtime_error with its number.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Kyr::Lab::Runner {

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

/// What a statement asks for, by its first word.
enum class Verb {
    /// Opens a step: one row of the table at the end. For each actor the events of the step begin
    /// right behind the last one that an earlier step expected of the same process: what that step
    /// set going at its end may have been told before this one opens.
    kStep,
    kSay,      // a remark for the person who watches
    kStart,    // an actor's program, with further arguments
    kCommand,  // one line to an actor's standard input
    kKill,     // an actor's process at once
    kQuit,     // told to an actor; it must end with exit code 0
    kGone,     // the actor's process must end by itself, by whatever way
    /// The actor must tell of such an event in this step, or have told of it; each event serves one
    /// expectation. The order does not matter within a step, since several threads tell, unless the
    /// scenario says so.
    kExpect,
    kThen,   // the same, and it came after the event expected before, of either actor
    kNever,  // but for those expected, the actor has not told of such events so far in this step
    kOnly,   // the same, until the step ends
    kCountdown,  // a real wait of the connector, shown while the next expectation is awaited
    kWait,       // a time in which something must not happen, as a `never` behind it says
};

/// One line of a scenario. What its verb does not take is empty.
struct Statement {
    Verb verb{};
    std::size_t line = 0;
    std::string actor{};                               // "product" or "host"
    std::string text{};                                // for a person, or a command
    std::vector<std::string> arguments{};              // of a program that is started
    std::vector<EventPattern> patterns{};              // one, or several that must not come
    std::chrono::milliseconds duration{};              // of a wait, or how long at most
    std::optional<std::string> name{};                 // keeps the event's fields as $name.key
    std::optional<std::chrono::milliseconds> after{};  // at least so long after the one before
};

struct Scenario {
    std::string title;
    std::vector<Statement> statements;
};

/// Reads a whole scenario. One without title, and one in which nothing is expected (by `expect`,
/// `then`, `never`, `only`, `gone` or `quit`), is none.
Scenario ParseScenario(const std::string& text);

/// Replaces $name.key by its value; throws std::runtime_error for a name that is not known.
std::string Substitute(const std::string& text,
                       const std::map<std::string, std::string>& variables);

}  // namespace Kyr::Lab::Runner
