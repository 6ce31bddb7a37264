// What follows from the events of a life. Each of these is told by a source of its own, in the
// order in which they stand here.
//
// Threads: any.
#pragma once

#include <string>

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

/// What crosses between host and product: replies joined with their requests, and the bytes of both
/// taken apart, by the code of `ovprobe decode`.
void JoinExchanges(LifePage::Life& life);

/// Which events are about one message of the bus: its way over the bus, what the connector wrote
/// and asked while it had it in hand, and what the product replied and did. Needs joined exchanges.
///
/// A log line names no message, and a request only the identifiers of a task. The connector has one
/// message in hand at a time, though, so that lines and requests between two certain ones are
/// known. What belongs to a connection and not to a message has none.
void JoinMessages(LifePage::Life& life);

/// The identifiers that a request carries for the product, as they stand in it; empty: none.
std::string UserData(const std::string& xml);

/// The tasks that the server gave, and the road of each: given, asked, refused, tried again, done
/// or given up, and why. Needs events that know their message.
void TellTasks(LifePage::Life& life);

/// Which records left the product, in which replies, and what the host has of them.
void TellRecords(LifePage::Life& life);

/// When the connector was not connected, why, and how often it tried to be so again.
void TellOutages(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
