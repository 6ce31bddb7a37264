#include "tests/endurance/Watchdog.h"

#include <cstdlib>
#include <iostream>

#include "base/Clock.h"

namespace Kyr::Endurance {

namespace {

// Our own choice: the longest step takes a second where nothing else runs.
constexpr std::chrono::seconds kPatience(90);

}  // namespace

CWatchdog::CWatchdog() : thread_([this] { Watch(); }) {}

CWatchdog::~CWatchdog() {
    thread_.interrupt();
    thread_.join();
}

void CWatchdog::Tell(const char* what) {
    last_ = what;
    ++steps_;
}

void CWatchdog::Watch() {
    for (;;) {
        const std::uint64_t seen = steps_;
        Base::SystemClock()->SleepFor(kPatience);
        if (steps_ == seen) {
            std::cout << "hang: nothing has gone on since step " << seen << ", " << last_ << '\n'
                      << std::flush;
            std::abort();
        }
    }
}

}  // namespace Kyr::Endurance
