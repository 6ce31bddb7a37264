// Ends the process when nothing has gone on for too long: a hang is a failure that says where it
// was, not a test that somebody has to kill.
//
// Threads: Tell from any thread; the watching thread is the object's own.
#pragma once

#include <atomic>
#include <cstdint>

#include <boost/thread/thread.hpp>

namespace Kyr::Endurance {

class CWatchdog {
  public:
    CWatchdog();
    ~CWatchdog();
    CWatchdog(const CWatchdog&) = delete;
    CWatchdog& operator=(const CWatchdog&) = delete;

    /// Something has gone on. `what`: a literal that names it.
    void Tell(const char* what);

  private:
    void Watch();

    std::atomic<std::uint64_t> steps_{0};
    std::atomic<const char*> last_{"the start"};
    boost::thread thread_;
};

}  // namespace Kyr::Endurance
