// The database as modules see it: each use that belongs to a collection is told as a step of it.
//
// Threads: any.
// Ownership: database and steps must outlive this.
#pragma once

#include "host/kernel/Resources.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/CollectionSteps.h"

namespace Kyr::Lab::DevHost {

class CSteppedDatabase final : public Common::Kernel::IDatabaseResource {
  public:
    CSteppedDatabase(CDatabase& database, CCollectionSteps& steps);
    ~CSteppedDatabase() override;

    /// As CDatabase does; a mapper must not outlive the database.
    boost::shared_ptr<Common::Database::IMapper> GetMapper(int number) override;

  private:
    const boost::shared_ptr<Common::Database::IMapper> keyValues_;
    const boost::shared_ptr<Common::Database::IMapper> remediationActions_;
};

}  // namespace Kyr::Lab::DevHost
