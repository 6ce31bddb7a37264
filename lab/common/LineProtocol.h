// The lines in which lab programs tell what happens: one event a line.
//
//     line  = time " " kind *( " " key "=" value ) [ " at=" stamp ]
//     time  = HH ":" MM ":" SS "." mmm          (UTC, when the line was written)
//     stamp = 1*( "0"-"9" )                     (nanoseconds of a clock of the whole machine)
//     kind  = 1*( "a"-"z" / "-" )
//     key   = 1*( "a"-"z" / "0"-"9" / "-" )
//     value = bare / quoted
//     bare  = 1*( any byte above " " but DEL, quote, backslash and "=" )
//     quoted = a quote, any bytes, a quote; inside, \" \\ \n \r \t and \xHH stand for themselves
//
// A value is bare whenever it can be, so that the same event always gives the same line.
//
// The time is for people: somebody may set it, and a thousandth of a second is long. The stamp is
// for order: the clock that it is of is the same for every process, and never runs back. So what
// one program tells before it does it has a lesser stamp than what another one tells because of it.
// No kind of event has a field `at`.
//
// Threads: values; each object by one thread at a time.
// Errors: text that does not follow the grammar is a std::invalid_argument that says why.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kyr::Lab {

/// One event without its time: a kind and its fields, in the order in which they were added.
class CLine {
  public:
    explicit CLine(std::string kind);

    CLine& With(std::string key, std::string_view value);
    CLine& With(std::string key, std::uint64_t value);

    const std::string& Kind() const { return kind_; }
    const std::vector<std::pair<std::string, std::string>>& Fields() const { return fields_; }

    /// The value of the first field `key`, or null.
    const std::string* Find(std::string_view key) const;
    /// The same, or an empty text.
    std::string Value(std::string_view key) const;

    /// Kind and fields as they stand in a line, without a time.
    std::string Text() const;

  private:
    std::string kind_;
    std::vector<std::pair<std::string, std::string>> fields_;
};

struct TimedLine {
    std::string time;
    CLine line;
    std::optional<std::uint64_t> stamp = std::nullopt;
};

/// Reads a line back, without its end of line.
TimedLine ParseLine(std::string_view text);

}  // namespace Kyr::Lab
