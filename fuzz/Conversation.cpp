#include "fuzz/Conversation.h"

#include <atomic>
#include <cstdio>
#include <iterator>
#include <set>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "base/LittleEndian.h"
#include "connector/Subscriber.h"
#include "fuzz/TurnClock.h"
#include "host/message/ApplyPolicy.h"
#include "host/message/OvAgentTasks.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/host/PackedPolicy.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Fuzz {

namespace {

using namespace Connectors::OvAgentConnector;
using Common::Kernel::MessageType;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;
using Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;
using Common::Message::Policies::CApplyPolicy;
using Milliseconds = ITurnClock::Milliseconds;
namespace Task = Common::Message::Connectors::OvAgentConnector::Task;

// Our own choices: a module that waits ten seconds between two attempts ends long before.
constexpr int kMostWaitsOfACall = 200;
constexpr std::size_t kMostOperations = 64;
constexpr int kLasting = 1 << 30;
// The longest that the module may wait before it tries to connect, the channel's own second
// included, and a second more.
constexpr Milliseconds kUntilConnected(12000);
// An announcement is found in a look and acted upon in the next; and a second.
constexpr Milliseconds kUntilAnnouncementWasTaken(11000);
constexpr Milliseconds kUntilAllIsAskedForAgain(3601000);
constexpr Milliseconds kBetweenLooks(5000);
constexpr std::int64_t kBestBuild = 5600;
constexpr std::size_t kOutcomesChanged = 8;  // broadcast
constexpr auto kOutcomesRequest = Common::Message::Connectors::OvAgentConnector::kTaskStatus;

const char* const kIdentifiers[] = {"6ba7b810-9dad-11d1-80b4-00c04fd430c8", "", "no-uuid"};
const char* const kKeys[] = {"XDR_ENABLED",
                             "XDR_HOST",
                             "XDR_OFFSET",
                             "XDR_TELEMETRY_OFFSET",
                             "OV_REMEDIATION_ENABLED",
                             "OV_REMEDIATION_OFFSET"};
const char* const kTexts[] = {"", "1", "0", "true", "+1", "-1", "18446744073709551615", "1x"};

/// One refusal less, if any is left.
bool Refuses(std::atomic<int>& refusals) {
    return refusals > 0 && refusals-- > 0;
}

void ThrowIf(bool fails) {
    if (fails) {
        throw std::runtime_error("the host has failed");
    }
}

/// What a product may answer, by the low bits: a good reply, refusals, broken replies, failures.
Test::KelcommScript::Answer MakeAnswer(std::uint8_t choice) {
    static const std::string kDocument = "<TULK><MESSAGE><RESPONSE></RESPONSE></MESSAGE></TULK>";
    const std::vector<unsigned char> document(kDocument.begin(), kDocument.end());
    const std::uint32_t size = static_cast<std::uint32_t>(document.size());
    switch (choice % 12) {
        case 0:
            return {0, Test::KelcommReply(0, 0)};
        case 1:
            return {0, Test::KelcommReply(0, size, document)};
        case 2:
            return {0, Test::KelcommReply(0, 0xFFFFFFFF, document)};
        case 3:
            return {0, Test::KelcommReply(5, 0)};
        case 4:
            return {0, Test::KelcommReply(14, 0)};
        case 5:
            return {0, Test::KelcommReply(18, 0)};
        case 6:
            return {0, Test::KelcommReply(choice, choice)};
        case 7:
            return {0, {}};
        case 8:
            return {0, std::vector<unsigned char>(choice, choice)};
        case 9:
            return {6, {}};
        case 10:
            return {0, Test::KelcommReply(0, choice, std::vector<unsigned char>(choice, 8))};
        default:
            return {choice, {}};
    }
}

}  // namespace

struct CConversation::Operation {
    void (CConversation::*run)(Argument);
};

const CConversation::Operation CConversation::kOperations[] = {
    {&CConversation::DeliverTask},     {&CConversation::DeliverTrigger},
    {&CConversation::DeliverStranger}, {&CConversation::AnswerOnce},
    {&CConversation::AnswerAlways},    {&CConversation::AnswerPings},
    {&CConversation::SetArea},         {&CConversation::SetKey},
    {&CConversation::SetBuild},        {&CConversation::PassTime},
    {&CConversation::PassToNextWait},  {&CConversation::HostCalls},
    {&CConversation::AppendRecords},   {&CConversation::FinishTasks},
    {&CConversation::RefuseToKeep},    {&CConversation::DeliverPolicy},
    {&CConversation::PassLongTime},    {&CConversation::JumpCalendar},
    {&CConversation::RestartHost},
};

CConversation::CConversation() : CConversation(boost::shared_ptr<ITurnClock>()) {}

CConversation::CConversation(boost::shared_ptr<ITurnClock> clock)
    : product_(boost::make_shared<Test::KelcommScript>()),
      clock_(clock ? std::move(clock)
                   : boost::make_shared<CTurnClock>([this] { return activity_.load(); })),
      build_(boost::make_shared<Test::CFakeBuildReader>()) {
    static_assert(std::size(kOperations) == kStepCount);
    product_->whileServing = [this] {
        Note();
        // Nobody reads them, and a life may be long.
        product_->seenPings.clear();
        product_->seenRequests.clear();
        product_->seenBroadcastOffsets.clear();
    };
    product_->serve = [this](const auto& request) {
        Tell("request", {request.bytes.begin(), request.bytes.end()});
        return collected_.Serve(request);
    };
    product_->broadcastArea.assign(256, 0);
    BeginHost();
}

void CConversation::BeginHost() {
    host_ = std::make_unique<Test::CFakeHost>();
    log_ = host_->log;
    log_->SetRecording(!trace_);
    log_->OnLine([this](const Test::LogEntry& line) {
        Note();
        Tell("line", line.text);
    });
    host_->bus->SetDelivering(true);
    host_->bus->SetRecording(false);
    host_->bus->OnPublish([this](const auto& message) {
        Note();
        Tell("published", message->GetName());
        EnterPublished(*message);
        CountDelivery(message->GetMessageType());
    });
    KeepAccount();
}

void CConversation::KeepAccount() {
    const auto& values = host_->database->keyValues;
    values->OnGet([this, values = values.get()](const std::string& key) {
        ThrowIf(Refuses(failedReads_));
        account_.OffsetWasRead(key, values->Text(key));
    });
    values->OnSet([this](const std::string& key, const std::string& value) {
        Tell("set", key + '=' + value);
        account_.OffsetWasSet(key, value);
        if (Refuses(failedWrites_)) {
            account_.OffsetWasNotSet(key);
            ThrowIf(true);
        }
        return !Refuses(refusedOffsets_);
    });
    host_->database->remediationActions->SetRecording(false);
    host_->database->remediationActions->OnStore([this](const auto& actions) {
        Tell("stored", std::to_string(actions.size()));
        const bool throws = Refuses(failedActions_);
        const bool kept = !throws && !Refuses(refusedActions_);
        account_.Stored(RecordKind::kAction, actions, kept);
        ThrowIf(throws);
        return kept;
    });
}

void CConversation::EnterPublished(const Common::Kernel::IMessage& message) {
    const auto enter = [this](RecordKind kind, const std::vector<std::string>& records) {
        const bool kept = !Refuses(refusedBatches_);
        account_.Stored(kind, records, kept);
        ThrowIf(!kept);
    };
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsIndicatorLogs*>(&message)) {
        enter(RecordKind::kIndicator, logs->GetLogs());
    } else if (const auto* more = dynamic_cast<const CDataMinerStoreEcsTelemetryLogs*>(&message)) {
        enter(RecordKind::kTelemetry, more->GetLogs());
    } else if (message.GetMessageType() == MessageType::DataMinerOutOfOrderEvent) {
        account_.MinerWasTold();
    } else if (message.GetMessageType() == MessageType::TaskEvent) {
        const bool kept = !Refuses(failedEvents_);
        account_.Told(dynamic_cast<const Common::Message::Logs::CEventLog&>(message), kept);
        ThrowIf(!kept);
    } else if (const auto* trigger = dynamic_cast<const COvAgentRequest*>(&message)) {
        ThrowIf(Refuses(failedTriggers_) ||
                (trigger->GetRequestType() == kOutcomesRequest && Refuses(failedRequests_)));
    }
}

CConversation::~CConversation() = default;

void CConversation::Note() {
    clock_->Enter();
    ++activity_;
}

void CConversation::Tell(const char* what, const std::string& text) const {
    if (trace_) {
        trace_(what, text);
    }
}

void CConversation::OnTrace(Trace trace) {
    trace_ = std::move(trace);
    log_->SetRecording(false);
}

void CConversation::Run(const std::uint8_t* data, std::size_t size) {
    if (size != 0 && data[0] == 0xFF) {
        build_->build.reset();  // a life without the product's registration
    }
    if (size != 0 && data[0] == 0xFE) {
        BeginWithoutProduct();
    } else {
        Begin();
    }
    for (std::size_t place = 0; place + 1 < size && place / 2 < kMostOperations; place += 2) {
        Play(data[place], data[place + 1]);
    }
    End();
}

void CConversation::Begin() {
    BeginModule();
}

void CConversation::BeginWithoutProduct() {
    product_->standingPing.code = 1;
    BeginModule();
}

void CConversation::BeginModule() {
    ModuleSystem system;
    system.clock = clock_;
    system.productBuild = build_;
    system.makeChannel = [this] {
        return boost::make_shared<COvAgentChannel>(
            std::make_unique<Test::CFakeKelcommClient>(product_),
            std::make_unique<Test::CFakeKelcommClient>(product_), clock_);
    };
    isInstalled_ = build_->build.has_value();
    isOtherBuild_ = build_->build != kBestBuild;
    stopping_ = stopped_ = false;
    module_ = std::make_unique<Module>(system);
    module_->Initialize(*host_);
    module_->Start();
    clock_->Settle();
}

void CConversation::Play(std::uint8_t operation, Argument argument) {
    (this->*kOperations[operation % std::size(kOperations)].run)(argument);
    clock_->Settle();
}

void CConversation::DeliverTask(Argument argument) {
    Task::CKillProcessByPid::Uuid identifier;
    const std::string text = kIdentifiers[argument % std::size(kIdentifiers)];
    if (!text.empty()) {
        identifier.set_uuid(text);
    }
    const auto finish = [&](const auto& task) {
        // A task that can be reported has a number of its own, at the end of its third identifier.
        auto third = identifier;
        if (text == kIdentifiers[0]) {
            char number[5];
            std::snprintf(number, sizeof number, "%04x", static_cast<unsigned>(++tasks_));
            third.set_uuid(text.substr(0, text.size() - 4) + number);
        }
        task->SetIdentifiers(identifier, identifier, third);
        task->SetReadOnly();
        if (text == kIdentifiers[0]) {
            account_.Delivered(task);
        }
        Deliver(task);
    };
    if (argument < 128) {
        const auto task = boost::make_shared<Task::CKillProcessByPid>();
        Task::CKillProcessByPid::Payload payload;
        payload.set_process_id(argument);
        task->SetPayload(payload);
        finish(task);
    } else {
        finish(boost::make_shared<Task::CBlockExecutableByHash>());
    }
}

void CConversation::DeliverTrigger(Argument argument) {
    const auto trigger = boost::make_shared<COvAgentRequest>();
    trigger->SetRequestType(argument % 8);
    trigger->SetReadOnly();
    Deliver(trigger);
}

// A message of a class that its type does not promise.
void CConversation::DeliverStranger(Argument argument) {
    constexpr MessageType kTypes[] = {
        MessageType::KillProcessByPid, MessageType::BlockExecutableByHash,
        MessageType::OvAgentRequest, MessageType::ApplyPolicy, MessageType::RequestConfiguration};
    const MessageType type = kTypes[argument % std::size(kTypes)];
    if (type == MessageType::ApplyPolicy) {
        account_.NoPolicyDelivered();
    }
    Deliver(Test::MakeMessage("stranger", type));
}

void CConversation::AnswerOnce(Argument argument) {
    collected_.AnswerOnce(MakeAnswer(argument));
}

void CConversation::AnswerAlways(Argument argument) {
    // A product that would be asked for ever, or is itself again, answers by itself.
    const int choice = argument % 12;
    collected_.AnswerAlways(choice == 0 || choice == 3 || choice == 9
                                ? std::nullopt
                                : std::optional(MakeAnswer(argument)));
}

void CConversation::AnswerPings(Argument argument) {
    product_->standingPing.code = argument % 3;
}

void CConversation::SetArea(Argument argument) {
    constexpr std::uint32_t kPlaces[] = {12, 20, 24, 32, 64, 100, 104, 108, 112, 204};
    constexpr std::uint32_t kWords[] = {0, 1, 7, 8, 100, 200, 0x1004000, 0xFFFFFFFF};
    Base::StoreLittleEndian(product_->broadcastArea.data() + kPlaces[argument % std::size(kPlaces)],
                            kWords[argument / 16 % std::size(kWords)]);
}

void CConversation::SetKey(Argument argument) {
    host_->database->keyValues->Put(kKeys[argument % std::size(kKeys)],
                                    kTexts[argument / 16 % std::size(kTexts)]);
}

void CConversation::SetBuild(Argument argument) {
    constexpr std::int64_t kBuilds[] = {5600, 5542, 5543, 5057, 5058, -1, 0};
    const std::size_t choice = argument % (std::size(kBuilds) + 1);
    build_->build =
        choice < std::size(kBuilds) ? std::optional<std::int64_t>(kBuilds[choice]) : std::nullopt;
    isOtherBuild_ = true;
}

void CConversation::PassTime(Argument argument) {
    clock_->Advance(Milliseconds(argument * 100));
}

void CConversation::PassToNextWait(Argument argument) {
    for (int waits = argument % 16; waits >= 0; --waits) {
        const auto next = clock_->UntilNextDeadline();
        if (!next) {
            return;
        }
        clock_->Advance(*next);
    }
}

void CConversation::HostCalls(Argument argument) {
    stopping_ = stopping_ || argument % 4 != 3;
    switch (argument % 4) {
        case 0:
            Call([this] { module_->RequestStop(); });
            break;
        case 1:
            Call([this] { stopped_ = module_->Stop(false) || stopped_; });
            break;
        case 2:
            Call([this] { stopped_ = module_->Stop(true) || stopped_; });
            break;
        default:
            if (!stopped_) {
                module_->Start();  // changes nothing in a module that runs
            }
    }
}

void CConversation::AppendRecords(Argument argument) {
    collected_.Append(static_cast<RecordKind>(argument % 3), argument / 3 % 8 + 1);
}

void CConversation::FinishTasks(Argument argument) {
    collected_.Finish(argument % 3, argument / 3 % 4 + 1);
}

void CConversation::RefuseToKeep(Argument argument) {
    std::atomic<int>* const refusals[] = {&refusedBatches_, &refusedOffsets_, &refusedActions_};
    // Some are never over: a store that can only be read, or is full.
    *refusals[argument % 3] = argument / 12 % 4 == 3 ? kLasting : argument / 3 % 4 + 1;
}

void CConversation::DeliverPolicy(Argument argument) {
    // Each another one, of up to two kibibytes: it is unpacked at every connection.
    std::string text = "policy " + std::to_string(++policies_) + ' ';
    text.append(std::size_t{argument} * 8, 'p');
    const auto policy = boost::make_shared<CApplyPolicy>();
    policy->SetPolicyBlob(Test::Packed(text));
    policy->SetReadOnly();
    account_.PolicyDelivered(text);
    Deliver(policy);
}

// From a minute to eight hours.
void CConversation::PassLongTime(Argument argument) {
    clock_->Advance(Milliseconds(60000) * (1 + argument % 8) * (1 << argument / 8 % 7));
}

// Up to ten years, forward and back.
void CConversation::JumpCalendar(Argument argument) {
    const std::chrono::hours year(8766);
    clock_->JumpCalendar(year * 10 * (argument - 128) / 128);
}

// Its key-value store is all that outlives it.
void CConversation::RestartHost(Argument /*argument*/) {
    std::map<std::string, std::string> texts;
    for (const char* const key : kKeys) {
        texts[key] = host_->database->keyValues->Text(key);
    }
    EndModule();
    account_.ProcessEnded();
    deliveries_.clear();
    messages_.clear();
    contexts_.clear();
    BeginHost();
    for (const auto& [key, text] : texts) {
        host_->database->keyValues->Put(key, text);
    }
    BeginModule();
}

void CConversation::Deliver(const boost::shared_ptr<Common::Kernel::IMessage>& message) {
    const auto context = Test::MakeContext();
    messages_.push_back(message);
    contexts_.push_back(context);
    CountDelivery(message->GetMessageType());
    host_->bus->Deliver(message, context);
}

void CConversation::CountDelivery(MessageType type) {
    const boost::lock_guard<boost::mutex> guard(deliveriesMutex_);
    ++deliveries_[type];
}

void CConversation::Call(const std::function<void()>& call) {
    std::atomic<bool> returned = false;
    boost::thread caller([&] {
        clock_->Enter();
        call();
        returned = true;
    });
    clock_->Settle();
    for (int waits = 0; !returned; ++waits) {
        const auto next = clock_->UntilNextDeadline();
        if (waits == kMostWaitsOfACall || !next) {
            Broken("a call of the host does not return");
        }
        clock_->Advance(*next);
    }
    caller.join();
}

void CConversation::End() {
    EndModule();
}

void CConversation::EndModule() {
    Call([this] { module_->RequestStop(); });
    Call([this] { module_->Stop(true); });
    if (clock_->Threads() != 0) {
        Broken("a thread has outlived its module");
    }
    if (const auto queued = QueuedOfBalancedQueues()) {
        account_.ExpectBalance(*queued);
    }
    module_.reset();
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

// Each queue has got what the bus delivered of its types, once. Subscriptions are made before the
// first delivery and never end, so that this holds whatever else has happened; an inactive module
// has none, and messages of types that nobody subscribes go nowhere.
std::optional<std::vector<CAccount::Message>> CConversation::QueuedOfBalancedQueues() const {
    using Common::Module::CSubscriber;
    std::map<CSubscriber*, std::set<MessageType>> queues;
    for (const auto& subscription : host_->bus->Subscriptions()) {
        auto* const queue = dynamic_cast<CSubscriber*>(subscription.subscriber.get());
        if (queue == nullptr) {
            Broken("somebody else has subscribed");
        }
        queues[queue].insert(subscription.type);
    }
    std::vector<CAccount::Message> queued;
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

void CConversation::LoseProduct(Milliseconds duration) {
    product_->standingPing.code = 1;
    collected_.AnswerAlways(Test::KelcommScript::Answer{1, {}});
    clock_->Advance(duration);
    product_->standingPing.code = 0;
    collected_.AnswerAlways(std::nullopt);
}

void CConversation::FailHost(Argument argument) {
    std::atomic<int>* const failures[] = {&failedEvents_, &failedTriggers_, &failedReads_,
                                          &failedWrites_, &failedActions_};
    *failures[argument % 5] = argument / 20 % 4 == 3 ? kLasting : argument / 5 % 4 + 1;
}

void CConversation::EndFaults() {
    refusedBatches_ = refusedOffsets_ = refusedActions_ = 0;
    failedEvents_ = failedTriggers_ = failedReads_ = failedWrites_ = failedActions_ = 0;
    for (const char* const flag : {"XDR_ENABLED", "XDR_HOST", "OV_REMEDIATION_ENABLED"}) {
        host_->database->keyValues->Put(flag, "1");
    }
    build_->build = kBestBuild;
    product_->standingPing.code = 0;
    collected_.AnswerByItself();
    if (stopping_ || !isInstalled_) {
        RestartHost(0);
    } else if (isOtherBuild_) {
        // An upgrade takes its time, and is noticed by that. Not by who is connecting meanwhile:
        // the build is read first, and again for the next connection only.
        clock_->Advance(kUntilConnected);
        LoseProduct(kBetweenLooks * 2);
        isOtherBuild_ = false;
    }
}

void CConversation::ExpectRecovery(bool announced, int refusedRequests) {
    EndFaults();
    std::uint64_t overheard = collected_.Overheard();
    clock_->Advance(kUntilConnected);
    for (; overheard < collected_.Overheard(); ++overheard) {
        clock_->Advance(kUntilConnected);
    }
    const auto queued = QueuedOfBalancedQueues();
    if (!queued || !queued->empty()) {
        Broken("messages wait although nothing fails any more");
    }
    account_.ExpectAllIsDone();
    const auto& values = host_->database->keyValues;
    clock_->Advance(kBetweenLooks * (collected_.BatchesLeft(*values) + 1));
    if (announced) {
        failedRequests_ = refusedRequests;
        product_->SetBroadcast(kOutcomesChanged, ++announcements_);
        clock_->Advance(kUntilAnnouncementWasTaken + kBetweenLooks * refusedRequests);
    } else {
        clock_->Advance(kUntilAllIsAskedForAgain);
    }
    failedRequests_ = 0;
    collected_.ExpectNothingLeft(*values);
}

}  // namespace Kyr::Fuzz
