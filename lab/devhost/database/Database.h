// The host database: one SQLite file with the key-value entries, the remediation actions, the
// records of the data miner and what the host keeps of itself.
//
// Every write is on disk when the call returns, so that the host may be killed at any time.
//
// Threads: any.
// Errors: CDatabaseError, where the interface has no other way.
#pragma once

#include <string>

#include "host/kernel/Resources.h"
#include "lab/devhost/database/KeyValueMapper.h"
#include "lab/devhost/database/MinerStore.h"
#include "lab/devhost/database/RemediationMapper.h"
#include "lab/devhost/database/Sqlite.h"

namespace Kyr::Lab::DevHost {

class CDatabase final : public Common::Kernel::IDatabaseResource {
  public:
    /// Opens or creates the database in the file `path`.
    explicit CDatabase(const std::string& path);
    ~CDatabase() override;

    /// 348 and 388; any other number gives an empty pointer. A mapper must not outlive the
    /// database.
    boost::shared_ptr<Common::Database::IMapper> GetMapper(int number) override;

    /// The instance identifier of this host, a UUID in text form; made with the database and kept
    /// in it.
    std::string InstanceUuid();

    /// As CSqliteConnection's.
    const std::string& FirstFailure() const { return connection_.FirstFailure(); }

    CKeyValueMapper& KeyValues() { return *keyValues_; }
    CRemediationMapper& RemediationActions() { return *remediationActions_; }
    CMinerStore& Miner() { return *miner_; }

  private:
    CSqliteConnection connection_;
    boost::shared_ptr<CKeyValueMapper> keyValues_;
    boost::shared_ptr<CRemediationMapper> remediationActions_;
    std::unique_ptr<CMinerStore> miner_;
};

}  // namespace Kyr::Lab::DevHost
