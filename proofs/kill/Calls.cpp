#include "proofs/kill/Calls.h"

#include <boost/thread/thread.hpp>

#include "lab/common/EndThisProcess.h"

namespace Kyr::Proofs::Kill {

namespace {

std::atomic<Fate*> ours{nullptr};

void Pass(const char* call, bool behind) noexcept {
    Fate* const fate = ours;
    if (fate == nullptr || ++fate->moments != fate->dieAt) {
        return;
    }
    fate->behind = behind;
    fate->call = call;
    Lab::EndThisProcess();
}

}  // namespace

void Pause(const Fate& fate) {
    boost::this_thread::sleep_for(boost::chrono::microseconds(fate.pause.count()));
}

void BeginLife(Fate& fate) {
    ours = &fate;
}

CCall::CCall(const char* name) noexcept : name_(name) {
    Pass(name_, false);
}

CCall::~CCall() {
    Pass(name_, true);
}

}  // namespace Kyr::Proofs::Kill
