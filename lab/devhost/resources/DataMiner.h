// The bus as modules see it, with the data miner in front: records are on disk before Publish
// returns.
//
// A module counts what it has published as delivered. Were records to wait in the bus's queue, a
// kill of the host could take them with it.
//
// Writes a `mined` event for each batch of records.
//
// Threads: any.
// Ownership: database, steps and failures must outlive this; the bus is shared.
// Errors: Publish throws std::runtime_error when the records cannot be stored, or when it is to
// fail on request; nothing is published then.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/CollectionSteps.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

class CDataMiner final : public Common::Kernel::IBusResource {
  public:
    CDataMiner(boost::shared_ptr<Common::Kernel::IBusResource> bus, CDatabase& database,
               CCollectionSteps& steps, CFailures& failures, LineSink events);

    void Publish(const boost::shared_ptr<Common::Kernel::IMessage>& message,
                 const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context) override;
    void Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                   Common::Kernel::MessageType type) override;

  private:
    const boost::shared_ptr<Common::Kernel::IBusResource> bus_;
    CDatabase& database_;      // borrowed
    CCollectionSteps& steps_;  // borrowed
    CFailures& failures_;      // borrowed
    const LineSink events_;
};

}  // namespace Kyr::Lab::DevHost
