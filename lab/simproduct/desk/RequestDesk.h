// Answers port requests: reads them, has their inner commands carried out, applies the faults that
// somebody asked for, and writes `request` and `reply` events. Both ports share one product.
//
// Threads: Answer by any thread, also by several at once; Stop by any thread.
// Ownership: commands and misbehaviours must outlive this.
// Errors: none leave Answer; what cannot be read is answered with an error status.
#pragma once

#include <functional>
#include <memory>

#include "base/Clock.h"
#include "base/Mutex.h"
#include "lab/common/LineWriter.h"
#include "lab/simproduct/commands/InnerCommands.h"
#include "lab/simproduct/desk/Misbehaviour.h"
#include "lab/simproduct/recording/Recording.h"

namespace Kyr::Lab::SimProduct {

class CRequestDesk {
  public:
    struct Settings {
        bool wire = false;                           // events carry the bytes
        std::function<void()> endProduct;            // what the fault `die` calls
        std::shared_ptr<CRecording> recording = {};  // answers what it can; null: there is none
    };

    CRequestDesk(const CInnerCommands& commands, CMisbehaviours& misbehaviours,
                 boost::shared_ptr<Base::IClock> clock, LineSink sink, Settings settings);

    /// Blocks for the time of a `delay` fault.
    PortAnswer Answer(const PortRequest& request);

    /// Ends every delay, now and later.
    void Stop();

  private:
    /// Tells what can be read of the request. Nothing: a ping, an unknown command, or unreadable.
    std::optional<InnerRequest> Read(const PortRequest& request, CLine& told) const;
    PortAnswer CarryOut(const PortRequest& request, const std::optional<InnerRequest>& inner,
                        const std::vector<Misbehaviour>& faults);
    void WriteReply(std::uint64_t id, const PortRequest& request, const PortAnswer& answer) const;
    void Delay(std::chrono::milliseconds duration);

    const CInnerCommands& commands_;  // borrowed
    CMisbehaviours& misbehaviours_;   // borrowed
    const boost::shared_ptr<Base::IClock> clock_;
    const LineSink sink_;
    const Settings settings_;

    Base::CMutex mutex_;
    Base::CCondition stopRequested_;
    bool stopping_ KYR_GUARDED_BY(mutex_) = false;
    std::uint64_t requests_ KYR_GUARDED_BY(mutex_) = 0;
};

}  // namespace Kyr::Lab::SimProduct
