#include "lab/runner/Interruption.h"

#include <csignal>

namespace Kyr::Lab::Runner {

namespace {

volatile std::sig_atomic_t asked = 0;

extern "C" void Note(int signal) {
    std::signal(signal, Note);  // on Windows it holds for one time
    asked = 1;
}

}  // namespace

CInterruption::CInterruption() {
    std::signal(SIGINT, Note);
    std::signal(SIGTERM, Note);
}

CInterruption::~CInterruption() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    asked = 0;
}

bool CInterruption::Asked() {
    return asked != 0;
}

}  // namespace Kyr::Lab::Runner
