#include "lab/devhost/resources/Publication.h"

#include <exception>

#include <boost/pointer_cast.hpp>

#include "lab/devhost/printing/LogPrinter.h"
#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Message = Common::Message;

CLine PublishLine(const Publication& publication) {
    CLine line = BusLine("publish", publication).With("by", publication.publisher);
    if (const auto* request =
            dynamic_cast<const Message::Connectors::OvAgentConnector::COvAgentRequest*>(
                publication.message.get())) {
        line.With("request", std::to_string(request->GetRequestType()));
    }
    if (const auto* records = RecordsOf(*publication.message)) {
        line.With("records", std::uint64_t{records->size()});
    }
    return line;
}

CLine StateLine(const Publication& publication) {
    CLine line = BusLine("message", publication).With("by", publication.publisher);
    const auto* control = dynamic_cast<const Message::CWriteControl*>(publication.message.get());
    if (control != nullptr) {
        line.With("read-only", control->IsReadOnly() ? "yes" : "no");
    }
    return line.With("with-context", publication.cameWithContext ? "yes" : "no");
}

void TellRecords(const Publication& publication, const LineSink& events) {
    if (const auto* records = RecordsOf(*publication.message)) {
        for (std::size_t index = 0; index < records->size(); ++index) {
            events(BusLine("record", publication)
                       .With("row", std::to_string(index))
                       .With("text", (*records)[index]));
        }
    }
}

void TellLog(const Publication& publication, const Message::CLogMessage& log,
             const LineSink& events) {
    TellRows(
        log, [&](const char* kind) { return BusLine(kind, publication); }, events);
    try {
        log.Validate();
    } catch (const std::exception& exception) {
        events(BusLine("error", publication).With("text", exception.what()));
    }
}

}  // namespace

const std::vector<std::string>* RecordsOf(const Common::Kernel::IMessage& message) {
    namespace Miner = Message::DataMiners;
    if (const auto* indicators =
            dynamic_cast<const Miner::CDataMinerStoreEcsIndicatorLogs*>(&message)) {
        return &indicators->GetLogs();
    }
    const auto* telemetry = dynamic_cast<const Miner::CDataMinerStoreEcsTelemetryLogs*>(&message);
    return telemetry == nullptr ? nullptr : &telemetry->GetLogs();
}

std::string TypeText(Common::Kernel::MessageType type) {
    return std::to_string(static_cast<std::int32_t>(type));
}

CLine BusLine(const char* kind, const Publication& publication) {
    const auto own = boost::dynamic_pointer_cast<CDeliveryContext>(publication.context);
    return CLine(kind)
        .With("type", TypeText(publication.message->GetMessageType()))
        .With("name", publication.message->GetName())
        .With("context", own ? own->Number() : 0);
}

void TellPublished(const Publication& publication, bool tellsRecords, const LineSink& events) {
    events(PublishLine(publication));
    events(StateLine(publication));
    if (tellsRecords) {
        TellRecords(publication, events);
    }
    const auto* log = dynamic_cast<const Message::CLogMessage*>(publication.message.get());
    if (log != nullptr) {
        TellLog(publication, *log, events);
    }
}

}  // namespace Kyr::Lab::DevHost
