// What crosses between host and product: replies joined with their requests, and the bytes of both
// taken apart, by the code of `ovprobe decode`.
//
// Threads: any.
#pragma once

#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

void JoinExchanges(LifePage::Life& life);

}  // namespace Kyr::Lab::Runner
