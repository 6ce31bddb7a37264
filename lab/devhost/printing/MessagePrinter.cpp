#include "lab/devhost/printing/MessagePrinter.h"

#include <exception>
#include <utility>

#include "lab/devhost/printing/LogPrinter.h"
#include "lab/devhost/resources/DataMiner.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Message = Common::Message;

std::string TypeText(Common::Kernel::MessageType type) {
    return std::to_string(static_cast<std::int32_t>(type));
}

CLine BusLine(const char* kind, const Publication& publication) {
    return CLine(kind)
        .With("type", TypeText(publication.message->GetMessageType()))
        .With("name", publication.message->GetName())
        .With("context", publication.ContextNumber());
}

/// What is worth a field of its own in messages that are no logs.
void AddContent(CLine& line, const Common::Kernel::IMessage& message) {
    if (const auto* request =
            dynamic_cast<const Message::Connectors::OvAgentConnector::COvAgentRequest*>(&message)) {
        line.With("request", std::to_string(request->GetRequestType()));
    }
    if (const auto* records = RecordsOf(message)) {
        line.With("records", std::uint64_t{records->size()});
    }
}

CLine StateLine(const Publication& publication) {
    CLine line = BusLine("message", publication).With("by", publication.publisher);
    const auto* control = dynamic_cast<const Message::CWriteControl*>(publication.message.get());
    if (control != nullptr) {
        line.With("read-only", control->IsReadOnly() ? "yes" : "no");
    }
    return line.With("with-context", publication.cameWithContext ? "yes" : "no");
}

}  // namespace

CMessagePrinter::CMessagePrinter(LineSink events, bool tellsRecords)
    : events_(std::move(events)), tellsRecords_(tellsRecords) {}

void CMessagePrinter::OnSubscribe(Common::Kernel::MessageType type, std::size_t subscriber) {
    events_(CLine("subscribe").With("type", TypeText(type)).With("to", std::uint64_t{subscriber}));
}

void CMessagePrinter::OnPublish(const Publication& publication) {
    CLine line = BusLine("publish", publication).With("by", publication.publisher);
    AddContent(line, *publication.message);
    events_(line);
    events_(StateLine(publication));
    const auto* records = tellsRecords_ ? RecordsOf(*publication.message) : nullptr;
    if (records != nullptr) {
        for (std::size_t index = 0; index < records->size(); ++index) {
            events_(BusLine("record", publication)
                        .With("row", std::to_string(index))
                        .With("text", (*records)[index]));
        }
    }
    const auto* log = dynamic_cast<const Message::CLogMessage*>(publication.message.get());
    if (log != nullptr) {
        PrintLog(publication, *log);
    }
}

void CMessagePrinter::PrintLog(const Publication& publication, const Message::CLogMessage& log) {
    for (const auto& [name, row] : RowsOf(log)) {
        CLine line = BusLine("symbols", publication).With("row", name);
        AddSymbols(line, *row);
        events_(line);
        for (std::size_t index = 0; index < row->GetCount(); ++index) {
            const auto value = row->GetValueAt(index);
            for (const std::string& bytes : value.val_blob()) {
                events_(BusLine("record", publication)
                            .With("row", name)
                            .With("symbol", SymbolKey(row->GetSymbolAt(index)))
                            .With("text", bytes));
            }
        }
    }
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
