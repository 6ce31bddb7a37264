// The database as modules see it: each use is told on demand as `mapper`, `read` or `write`, and
// one that belongs to a collection is a step of it. It can fail on request, and then is neither.
//
// Threads: any.
// Ownership: database, steps and failures must outlive this.
// Errors: as CDatabase, and std::runtime_error from a read that fails on request.
#pragma once

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/CollectionSteps.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

class CModuleDatabase final : public Common::Kernel::IDatabaseResource {
  public:
    CModuleDatabase(CDatabase& database, CCollectionSteps& steps, CFailures& failures,
                    LineSink events);

    /// 348 and 388; any other number gives an empty pointer. A mapper must not outlive the
    /// database.
    boost::shared_ptr<Common::Database::IMapper> GetMapper(int number) override;

  private:
    const LineSink events_;
    const boost::shared_ptr<Common::Database::IMapper> keyValues_;
    const boost::shared_ptr<Common::Database::IMapper> remediationActions_;
};

}  // namespace Kyr::Lab::DevHost
