// Which records left the product, in which replies, and what the host has of them.
//
// Threads: any.
#pragma once

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

void TellRecords(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
