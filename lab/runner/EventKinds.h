// The kinds of events that the lab's programs tell, and the keys of each. The tables in the
// programs' READMEs say what they mean.
//
// A scenario that names another one is refused before it is played, since `never` would hold for it
// whatever happens; and a program that tells of another one fails the scenario, since the table is
// wrong then.
// Threads: any. Errors: std::invalid_argument that says what is not known.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

struct EventKind {
    std::string_view actor;
    std::string_view kind;
    std::string_view keys;  // parted by blanks; "#" is any number, with or without a name behind it
};

const std::vector<EventKind>& EventKinds();

/// Refuses a kind that `actor` does not tell.
const EventKind& KnownKind(const std::string& actor, const std::string& kind);
/// Refuses a key that no event of the kind has.
void CheckKey(const EventKind& kind, const std::string& key);
/// Refuses an event whose kind, or one of whose keys, is not known.
void CheckEvent(const std::string& actor, const CLine& line);

}  // namespace Kyr::Lab::Runner
