#include "lab/devhost/resources/DataMiner.h"

#include <utility>

#include "lab/devhost/resources/Publication.h"

namespace Kyr::Lab::DevHost {

namespace Kernel = Common::Kernel;

CDataMiner::CDataMiner(boost::shared_ptr<Kernel::IBusResource> bus, CDatabase& database,
                       CCollectionSteps& steps, CFailures& failures, LineSink events)
    : bus_(std::move(bus)),
      database_(database),
      steps_(steps),
      failures_(failures),
      events_(std::move(events)) {}

void CDataMiner::Publish(const boost::shared_ptr<Kernel::IMessage>& message,
                         const boost::shared_ptr<Kernel::IDeliveryContext>& context) {
    failures_.Meet(Failure::kPublish, message ? message->GetName() : "nothing");
    const std::vector<std::string>* const records = message ? RecordsOf(*message) : nullptr;
    if (records == nullptr) {
        bus_->Publish(message, context);
        return;
    }
    steps_.Pass(CollectionStep::kAfterReply);
    database_.StoreRecords(message->GetMessageType(), *records);
    events_(CLine("mined").With("name", message->GetName()).With("records", records->size()));
    bus_->Publish(message, context);
    steps_.Pass(CollectionStep::kAfterPublish);
}

void CDataMiner::Subscribe(const boost::shared_ptr<Kernel::ISubscriber>& subscriber,
                           Kernel::MessageType type) {
    bus_->Subscribe(subscriber, type);
}

}  // namespace Kyr::Lab::DevHost
