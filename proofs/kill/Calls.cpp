#include "proofs/kill/Calls.h"

#include <boost/thread/thread.hpp>

#include "lab/common/EndThisProcess.h"

namespace Kyr::Proofs::Kill {

namespace {

std::atomic<Fate*> ours{nullptr};

thread_local int calls = 0;  // in which the thread is, one within the other

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
    if (++calls == 1) {
        Pass(name_, false);
    }
}

CCall::~CCall() {
    if (--calls == 0) {
        Pass(name_, true);
    }
}

}  // namespace Kyr::Proofs::Kill
