#include "module/Turnstile.h"

namespace Kyr::Connectors::OvAgentConnector {

CTurnstile::CTurnstile() = default;
CTurnstile::~CTurnstile() = default;

CTurnstile::CPassage::CPassage(CTurnstile& turnstile) : turnstile_(turnstile) {
    Base::CLock lock(turnstile_.mutex_);
    while (turnstile_.taken_) {
        turnstile_.left_.Wait(lock);
    }
    turnstile_.taken_ = true;
}

CTurnstile::CPassage::~CPassage() {
    const Base::CLock lock(turnstile_.mutex_);
    turnstile_.taken_ = false;
    // All: one that is being interrupted at this moment may take the signal and leave.
    turnstile_.left_.NotifyAll();
}

}  // namespace Kyr::Connectors::OvAgentConnector
