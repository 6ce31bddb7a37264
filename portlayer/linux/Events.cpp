// Events without a name.
#include "portlayer/ClassicFunctions.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/Waits.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;

class CEvent final : public CWaitable {
  public:
    CEvent(bool manualReset, bool initialState) : manualReset_(manualReset) {
        signalled_ = initialState;
    }
    void Consume() override { signalled_ = signalled_ && manualReset_; }

  private:
    const CLiveCount live_{LiveCounter::kEvents};
    const bool manualReset_;
};

Bool Change(Handle handle, bool signalled) {
    const auto event = Find<CEvent>(handle);
    if (!event) {
        return 0;
    }
    const auto lock = WaitLock();
    event->SetSignalled(signalled);
    return 1;
}

}  // namespace

Handle KYR_NTAPI CreateEventW(void*, Bool manualReset, Bool initialState, const char16_t* name) {
    if (name != nullptr) {
        return nullptr;
    }
    return AddHandle(std::make_shared<CEvent>(manualReset != 0, initialState != 0));
}

Bool KYR_NTAPI SetEvent(Handle event) {
    return Change(event, true);
}

Bool KYR_NTAPI ResetEvent(Handle event) {
    return Change(event, false);
}

}  // namespace Kyr::PortLayer
