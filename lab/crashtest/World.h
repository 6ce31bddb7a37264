// One product and one host on a stage of their own, to be killed and started again.
//
// Threads: one at a time.
// Errors: std::runtime_error when a program does not do what it must.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lab/crashtest/RecordLedger.h"
#include "lab/devhost/database/Database.h"
#include "lab/runner/Stage.h"

namespace Kyr::Lab::CrashTest {

/// The kinds of records, in the product's order, and how host and product call what belongs to
/// each.
struct RecordSource {
    const char* name;       // as the product calls it
    const char* trigger;    // the number of the request for it
    const char* offsetKey;  // in the host's database
    /// All that the host has stored, in order.
    std::vector<std::string> (*stored)(DevHost::CDatabase& database);
};
extern const RecordSource kKinds[3];

class CWorld {
  public:
    /// The folders of the stage are empty; `batch` is how many records one reply carries.
    CWorld(Runner::Stage stage, std::uint64_t batch);

    /// Returns when the product serves.
    void StartProduct();
    /// Errors: the product has ended before.
    void KillProduct();

    /// More records of each kind. REQUIRES: the product runs.
    void Append(std::uint64_t count);
    /// Asks, by a host that is started for it, for every kind of records, that many times.
    void Collect(int times);
    /// Waits until the product hands out the first of what Collect asked for; false when a second
    /// does not bring it.
    bool AwaitBatch() const;

    void StartHost(const std::vector<std::string>& options = {});
    /// Errors: the host has ended before; whatever ended it was not this kill.
    void KillHost();
    /// Waits for a host that was told to kill itself. Errors: it ends in any other way.
    void AwaitKilledHost();

    /// Asks for every kind of records, that many times.
    void Trigger(int times);
    /// Asks again and again until everything that was appended is stored and counted. Errors: it
    /// takes too long, or the host ends.
    void Drain(std::chrono::seconds patience);
    void QuitBoth();

    /// Closes the accounts of a host that has ended.
    void CloseLife();

    const CRecordLedger& Ledger(std::size_t kind) const { return ledgers_.at(kind); }
    std::uint64_t Appended() const { return appended_; }

  private:
    void Command(const std::string& line);
    void BuryHost();
    /// Enters what the product has told of, as it ends.
    void BuryProduct();
    /// Enters what the product has got since the last call.
    void ExpectNewRecords();

    const Runner::Stage stage_;
    const std::uint64_t batch_;
    std::array<CRecordLedger, 3> ledgers_;  // in the order of kKinds
    std::uintmax_t recordsRead_ = 0;        // bytes of the product's file
    std::uint64_t appended_ = 0;            // of each kind
    std::size_t answers_ = 0;               // of this product
    std::size_t collectedFrom_ = 0;         // its events that Collect has brought about
    std::unique_ptr<Runner::CActor> product_;
    std::unique_ptr<Runner::CActor> host_;
};

}  // namespace Kyr::Lab::CrashTest
