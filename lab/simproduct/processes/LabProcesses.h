// The processes that this product has started and may therefore end.
//
// Writes `started`, `adopted` and `ended` events. A process is remembered after its end, so that a
// request to end it can be answered truthfully; its number may by then belong to somebody else's
// process, which is never touched.
//
// Threads: any. One watching thread a process, which ends with it.
// Ownership: the launcher must outlive this; the destructor ends and awaits every process.
// Errors: std::runtime_error from Start and Adopt.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "lab/common/LineWriter.h"
#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {

/// A program file and its digests, as the product knows executables.
struct Program {
    std::string path;
    std::string sha1;    // lower-case hexadecimal
    std::string sha256;  // lower-case hexadecimal
};

/// Reads the file whole. Errors: std::runtime_error when it cannot be read.
Program ReadProgram(const std::string& path);

struct LabProcess {
    std::string name;
    std::uint64_t pid = 0;
    Program program;
    bool running = true;
    bool adopted = false;  // another product has started it
};

class CLabProcesses {
  public:
    CLabProcesses(IProcessLauncher& launcher, LineSink sink);
    ~CLabProcesses();

    /// Calls `observer` with each process that this product starts, then and when it has ended.
    /// REQUIRES: there is none yet. It must not call back.
    void Observe(std::function<void(const LabProcess&)> observer) {
        observer_ = std::move(observer);
    }

    /// Starts a program under a name of its own. Refuses a name that a running process has.
    LabProcess Start(const std::string& name, const Program& program,
                     const std::vector<std::string>& arguments);

    /// Takes over a process of `program` that a product before this one started.
    LabProcess Adopt(const std::string& name, const Program& program, std::uint64_t pid);

    /// The latest process of that number.
    std::optional<LabProcess> Find(std::uint64_t pid) const;

    /// Ends a running process because a request says so; `onKilled` is called before its `ended`
    /// event. False when no process of this product with that number is running.
    bool Kill(std::uint64_t pid, const std::function<void()>& onKilled);

    /// Ends every process and awaits the watching threads.
    void EndAll();

  private:
    struct Entry {
        LabProcess facts;
        std::unique_ptr<IProcess> process;
        std::string endedBy = "itself";
    };

    using Launch = std::function<std::unique_ptr<IProcess>()>;

    LabProcess Keep(bool adopted, const std::string& name, const Program& program,
                    const Launch& launch);
    void Watch(Entry& entry);
    void Tell(const LabProcess& process) const;
    Entry* FindEntry(std::uint64_t pid) const;

    IProcessLauncher& launcher_;  // borrowed
    const LineSink sink_;
    std::function<void(const LabProcess&)> observer_;

    mutable boost::mutex mutex_;
    std::vector<std::unique_ptr<Entry>> entries_;  // guarded by mutex_; never shrinks
    boost::thread_group watchers_;
};

}  // namespace Kyr::Lab::SimProduct
