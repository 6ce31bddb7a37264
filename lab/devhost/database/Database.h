// The host database: one SQLite file with the key-value entries, the remediation actions, the
// records of the data miner and what the host keeps of itself.
//
// Every write is on disk when the call returns, so that the host may be killed at any time.
//
// Threads: any.
// Errors: CDatabaseError, where the interface has no other way.
#pragma once

#include <memory>
#include <string>

#include "lab/devhost/database/KeyValueMapper.h"
#include "lab/devhost/database/MinerStore.h"
#include "lab/devhost/database/RemediationMapper.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CDatabase final {
  public:
    /// Opens or creates the database in the file `path`.
    explicit CDatabase(const std::string& path);

    /// The instance identifier of this host, a UUID in text form; made with the database and kept
    /// in it.
    std::string InstanceUuid();
    /// Gives the host another one, whatever text that is.
    void SetInstanceUuid(const std::string& uuid);

    /// As CSqliteConnection's.
    const std::string& FirstFailure() const { return connection_.FirstFailure(); }

    CKeyValueMapper& KeyValues() { return *keyValues_; }
    CRemediationMapper& RemediationActions() { return *remediationActions_; }
    CMinerStore& Miner() { return *miner_; }

  private:
    CSqliteConnection connection_;
    std::unique_ptr<CKeyValueMapper> keyValues_;
    std::unique_ptr<CRemediationMapper> remediationActions_;
    std::unique_ptr<CMinerStore> miner_;
};

}  // namespace Kyr::Lab::DevHost
