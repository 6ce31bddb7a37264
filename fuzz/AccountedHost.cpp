#include "fuzz/AccountedHost.h"

#include <set>
#include <stdexcept>
#include <utility>

#include <boost/thread/lock_guard.hpp>

#include "connector/Subscriber.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Fuzz {

namespace {

using Common::Kernel::MessageType;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Message::Connectors::OvAgentConnector::kTaskStatus;
using Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;
using Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;

// What the store may hold; the rest of it is not the module's.
const char* const kKeptKeys[] = {"XDR_ENABLED",
                                 "XDR_HOST",
                                 "XDR_OFFSET",
                                 "XDR_TELEMETRY_OFFSET",
                                 "OV_REMEDIATION_ENABLED",
                                 "OV_REMEDIATION_OFFSET"};

void ThrowIf(bool fails) {
    if (fails) {
        throw std::runtime_error("the host has failed");
    }
}

}  // namespace

CAccountedHost::CAccountedHost(CAccount& account, CReports& reports, ITurnClock& clock,
                               std::function<void()> note)
    : account_(account), reports_(reports), clock_(clock), note_(std::move(note)) {
    Begin();
}

CAccountedHost::~CAccountedHost() = default;

void CAccountedHost::Begin() {
    host_ = std::make_unique<Test::CFakeHost>();
    log_ = host_->log;
    log_->SetRecording(!trace_);
    log_->OnLine([this](const Test::LogEntry& line) {
        note_();
        Tell("line", line.text);
        account_.Logged(line.text);
        reports_.Logged(line.text, clock_.CalendarTime());
    });
    host_->bus->SetDelivering(true);
    host_->bus->SetRecording(false);
    host_->bus->OnPublish([this](const auto& message) {
        note_();
        Tell("published", message->GetName());
        EnterPublished(*message);
        CountDelivery(message->GetMessageType());
    });
    KeepAccount();
}

void CAccountedHost::BeginAnew() {
    deliveries_.clear();
    messages_.clear();
    contexts_.clear();
    Begin();
    for (const auto& [key, text] : kept_) {
        Values().Put(key, text);
    }
}

void CAccountedHost::End() {
    for (const char* const key : kKeptKeys) {
        kept_[key] = Values().Text(key);
    }
    host_.reset();
    for (const auto& message : messages_) {
        if (!message.expired()) {
            Broken("somebody holds a message");
        }
    }
    for (const auto& context : contexts_) {
        if (!context.expired()) {
            Broken("somebody holds a delivery context");
        }
    }
}

void CAccountedHost::OnTrace(Trace trace) {
    trace_ = std::move(trace);
    log_->SetRecording(false);
}

void CAccountedHost::Tell(const char* what, const std::string& text) const {
    if (trace_) {
        trace_(what, text);
    }
}

void CAccountedHost::KeepAccount() {
    const auto& values = host_->database->keyValues;
    values->OnGet([this, values = values.get()](const std::string& key) {
        ThrowIf(Fails(At::kReads));
        account_.OffsetWasRead(key, values->Text(key));
    });
    values->OnSet([this](const std::string& key, const std::string& value) {
        Tell("set", key + '=' + value);
        account_.OffsetWasSet(key, value);
        if (Fails(At::kWrites)) {
            account_.OffsetWasNotSet(key);
            ThrowIf(true);
        }
        return !Fails(At::kOffsets);
    });
    host_->database->remediationActions->SetRecording(false);
    host_->database->remediationActions->OnStore([this](const auto& actions) {
        Tell("stored", std::to_string(actions.size()));
        const bool throws = Fails(At::kActionsByThrowing);
        const bool kept = !throws && !Fails(At::kActions);
        account_.Stored(RecordKind::kAction, actions, kept);
        ThrowIf(throws);
        return kept;
    });
}

void CAccountedHost::EnterPublished(const Common::Kernel::IMessage& message) {
    const auto enter = [this](RecordKind kind, const std::vector<std::string>& records) {
        const bool kept = !Fails(At::kBatches);
        account_.Stored(kind, records, kept);
        ThrowIf(!kept);
    };
    reports_.Published(message, clock_.CalendarTime());
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsIndicatorLogs*>(&message)) {
        enter(RecordKind::kIndicator, logs->GetLogs());
    } else if (const auto* more = dynamic_cast<const CDataMinerStoreEcsTelemetryLogs*>(&message)) {
        enter(RecordKind::kTelemetry, more->GetLogs());
    } else if (message.GetMessageType() == MessageType::DataMinerOutOfOrderEvent) {
        account_.MinerWasTold();
    } else if (message.GetMessageType() == MessageType::TaskEvent) {
        const bool kept = !Fails(At::kEvents);
        account_.Told(dynamic_cast<const Common::Message::Logs::CEventLog&>(message), kept);
        ThrowIf(!kept);
    } else if (const auto* trigger = dynamic_cast<const COvAgentRequest*>(&message)) {
        const int kind = trigger->GetRequestType();
        const bool fails =
            Fails(At::kTriggers) || (kind == kTaskStatus && Fails(At::kOutcomeRequests));
        reports_.Triggered(kind, !fails);
        ThrowIf(fails);
    }
}

void CAccountedHost::Deliver(const Message& message) {
    const auto context = Test::MakeContext();
    messages_.push_back(message);
    contexts_.push_back(context);
    CountDelivery(message->GetMessageType());
    host_->bus->Deliver(message, context);
}

void CAccountedHost::CountDelivery(MessageType type) {
    const boost::lock_guard<boost::mutex> guard(deliveriesMutex_);
    ++deliveries_[type];
}

void CAccountedHost::FailAt(At what, int times) {
    failures_[static_cast<std::size_t>(what)] = times;
}

bool CAccountedHost::Fails(At what) {
    auto& failures = failures_[static_cast<std::size_t>(what)];
    return failures > 0 && failures-- > 0;
}

void CAccountedHost::EndFaults() {
    for (auto& failures : failures_) {
        failures = 0;
    }
}

// Each queue has got what the bus delivered of its types, once. Subscriptions are made before the
// first delivery and never end, so that this holds whatever else has happened; an inactive module
// has none, and messages of types that nobody subscribes go nowhere.
std::optional<std::vector<CAccount::Message>> CAccountedHost::QueuedOfBalancedQueues() const {
    using Common::Module::CSubscriber;
    std::map<CSubscriber*, std::set<MessageType>> queues;
    for (const auto& subscription : host_->bus->Subscriptions()) {
        auto* const queue = dynamic_cast<CSubscriber*>(subscription.subscriber.get());
        if (queue == nullptr) {
            Broken("somebody else has subscribed");
        }
        queues[queue].insert(subscription.type);
    }
    std::vector<Message> queued;
    const boost::lock_guard<boost::mutex> guard(deliveriesMutex_);
    for (const auto& [queue, types] : queues) {
        std::uint64_t delivered = 0;
        for (const MessageType type : types) {
            const auto found = deliveries_.find(type);
            delivered += found == deliveries_.end() ? 0 : found->second;
        }
        const std::uint64_t received = queue->GetReceivedCount();
        if (received < delivered) {
            Broken("a message was lost");
        }
        if (received > delivered) {
            Broken("more messages came than were delivered");
        }
        if (queue->GetQueueSize() > received) {
            Broken("more messages wait than came");
        }
        queue->VisitPendingMessages([&](const auto& message) { queued.push_back(message); });
    }
    return queues.empty() ? std::nullopt : std::optional(queued);
}

}  // namespace Kyr::Fuzz
