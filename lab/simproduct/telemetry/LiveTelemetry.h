// Real telemetry: a record for each process of this product that starts or ends.
//
// Writes an `observed` event for each record.
//
// Threads: any. Ownership: the lists must outlive this. Errors: those of the lists.
#pragma once

#include <atomic>

#include <boost/shared_ptr.hpp>

#include "base/Clock.h"
#include "lab/common/LineWriter.h"
#include "lab/simproduct/processes/LabProcesses.h"
#include "lab/simproduct/records/RecordLists.h"

namespace Kyr::Lab::SimProduct {

class CLiveTelemetry {
  public:
    CLiveTelemetry(CRecordLists& lists, boost::shared_ptr<Base::IClock> clock, LineSink sink);

    /// Whether what is noted from now on is recorded. It is not at first.
    void Switch(bool on) { on_ = on; }
    /// The process has just started or ended.
    void Note(const LabProcess& process);

  private:
    CRecordLists& lists_;  // borrowed
    const boost::shared_ptr<Base::IClock> clock_;
    const LineSink sink_;
    std::atomic<bool> on_{false};
};

}  // namespace Kyr::Lab::SimProduct
