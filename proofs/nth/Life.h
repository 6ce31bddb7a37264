// One life of the real module in which one fault comes: load, start, each of its nine tasks, the
// watch, stop, unload. Afterwards the account must balance, and the module must work again.
//
// Threads: one, in a CSurroundings. Errors: what is found wrong is a sentence in the result.
#pragma once

#include <string>
#include <vector>

#include "module/OvAgentConnectorModule.h"
#include "proofs/nth/BoundedClock.h"
#include "proofs/nth/Faults.h"
#include "proofs/nth/Host.h"
#include "proofs/nth/Naming.h"
#include "proofs/nth/Product.h"

namespace Kyr::Proofs::Nth {

/// In which part of the life the fault comes.
enum class Part { kWork, kEnd };

class CLife {
  public:
    using Problems = std::vector<std::string>;

    CLife(CProduct& product, boost::shared_ptr<CBoundedClock> clock);
    ~CLife();
    CLife(const CLife&) = delete;
    CLife& operator=(const CLife&) = delete;

    /// REQUIRES: called once.
    Problems Run(Part part, const Fault& fault);
    bool HasStruck() const { return struck_; }
    /// What the module said at level 3 and above.
    std::vector<std::string> Lines() const { return host_.Lines(3); }

  private:
    using Module = Connectors::OvAgentConnector::COvAgentConnectorModule;

    bool Load();
    bool StartModule();
    void Begin();
    void Work(const Fault& fault);
    void WorkAgain();
    void ChangeStatus();
    void End();
    /// Ends the fault.
    void Lift();
    /// Whether some line says what a lasting fault of the port's calls costs, if it costs anything.
    bool PortIsNamed(const Fault& fault) const;
    /// Whether the watch has had the time to tell a change, and has not.
    bool IsChangeLate() const;
    int TaskStatusesTold(const std::string& identifier) const;
    bool WasStatusTold() const;
    std::ptrdiff_t WrongReplies() const;
    Effects WhatWasSeen() const;
    template <typename Condition>
    void Expect(const char* what, const Condition& condition);
    void ExpectAccount(const Fault& fault);

    CProduct& product_;
    const boost::shared_ptr<CBoundedClock> clock_;
    CHost host_;
    std::unique_ptr<Module> module_;
    bool struck_ = false;
    bool hostWasTold_ = false;  // by an exception
    std::uint64_t firstLook_;   // how many looks there were before
    int connections_ = 0;       // when the status changed last
    int triggers_ = 0;          // for the status, at the same time
    std::uint64_t looks_ = 0;   // at the same time
    bool changeCameLate_ = false;
    Problems problems_;
};

}  // namespace Kyr::Proofs::Nth
