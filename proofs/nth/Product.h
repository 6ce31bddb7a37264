// The simulated product in this process, healthy: what it was asked to do, and what it has to hand
// out. It belongs to the surroundings, with all of its threads.
//
// Threads: one, in a CSurroundings, which also owns the area's mutex.
#pragma once

#include <map>
#include <memory>
#include <string>

#include <boost/thread/mutex.hpp>

#include "lab/common/LineWriter.h"
#include "lab/simproduct/processes/Process.h"

namespace Kyr::Proofs::Nth {

/// Which it has; the older one is tried when the advanced one is not there.
enum class Ports { kBoth, kOlder };

class CProduct {
  public:
    static constexpr int kRecords = 3;  // of each kind, the same for ever

    CProduct();
    ~CProduct();
    CProduct(const CProduct&) = delete;
    CProduct& operator=(const CProduct&) = delete;

    /// Ports and area anew, nothing remembered but the records.
    void Restart(Ports ports);
    Ports OpenPorts() const { return ports_; }
    /// Nothing waits to be handed out, and nothing was done so far.
    void BeginLife();
    /// Broadcast value 2 changes, and the status with it.
    void ChangeStatus();
    /// What a log names as its status.
    std::uint64_t Status() const;
    void AddOutcome(const std::string& identifier);

    /// How often a task of that third identifier was carried out, and how often its outcome was
    /// handed out.
    int Done(const std::string& identifier) const;
    int HandedOut(const std::string& identifier) const;
    /// How often a policy came whole.
    int Policies() const;
    /// How many replies to tasks went to who had asked for the status before, as the module has it:
    /// finding none in it, the task fails there, and is sent again.
    int Overheard() const;

  private:
    struct Running;

    void Note(const Lab::CLine& line);

    const std::unique_ptr<Lab::SimProduct::IProcessLauncher> launcher_;
    mutable boost::mutex mutex_;  // guards the next five
    std::map<std::string, int> done_;
    std::map<std::string, int> handedOut_;
    int policies_ = 0;
    std::string receiver_;  // whose request came last, those of tasks left out
    int overheard_ = 0;
    Ports ports_ = Ports::kBoth;
    std::unique_ptr<Running> running_;
};

}  // namespace Kyr::Proofs::Nth
