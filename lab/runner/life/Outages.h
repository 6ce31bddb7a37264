// When the connector was not connected, why, and how often it tried to be so again.
//
// Threads: any.
#pragma once

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

void TellOutages(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
