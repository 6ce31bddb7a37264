// The steps of a conversation: what each operation of an input does, by its argument.
#include <cstdio>
#include <iterator>
#include <optional>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "fuzz/Conversation.h"
#include "host/message/ApplyPolicy.h"
#include "host/message/OvAgentTasks.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/host/PackedPolicy.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Fuzz {

namespace {

using Common::Kernel::MessageType;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Message::Policies::CApplyPolicy;
using Milliseconds = ITurnClock::Milliseconds;
namespace Task = Common::Message::Connectors::OvAgentConnector::Task;

const char* const kIdentifiers[] = {"6ba7b810-9dad-11d1-80b4-00c04fd430c8", "", "no-uuid"};
const char* const kKeys[] = {"XDR_ENABLED",
                             "XDR_HOST",
                             "XDR_OFFSET",
                             "XDR_TELEMETRY_OFFSET",
                             "OV_REMEDIATION_ENABLED",
                             "OV_REMEDIATION_OFFSET"};
const char* const kTexts[] = {"", "1", "0", "true", "+1", "-1", "18446744073709551615", "1x"};

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

void CConversation::Play(std::uint8_t operation, Argument argument) {
    static_assert(std::size(kOperations) == kStepCount);
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
        host_.Deliver(task);
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
    host_.Deliver(trigger);
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
    host_.Deliver(Test::MakeMessage("stranger", type));
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
    host_.Values().Put(kKeys[argument % std::size(kKeys)],
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
    if (argument % 4 != 3) {
        Stopping();
    }
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
    using At = CAccountedHost::At;
    constexpr At kRefusals[] = {At::kBatches, At::kOffsets, At::kActions};
    // Some are never over: a store that can only be read, or is full.
    host_.FailAt(kRefusals[argument % 3],
                 argument / 12 % 4 == 3 ? CAccountedHost::kLasting : argument / 3 % 4 + 1);
}

void CConversation::DeliverPolicy(Argument argument) {
    // Each another one, of up to two kibibytes: it is unpacked at every connection.
    std::string text = "policy " + std::to_string(++policies_) + ' ';
    text.append(std::size_t{argument} * 8, 'p');
    const auto policy = boost::make_shared<CApplyPolicy>();
    policy->SetPolicyBlob(Test::Packed(text));
    policy->SetReadOnly();
    account_.PolicyDelivered(text);
    host_.Deliver(policy);
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

void CConversation::RestartHost(Argument /*argument*/) {
    EndModule();
    account_.ProcessEnded();
    reports_.ProcessEnded();
    host_.BeginAnew();
    BeginModule();
}

}  // namespace Kyr::Fuzz
