// A story for people, as text, and for programs, as one line of JSON.
//
// Threads: one. Errors: none.
#pragma once

#include <iosfwd>
#include <string>

#include "probe/explain/Story.h"

namespace Kyr::Probe {

void WriteStory(std::ostream& out, const Story& story);

/// The tasks of which one identifier is that one, or begins so; the other ones of the story are
/// left out.
Story OnlyTask(const Story& story, const std::string& identifier);

/// Why the tasks with that identifier are not done, or why there is none.
void WriteTasks(std::ostream& out, const Story& story, const std::string& identifier);

std::string ToJson(const Story& story);
/// The same of that task alone; `fine` says whether it is there and well, and if it is not there,
/// `notAsked` why.
std::string ToJson(const Story& story, const std::string& identifier);

}  // namespace Kyr::Probe
