#include "proofs/common/Processor.h"

#include <cstddef>
#include <sched.h>

namespace Kyr::Proofs {

namespace {

void StayOn(int processor) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(processor), &one);
    ::sched_setaffinity(0, sizeof one, &one);
}

}  // namespace

void StayOnOneProcessor() {
    if (const int here = ::sched_getcpu(); here >= 0) {
        StayOn(here);
    }
}

void StayOnProcessor(unsigned number) {
    cpu_set_t all;
    CPU_ZERO(&all);
    if (::sched_getaffinity(0, sizeof all, &all) != 0) {
        return;
    }
    number %= static_cast<unsigned>(CPU_COUNT(&all));
    for (int processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(static_cast<std::size_t>(processor), &all) && number-- == 0) {
            StayOn(processor);
            return;
        }
    }
}

}  // namespace Kyr::Proofs
