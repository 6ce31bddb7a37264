#include "fuzz/Conversation.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "base/LittleEndian.h"
#include "connector/Subscriber.h"
#include "host/message/OvAgentTasks.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Fuzz {

namespace {

using namespace Connectors::OvAgentConnector;
using Common::Kernel::MessageType;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Milliseconds = CTurnClock::Milliseconds;
namespace Task = Common::Message::Connectors::OvAgentConnector::Task;

// Our own choices: a module that waits ten seconds between two attempts ends long before.
constexpr int kMostWaitsOfACall = 200;
constexpr std::size_t kMostOperations = 64;

const char* const kIdentifiers[] = {"6ba7b810-9dad-11d1-80b4-00c04fd430c8", "", "no-uuid"};
const char* const kKeys[] = {"XDR_ENABLED",
                             "XDR_HOST",
                             "XDR_OFFSET",
                             "XDR_TELEMETRY_OFFSET",
                             "OV_REMEDIATION_ENABLED",
                             "OV_REMEDIATION_OFFSET"};
const char* const kTexts[] = {"", "1", "0", "true", "+1", "-1", "18446744073709551615", "1x"};

[[noreturn]] void Broken(const char* promise) {
    std::fprintf(stderr, "conversation: %s\n", promise);
    std::abort();
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
};

CConversation::CConversation()
    : product_(boost::make_shared<Test::KelcommScript>()),
      clock_(boost::make_shared<CTurnClock>([this] { return activity_.load(); })),
      build_(boost::make_shared<Test::CFakeBuildReader>()),
      host_(std::make_unique<Test::CFakeHost>()),
      log_(host_->log) {
    product_->whileServing = [this] { Note(); };
    product_->broadcastArea.assign(256, 0);
    log_->OnLine([this](const Test::LogEntry&) { Note(); });
    host_->bus->SetDelivering(true);
    host_->bus->OnPublish([this](const auto& message) {
        Note();
        CountDelivery(message->GetMessageType());
    });
}

CConversation::~CConversation() = default;

void CConversation::Note() {
    clock_->Enter();
    ++activity_;
}

void CConversation::Run(const std::uint8_t* data, std::size_t size) {
    if (size != 0 && data[0] == 0xFF) {
        build_->build.reset();  // a life without the product's registration
    }
    ModuleSystem system;
    system.clock = clock_;
    system.productBuild = build_;
    system.makeChannel = [this] {
        return boost::make_shared<COvAgentChannel>(
            std::make_unique<Test::CFakeKelcommClient>(product_),
            std::make_unique<Test::CFakeKelcommClient>(product_), clock_);
    };
    module_ = std::make_unique<Module>(system);
    module_->Initialize(*host_);
    module_->Start();
    clock_->Settle();
    for (std::size_t place = 0; place + 1 < size && place / 2 < kMostOperations; place += 2) {
        const Operation& operation = kOperations[data[place] % std::size(kOperations)];
        (this->*operation.run)(data[place + 1]);
        clock_->Settle();
    }
    End();
}

void CConversation::DeliverTask(Argument argument) {
    Task::CKillProcessByPid::Uuid identifier;
    const std::string text = kIdentifiers[argument % std::size(kIdentifiers)];
    if (!text.empty()) {
        identifier.set_uuid(text);
    }
    const auto finish = [&](const auto& task) {
        task->SetIdentifiers(identifier, identifier, identifier);
        task->SetReadOnly();
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
    Deliver(Test::MakeMessage("stranger", kTypes[argument % std::size(kTypes)]));
}

void CConversation::AnswerOnce(Argument argument) {
    product_->requests.push_back(MakeAnswer(argument));
}

void CConversation::AnswerAlways(Argument argument) {
    product_->standingRequest = MakeAnswer(argument % 12 == 3 || argument % 12 == 9 ? 0 : argument);
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
    host_->database->keyValues->SetValue(kKeys[argument % std::size(kKeys)],
                                         kTexts[argument / 16 % std::size(kTexts)]);
}

void CConversation::SetBuild(Argument argument) {
    constexpr std::int64_t kBuilds[] = {5600, 5542, 5543, 5057, 5058, -1, 0};
    const std::size_t choice = argument % (std::size(kBuilds) + 1);
    build_->build =
        choice < std::size(kBuilds) ? std::optional<std::int64_t>(kBuilds[choice]) : std::nullopt;
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
    Call([this] { module_->RequestStop(); });
    Call([this] { module_->Stop(true); });
    if (clock_->Threads() != 0) {
        Broken("a thread has outlived its module");
    }
    ExpectAccountsToBalance();
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
void CConversation::ExpectAccountsToBalance() const {
    using Common::Module::CSubscriber;
    std::map<const CSubscriber*, std::set<MessageType>> queues;
    for (const auto& subscription : host_->bus->Subscriptions()) {
        const auto* const queue = dynamic_cast<const CSubscriber*>(subscription.subscriber.get());
        if (queue == nullptr) {
            Broken("somebody else has subscribed");
        }
        queues[queue].insert(subscription.type);
    }
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
    }
}

}  // namespace Kyr::Fuzz
