// How a log names tasks: messages by their names, requests by their identifiers.
//
// Threads: any. Errors: none; whatever the text is, what comes out is safe to print.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Kyr::Probe {

/// What a message asks for, for people: of its name as it stands in a line, or of a command of the
/// lab's host. Empty: no task.
std::string TaskOfMessage(std::string_view name);
std::string TaskOfCommand(std::string_view command);

/// A request's user data as it stands there, which is not safe to print. Empty: none.
std::string_view UserDataInRequest(std::string_view xml);
/// The identifiers in it; one that is no UUID is "(no UUID)".
std::vector<std::string> IdentifiersInRequest(std::string_view xml);
/// Of three with that separator between them.
std::vector<std::string> SplitIdentifiers(std::string_view text, char separator);
/// Whether they are three, and each a UUID: then they name a task.
bool AreUuids(const std::vector<std::string>& identifiers);

}  // namespace Kyr::Probe
