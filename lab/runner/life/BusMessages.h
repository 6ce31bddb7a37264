// Which events are about one message of the bus: its way over the bus, what the connector wrote and
// asked while it had it in hand, and what the product replied and did.
//
// A log line names no message, and a request only the identifiers of a task. The connector has one
// message in hand at a time, though, so that lines and requests between two certain ones are known.
// What belongs to a connection and not to a message has none.
//
// Threads: any.
#pragma once

#include <string>

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

/// Needs replies that are joined with their requests.
void JoinMessages(LifePage::Life& life);

/// The identifiers that a request carries for the product, as they stand in it; empty: none.
std::string UserData(const std::string& xml);

}  // namespace Kyr::Lab::Runner
