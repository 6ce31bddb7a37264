// When the connector had no product, why, and how often it tried to have it back.
//
// Threads: any.
#pragma once

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

void TellOutages(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
