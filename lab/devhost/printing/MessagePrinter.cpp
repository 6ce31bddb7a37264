#include "lab/devhost/printing/MessagePrinter.h"

#include <exception>
#include <utility>

#include "lab/devhost/printing/LogPrinter.h"
#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Message = Common::Message;

std::string TypeOf(const Publication& publication) {
    return std::to_string(static_cast<std::int32_t>(publication.message->GetMessageType()));
}

CLine BusLine(const char* kind, const Publication& publication) {
    return CLine(kind)
        .With("type", TypeOf(publication))
        .With("name", publication.message->GetName())
        .With("context", publication.ContextNumber());
}

template <typename Batch>
void AddRecordCount(CLine& line, const Common::Kernel::IMessage& message) {
    if (const auto* batch = dynamic_cast<const Batch*>(&message)) {
        line.With("records", std::uint64_t{batch->GetLogs().size()});
    }
}

/// What is worth a field of its own in messages that are no logs.
void AddContent(CLine& line, const Common::Kernel::IMessage& message) {
    if (const auto* request =
            dynamic_cast<const Message::Connectors::OvAgentConnector::COvAgentRequest*>(&message)) {
        line.With("request", std::to_string(request->GetRequestType()));
    }
    AddRecordCount<Message::DataMiners::CDataMinerStoreEcsIndicatorLogs>(line, message);
    AddRecordCount<Message::DataMiners::CDataMinerStoreEcsTelemetryLogs>(line, message);
}

}  // namespace

CMessagePrinter::CMessagePrinter(LineSink events) : events_(std::move(events)) {}
CMessagePrinter::~CMessagePrinter() = default;

void CMessagePrinter::OnPublish(const Publication& publication) {
    CLine line = BusLine("publish", publication).With("by", publication.publisher);
    AddContent(line, *publication.message);
    events_(line);
    const auto* log = dynamic_cast<const Message::CLogMessage*>(publication.message.get());
    if (log != nullptr) {
        PrintLog(publication, *log);
    }
}

void CMessagePrinter::PrintLog(const Publication& publication, const Message::CLogMessage& log) {
    VisitRows(log, [&](const std::string& name, const Common::Logs::ISymbolContainer& row) {
        CLine line = BusLine("symbols", publication).With("row", name);
        AddSymbols(line, row);
        events_(line);
    });
    try {
        log.Validate();
    } catch (const std::exception& exception) {
        events_(BusLine("error", publication).With("text", exception.what()));
    }
}

void CMessagePrinter::OnDeliver(const Publication& publication, std::size_t subscriber) {
    events_(BusLine("deliver", publication).With("to", std::uint64_t{subscriber}));
}

void CMessagePrinter::OnDeliveryFailed(const Publication& publication, std::size_t subscriber,
                                       const std::string& text) {
    events_(BusLine("error", publication).With("to", std::uint64_t{subscriber}).With("text", text));
}

}  // namespace Kyr::Lab::DevHost
