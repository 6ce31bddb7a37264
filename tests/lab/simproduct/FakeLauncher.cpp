#include "tests/lab/simproduct/FakeLauncher.h"

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

class CFakeLauncher::CProcess : public IProcess {
  public:
    CProcess(CFakeLauncher& launcher, std::uint64_t pid) : launcher_(launcher), pid_(pid) {}

    std::uint64_t Pid() const override { return pid_; }

    bool Kill() override {
        const boost::lock_guard<boost::mutex> lock(launcher_.mutex_);
        launcher_.ended_.notify_all();
        return launcher_.running_.erase(pid_) == 1;
    }

    void Wait() override {
        boost::unique_lock<boost::mutex> lock(launcher_.mutex_);
        while (launcher_.running_.count(pid_) == 1) {
            launcher_.ended_.wait(lock);
        }
    }

  private:
    CFakeLauncher& launcher_;
    const std::uint64_t pid_;
};

std::unique_ptr<IProcess> CFakeLauncher::Launch(const std::string& program,
                                                const std::vector<std::string>& arguments) {
    std::string launch = program;
    for (const std::string& argument : arguments) {
        launch += ' ' + argument;
    }
    launches.push_back(launch);
    return Run(nextPid_++);
}

std::unique_ptr<IProcess> CFakeLauncher::Adopt(const std::string& program, std::uint64_t pid) {
    launches.push_back(program + " #" + std::to_string(pid));
    return Run(pid);
}

std::unique_ptr<IProcess> CFakeLauncher::Run(std::uint64_t pid) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    running_.insert(pid);
    return std::make_unique<CProcess>(*this, pid);
}

void CFakeLauncher::End(std::uint64_t pid) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    running_.erase(pid);
    ended_.notify_all();
}

}  // namespace Kyr::Lab::SimProduct
