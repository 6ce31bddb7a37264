// The simulated product in this process, which goes wrong at random: in its replies, in its ports,
// in its broadcast area.
//
// Threads: one, which also owns the area's mutex.
#pragma once

#include <memory>
#include <random>

#include "lab/simproduct/SimulatedProduct.h"
#include "tests/endurance/TaskLedger.h"

namespace Kyr::Endurance {

using Random = std::mt19937_64;

class CFaultyProduct {
  public:
    explicit CFaultyProduct(CTaskLedger& ledger);
    ~CFaultyProduct();

    /// Comes, or goes and comes again, as a process would: ports and area anew, nothing remembered.
    void Restart();
    void End();
    bool IsThere() const { return running_ != nullptr; }

    /// One fault for the next request that it fits; `hang`: never to answer it.
    void MisbehaveOnce(Random& random, bool hang);
    /// Another value, a moved table, a lie, or an end of all lies.
    void ChangeArea(Random& random);
    /// Closes one port for the rest of this run.
    void CloseAPort(Random& random);

  private:
    CTaskLedger& ledger_;
    const std::unique_ptr<Lab::SimProduct::IProcessLauncher> launcher_;
    Lab::SimProduct::CMisbehaviours misbehaviours_;
    std::unique_ptr<Lab::SimProduct::SimulatedProduct> running_;
};

}  // namespace Kyr::Endurance
