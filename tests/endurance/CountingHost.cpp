#include "tests/endurance/CountingHost.h"

#include <algorithm>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "logs/EventLog.h"

namespace Kyr::Endurance {

namespace {

using Common::Kernel::MessageType;
using Guard = boost::lock_guard<boost::mutex>;

// Our own choice: more than a module ever has waiting while its product answers.
constexpr std::size_t kMostWaiting = 10;

constexpr int kThirdIdentifier = 2846;

bool IsTrigger(const Common::Kernel::IMessage& message) {
    return message.GetMessageType() == MessageType::OvAgentRequest;
}

}  // namespace

void CCountingBus::Publish(const Message& message, const Context& context) {
    if (message->GetMessageType() == MessageType::TaskEvent) {
        const auto& event = dynamic_cast<const Common::Message::Logs::CEventLog&>(*message);
        ledger_.ReportedFailed(event.GetSymbols()->GetUuid(kThirdIdentifier).uuid());
    }
    if (!IsTrigger(*message) || CountHeld(triggers_) < kMostWaiting) {
        Deliver(message, context);
    }
}

void CCountingBus::Subscribe(const boost::shared_ptr<Common::Kernel::ISubscriber>& subscriber,
                             MessageType type) {
    const Guard guard(mutex_);
    const auto known = subscribers_.equal_range(type);
    const bool again = std::any_of(known.first, known.second,
                                   [&](const auto& entry) { return entry.second == subscriber; });
    if (!again) {
        subscribers_.emplace(type, subscriber);
    }
}

void CCountingBus::Deliver(const Message& message, const Context& context) {
    std::vector<boost::shared_ptr<Common::Kernel::ISubscriber>> subscribers;
    {
        const Guard guard(mutex_);
        const auto known = subscribers_.equal_range(message->GetMessageType());
        for (auto entry = known.first; entry != known.second; ++entry) {
            subscribers.push_back(entry->second);
        }
        if (!subscribers.empty()) {
            (IsTrigger(*message) ? triggers_ : messages_).push_back(message);
        }
    }
    for (const auto& subscriber : subscribers) {
        subscriber->Push(message, context);
    }
}

std::size_t CCountingBus::Unfinished() {
    return CountHeld(messages_);
}

std::size_t CCountingBus::CountHeld(Delivered& delivered) {
    const Guard guard(mutex_);
    const auto finished = [](const auto& message) { return message.expired(); };
    delivered.erase(std::remove_if(delivered.begin(), delivered.end(), finished), delivered.end());
    return delivered.size();
}

void CCountingLog::Log(const std::string& text, int level, const std::string& /*source*/) {
    const Guard guard(mutex_);
    ++lines_[level];
    connected_ = connected_ || text == "Connected to product, processing tasks";
}

std::uint64_t CCountingLog::Lines(int level) const {
    const Guard guard(mutex_);
    return lines_[level];
}

bool CCountingLog::Connected() const {
    const Guard guard(mutex_);
    return connected_;
}

CountingHost::CountingHost(CTaskLedger& ledger)
    : bus(boost::make_shared<CCountingBus>(ledger)), log(boost::make_shared<CCountingLog>()) {
    resources.Set(Common::Kernel::kBusResource, bus);
    resources.Set(Common::Kernel::kLoggerResource, log);
    for (const auto& [key, value] : {std::pair{"XDR_ENABLED", "1"}, {"XDR_HOST", "server"}}) {
        resources.database->keyValues->SetValue(key, value);
    }
}

}  // namespace Kyr::Endurance
