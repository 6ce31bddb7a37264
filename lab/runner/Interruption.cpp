#include "lab/runner/Interruption.h"

#include <atomic>
#include <csignal>

namespace Kyr::Lab::Runner {

namespace {

std::atomic<bool> asked{false};
static_assert(std::atomic<bool>::is_always_lock_free,
              "a signal may come at any time, on any thread");

extern "C" void Note(int signal) {
    std::signal(signal, Note);  // on Windows it holds for one time
    asked = true;
}

}  // namespace

CInterruption::CInterruption() {
    std::signal(SIGINT, Note);
    std::signal(SIGTERM, Note);
}

CInterruption::~CInterruption() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    asked = false;
}

bool CInterruption::Asked() {
    return asked;
}

}  // namespace Kyr::Lab::Runner
