// The tasks that the server gave, and the road of each: given, asked, refused, tried again, done or
// given up, and why.
//
// Threads: any.
#pragma once

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

/// Needs events that know their message.
void TellTasks(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
