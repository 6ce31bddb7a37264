// A launcher without processes: numbers count up from 1000, and a process ends when it is killed or
// when the test lets it end. SetNextPid makes the next number any other, as a system that uses
// numbers again does.
//
// Threads: any. Ownership: must outlive the processes it makes.
#pragma once

#include <set>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {

class CFakeLauncher : public IProcessLauncher {
  public:
    std::unique_ptr<IProcess> Launch(const std::string& program,
                                     const std::vector<std::string>& arguments) override;

    /// Takes over any number that is asked for.
    std::unique_ptr<IProcess> Adopt(const std::string& program, std::uint64_t pid) override;

    void SetNextPid(std::uint64_t pid) { nextPid_ = pid; }
    /// Lets a running process end by itself.
    void End(std::uint64_t pid);

    /// "program argument argument" of every launch so far, "program #pid" of every adoption.
    std::vector<std::string> launches;

  private:
    class CProcess;

    std::unique_ptr<IProcess> Run(std::uint64_t pid);

    std::uint64_t nextPid_ = 1000;
    boost::mutex mutex_;
    boost::condition_variable ended_;
    std::set<std::uint64_t> running_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
