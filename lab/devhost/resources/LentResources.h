// All that the host lends a module, by number.
//
// In front of the bus stands the data miner: a module counts what it has published as delivered,
// and were records to wait in the bus's queue, a kill of the host could take them with it. So they
// are on disk before Publish returns, which is told as `mined` for each batch.
//
// What a module asks for, reads and writes is told on demand, as `resource`, `mapper`, `read` and
// `write`. What it does with offsets, records and actions are steps of a collection; whatever fails
// on request is neither.
//
// Threads: any.
// Errors: std::runtime_error from what fails on request, except that a write of the database is
// refused. CDatabaseError when the database fails, from the constructor, from reading and from
// Publish; nothing is published then.
#pragma once

#include <map>
#include <vector>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/CollectionSteps.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

/// What lies behind the resources; all of it must outlive them.
struct LentSources {
    boost::shared_ptr<Common::Kernel::IBusResource> bus;
    CDatabase& database;
    CCollectionSteps& steps;
    CFailures& failures;
    LineSink events;
    LineSink logFile;  // takes the lines of the host log once more
};

class CLentResources final : public Common::Kernel::IResourceProvider {
  public:
    explicit CLentResources(const LentSources& sources);

    boost::shared_ptr<Common::Kernel::IResource> GetResource(int number) override;

  private:
    const LineSink events_;
    const std::map<int, boost::shared_ptr<Common::Kernel::IResource>> resources_;
};

}  // namespace Kyr::Lab::DevHost
