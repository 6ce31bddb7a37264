#include "lab/devhost/MessagePrinter.h"

#include <utility>

namespace Kyr::Lab::DevHost {

namespace {

std::string TypeOf(const CPublication& publication) {
    return std::to_string(static_cast<std::int32_t>(publication.message->GetMessageType()));
}

CLine BusLine(const char* kind, const CPublication& publication) {
    return CLine(kind)
        .With("type", TypeOf(publication))
        .With("name", publication.message->GetName())
        .With("context", publication.ContextNumber());
}

}  // namespace

CMessagePrinter::CMessagePrinter(LineSink events) : events_(std::move(events)) {}
CMessagePrinter::~CMessagePrinter() = default;

void CMessagePrinter::OnPublish(const CPublication& publication) {
    events_(BusLine("publish", publication).With("by", publication.publisher));
}

void CMessagePrinter::OnDeliver(const CPublication& publication, std::size_t subscriber) {
    events_(BusLine("deliver", publication).With("to", subscriber));
}

void CMessagePrinter::OnDeliveryFailed(const CPublication& publication, std::size_t subscriber,
                                       const std::string& text) {
    events_(BusLine("error", publication).With("to", subscriber).With("text", text));
}

}  // namespace Kyr::Lab::DevHost
