#include "proofs/schedules/Host.h"

#include <algorithm>
#include <set>

#include <boost/make_shared.hpp>

#include "connector/Subscriber.h"
#include "host/Catalogue.h"
#include "host/logs/Symbols.h"
#include "logs/EventLog.h"
#include "proofs/schedules/Scheduler.h"

namespace Kyr::Proofs::Schedules {

namespace {

using namespace Common::Kernel;
namespace Outcome = Common::Catalogue::Task;
namespace Symbol = Common::Logs::Symbols::Task;

class CBus : public IBusResource {
  public:
    explicit CBus(CHost& host) : host_(host) {}
    void Publish(const boost::shared_ptr<IMessage>& message,
                 const boost::shared_ptr<IDeliveryContext>& /*context*/) override {
        host_.Publish(message);
    }
    void Subscribe(const boost::shared_ptr<ISubscriber>& subscriber, MessageType type) override {
        host_.Subscribe(subscriber, type);
    }

  private:
    CHost& host_;
};

class CLogger : public ILoggerResource {
  public:
    explicit CLogger(CHost& host) : host_(host) {}
    void Log(const std::string& text, int /*level*/, const std::string& /*source*/) override {
        host_.Log(text);
    }

  private:
    CHost& host_;
};

class CKeyValues : public Common::Database::IKeyValueAccessMapper {
  public:
    explicit CKeyValues(CHost& host) : host_(host) {}
    std::string GetValue(const std::string& key) override { return host_.Read(key); }
    bool SetValue(const std::string& key, const std::string& value) override {
        host_.Called("write " + key);
        host_.values[key] = value;
        return true;
    }

  private:
    CHost& host_;
};

}  // namespace

CHost::CHost() {
    resources_.Set(kBusResource, boost::make_shared<CBus>(*this));
    resources_.Set(kLoggerResource, boost::make_shared<CLogger>(*this));
    resources_.database->mappers[Common::Database::kKeyValueAccessMapper] =
        boost::make_shared<CKeyValues>(*this);
}

void CHost::Deliver(const Message& message) {
    std::set<Subscriber> served;
    const auto range = subscribers_.equal_range(message->GetMessageType());
    for (auto entry = range.first; entry != range.second; ++entry) {
        if (served.insert(entry->second).second) {
            entry->second->Push(message, {});
        }
    }
}

bool CHost::HasLine(const std::string& part) const {
    return std::any_of(lines_.begin(), lines_.end(), [&part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

std::size_t CHost::Queued(const Message& message) const {
    std::set<Subscriber> seen;
    std::size_t count = 0;
    for (const auto& entry : subscribers_) {
        // Not in the order of the addresses, which no schedule decides.
        if (!seen.insert(entry.second).second) {
            continue;
        }
        dynamic_cast<Common::Module::CSubscriber&>(*entry.second)
            .VisitPendingMessages(
                [&](const Message& pending) { count += !message || pending == message ? 1 : 0; });
    }
    return count;
}

bool CHost::IsWatched() const {
    // Beside it there is the thread for tasks.
    const CScheduler& scheduler = *CScheduler::Current();
    return watch_ == scheduler.NewestModuleThread() || scheduler.ModuleThreads() == 1;
}

int CHost::Count(const Counts& counts, const std::string& identifier) {
    const auto found = counts.find(identifier);
    return found == counts.end() ? 0 : found->second;
}

void CHost::Publish(const Message& message) {
    Called("publish " + message->GetName());
    CScheduler::Current()->Point("publishes", nullptr);
    if (message->GetMessageType() == MessageType::TaskEvent) {
        Enter(*message);
    }
    Deliver(message);
}

void CHost::Subscribe(const Subscriber& subscriber, MessageType type) {
    subscribers_.emplace(type, subscriber);
}

void CHost::Log(const std::string& text) {
    Called("log " + text);
    lines_.push_back(text);
}

std::string CHost::Read(const std::string& key) {
    Called("read " + key);
    if (key == "XDR_ENABLED") {
        // Only a watch asks for it. Threads are numbered as they are created: when a later watch
        // has looked, an earlier one must not.
        CScheduler& scheduler = *CScheduler::Current();
        if (scheduler.CurrentThread() < watch_) {
            scheduler.Report("the watch of an earlier connection looks beside a later one");
        }
        watch_ = scheduler.CurrentThread();
    }
    const auto found = values.find(key);
    return found == values.end() ? std::string() : found->second;
}

void CHost::Called(const std::string& what) const {
    if (silence_) {
        CScheduler::Current()->Report("the module calls the host behind its end: " + what);
    }
}

void CHost::Enter(const IMessage& message) {
    const auto symbols =
        dynamic_cast<const Common::Message::Logs::CEventLog&>(message).GetSymbols();
    const bool again = symbols->GetInt32(Symbol::kStatus) == Outcome::kNotFailed;
    ++(again ? retries_ : failures_)[symbols->GetUuid(Symbol::kThirdIdentifier).uuid()];
}

}  // namespace Kyr::Proofs::Schedules
