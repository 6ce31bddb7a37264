// What the lab's programs tell, as events of a life: whose doing it is, how much it weighs, and in
// a person's words.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

struct ToldEvent {
    LifePage::Moment at;
    std::string actor;
    std::size_t process;
    CLine line;
};

/// Puts them into the life, in the order of their moments. The rows of a log become part of the
/// event that published it. Returns where each of them is in the life.
std::vector<std::size_t> TellEvents(const std::vector<ToldEvent>& told, LifePage::Life& life);

/// The bytes that an event tells, two hexadecimal digits each; nothing where it tells none. A line
/// that its program could not write to the end may leave half a byte, which is none. Errors:
/// std::invalid_argument for what is no such digit.
std::optional<std::string> BytesOf(const CLine& line);

/// The value of the event's field `key`, or an empty text.
std::string Value(const LifePage::Event& event, const std::string& key);

}  // namespace Kyr::Lab::Runner
