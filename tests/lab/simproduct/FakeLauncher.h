// A launcher without processes: numbers count up from 1000, and a process ends when it is killed or
// when the test lets it end. SetNextPid makes the next number any other, as a system that uses
// numbers again does.
//
// Threads: any. Ownership: must outlive the processes it makes.
#pragma once

#include <set>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {

class CFakeLauncher : public IProcessLauncher {
  public:
    std::unique_ptr<IProcess> Launch(const std::string& program,
                                     const std::vector<std::string>& arguments) override {
        launches.push_back(program);
        for (const std::string& argument : arguments) {
            launches.back() += ' ' + argument;
        }
        return Run(nextPid_++);
    }

    /// Takes over any number that is asked for.
    std::unique_ptr<IProcess> Adopt(const std::string& program, std::uint64_t pid) override {
        launches.push_back(program + " #" + std::to_string(pid));
        return Run(pid);
    }

    void SetNextPid(std::uint64_t pid) { nextPid_ = pid; }

    /// Lets a running process end by itself. False when it had ended before.
    bool End(std::uint64_t pid) {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        ended_.notify_all();
        return running_.erase(pid) == 1;
    }

    /// "program argument argument" of every launch so far, "program #pid" of every adoption.
    std::vector<std::string> launches;

  private:
    class CProcess : public IProcess {
      public:
        CProcess(CFakeLauncher& launcher, std::uint64_t pid) : launcher_(launcher), pid_(pid) {}

        std::uint64_t Pid() const override { return pid_; }
        bool Kill() override { return launcher_.End(pid_); }
        void Wait() override { launcher_.AwaitEnd(pid_); }

      private:
        CFakeLauncher& launcher_;
        const std::uint64_t pid_;
    };

    std::unique_ptr<IProcess> Run(std::uint64_t pid) {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        running_.insert(pid);
        return std::make_unique<CProcess>(*this, pid);
    }

    void AwaitEnd(std::uint64_t pid) {
        boost::unique_lock<boost::mutex> lock(mutex_);
        ended_.wait(lock, [&] { return running_.count(pid) == 0; });
    }

    std::uint64_t nextPid_ = 1000;
    boost::mutex mutex_;
    boost::condition_variable ended_;
    std::set<std::uint64_t> running_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
