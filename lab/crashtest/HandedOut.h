// What the product has handed out, counted from its `handed` events by a process that nobody kills.
// An event is in our hands once it is written, whatever becomes of the product then.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::CrashTest {

class CHandedOut {
  public:
    void Take(const CLine& event);

    /// How many different records of that kind have gone out. A batch that would leave a gap is not
    /// counted: the product never hands one out.
    std::uint64_t Count(const std::string& kind) const;

    /// How many batches of any kind have gone out.
    std::uint64_t Batches() const;

    /// Waits until more than `batches` have gone out; false when a second does not bring one.
    bool AwaitBeyond(std::uint64_t batches) const;

  private:
    mutable boost::mutex mutex_;
    mutable boost::condition_variable changed_;
    std::map<std::string, std::uint64_t> counts_;  // guarded by mutex_
    std::uint64_t batches_ = 0;                    // guarded by mutex_
};

}  // namespace Kyr::Lab::CrashTest
