#include "tests/endurance/CountingHost.h"

#include <algorithm>

#include <boost/thread/lock_guard.hpp>

#include "host/logs/Symbols.h"
#include "logs/EventLog.h"

namespace Kyr::Endurance {

namespace Symbol = Common::Logs::Symbols::Task;

namespace {

using Common::Kernel::MessageType;
using Guard = boost::lock_guard<boost::mutex>;

// Our own choice: more than a module ever has waiting while its product answers.
constexpr std::size_t kMostWaiting = 10;

bool IsTrigger(const Common::Kernel::IMessage& message) {
    return message.GetMessageType() == MessageType::OvAgentRequest;
}

}  // namespace

CCountingHost::CCountingHost(CTaskLedger& ledger) : ledger_(ledger) {
    resources.bus->SetRecording(false);
    resources.bus->OnPublish([this](const Message& message) { OnPublish(message); });
    resources.log->SetRecording(false);
    resources.log->OnLine([this](const Test::LogEntry& line) {
        errors_ += line.level == 4 ? 1 : 0;
        connected_ = connected_ || line.text == "Connected to product, processing tasks";
    });
    for (const auto& [key, value] : {std::pair{"XDR_ENABLED", "1"}, {"XDR_HOST", "server"}}) {
        resources.database->keyValues->SetValue(key, value);
    }
}

void CCountingHost::OnPublish(const Message& message) {
    if (message->GetMessageType() == MessageType::TaskEvent) {
        const auto& event = dynamic_cast<const Common::Message::Logs::CEventLog&>(*message);
        const auto symbols = event.GetSymbols();
        ledger_.Reported(
            symbols->GetUuid(Symbol::kThirdIdentifier).uuid(), symbols->GetInt32(Symbol::kStatus),
            symbols->GetResourceId(Symbol::kOutcome), symbols->GetInt64(Symbol::kSeverity));
    }
    if (!IsTrigger(*message) || CountHeld(triggers_) < kMostWaiting) {
        Deliver(message);
    }
}

void CCountingHost::Deliver(const Message& message) {
    {
        const Guard guard(mutex_);
        (IsTrigger(*message) ? triggers_ : messages_).push_back(message);
    }
    resources.bus->Deliver(message);
}

std::size_t CCountingHost::Unfinished() {
    return CountHeld(messages_);
}

std::size_t CCountingHost::CountHeld(Delivered& delivered) {
    const Guard guard(mutex_);
    const auto finished = [](const auto& message) { return message.expired(); };
    delivered.erase(std::remove_if(delivered.begin(), delivered.end(), finished), delivered.end());
    return delivered.size();
}

}  // namespace Kyr::Endurance
