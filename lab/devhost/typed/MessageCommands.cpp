#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/make_shared.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "host/module/Response.h"
#include "lab/devhost/typed/HostCommands.h"
#include "lab/devhost/typed/PolicyBuilder.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Kernel::IMessage;
using Common::Kernel::MessageType;
using Common::Message::CTask;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

using MessagePointer = boost::shared_ptr<IMessage>;

/// The number of `name=<number>` as messages carry it; none is negative.
std::optional<std::int32_t> TakeInt32(CCommandWords& words, const char* name) {
    const auto number = words.TakeNumber(name, std::numeric_limits<std::int32_t>::max());
    return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

/// An empty text stays uninitialized, as in a task that came without that identifier.
CTask::Uuid MakeIdentifier(const std::string& text) {
    CTask::Uuid identifier;
    if (!text.empty()) {
        identifier.set_uuid(text);
    }
    return identifier;
}

void SetIdentifiers(CCommandWords& words, CTask& task) {
    const auto fresh = [] { return boost::uuids::to_string(boost::uuids::random_generator()()); };
    std::vector<std::string> texts = {fresh(), fresh(), fresh()};
    if (const auto given = words.TakeValue("ids")) {
        boost::algorithm::split(texts, *given, boost::algorithm::is_any_of(","));
        if (texts.size() != 3) {
            throw std::invalid_argument("ids takes three identifiers with commas between them");
        }
    }
    task.SetIdentifiers(MakeIdentifier(texts[0]), MakeIdentifier(texts[1]),
                        MakeIdentifier(texts[2]));
}

template <typename Payload>
void SetHashes(CCommandWords& words, Payload& payload) {
    if (const auto hash = words.TakeValue("sha1")) {
        payload.set_executable_hash_sha1(*hash);
    }
    if (const auto hash = words.TakeValue("sha256")) {
        payload.set_executable_hash_sha2_256(*hash);
    }
}

template <typename Message>
MessagePointer Finish(CCommandWords& words, const typename Message::Payload& payload) {
    const auto task = boost::make_shared<Message>();
    SetIdentifiers(words, *task);
    words.Finish();
    task->SetPayload(payload);
    task->SetReadOnly();
    return task;
}

template <typename Value>
Value Needed(const std::optional<Value>& value, const char* name) {
    if (!value) {
        throw std::invalid_argument(std::string(name) + " is missing");
    }
    return *value;
}

/// What no module of this host sends: a message of a reply's type and of another class.
class CAlienReply final : public IMessage {
  public:
    explicit CAlienReply(MessageType type) : type_(type) {}
    MessageType GetMessageType() const override { return type_; }
    std::string GetName() const override { return "AlienReply"; }
    bool Equals(const IMessage& other) const override { return this == &other; }

  private:
    const MessageType type_;
};

MessagePointer BuildKillTask(CCommandWords& words) {
    Task::CKillProcessByPid::Payload payload;
    payload.set_process_id(Needed(words.TakeNumber("pid"), "pid"));
    SetHashes(words, payload);
    return Finish<Task::CKillProcessByPid>(words, payload);
}

MessagePointer BuildBlockTask(CCommandWords& words) {
    Task::CBlockExecutableByHash::Payload payload;
    payload.set_delete_executable(words.TakeNumber("delete", 1).value_or(0) == 1);
    SetHashes(words, payload);
    return Finish<Task::CBlockExecutableByHash>(words, payload);
}

MessagePointer BuildConfigurationRequest(CCommandWords& words) {
    using Message = Common::Message::Configuration::CRequestConfigurationMessage;
    Message::Payload payload;
    if (const auto type = TakeInt32(words, "type")) {
        payload.set_producttype(*type);
    }
    return Finish<Message>(words, payload);
}

MessagePointer BuildTrigger(CCommandWords& words) {
    const std::int32_t kind = Needed(TakeInt32(words, "kind"), "kind");
    words.Finish();
    auto trigger = boost::make_shared<COvAgentRequest>();
    trigger->SetRequestType(kind);
    trigger->SetReadOnly();
    return trigger;
}

MessagePointer BuildReply(CCommandWords& words) {
    const auto type = static_cast<MessageType>(TakeInt32(words, "type").value_or(688));
    const std::int32_t request = TakeInt32(words, "request").value_or(0);
    const bool alien = words.TakeFlag("alien");
    words.Finish();
    if (type != MessageType::Response && type != MessageType::Reply) {
        throw std::invalid_argument("the type of a reply is 688 or 1");
    }
    if (alien) {
        return boost::make_shared<CAlienReply>(type);
    }
    return boost::make_shared<Common::Module::CResponse>(static_cast<std::uint32_t>(request), type);
}

/// The identifiers of a task, as `ids` takes them.
std::string IdentifiersOf(const CTask& task) {
    return task.GetFirstIdentifier().uuid() + "," + task.GetSecondIdentifier().uuid() + "," +
           task.GetThirdIdentifier().uuid();
}

/// Builds a message from the words of the command and publishes it.
auto Publishing(CBus& bus, const char* command, MessagePointer (*build)(CCommandWords&)) {
    return [&bus, command, build](CCommandWords& words, const LineSink& tell) {
        const MessagePointer message = build(words);
        CLine answer = AnswerTo(command);
        if (const auto* task = dynamic_cast<const CTask*>(message.get())) {
            answer.With("ids", IdentifiersOf(*task));
        }
        // Answered first, so that whoever reads knows the identifiers before they come back.
        tell(answer);
        bus.PublishAsHost(message);
    };
}

}  // namespace

ConsoleCommandGroup MessageCommands(CBus& bus) {
    return {
        {"kill", "pid=<number> [sha1=<text>] [sha256=<text>] [ids=<a>,<b>,<c>]",
         "Sends the task that ends a process.", Publishing(bus, "kill", BuildKillTask)},
        {"block", "sha256=<text> [sha1=<text>] [delete=0|1] [ids=<a>,<b>,<c>]",
         "Sends the task that blocks an executable.", Publishing(bus, "block", BuildBlockTask)},
        {"policy", "file=<path>|text=<text> [repeat=<n>] [length=<n>] [broken=blob|stream|policy]",
         "Sends a policy to be applied; its text n times over (up to 67108864 bytes), with another "
         "length stated, or with something broken.",
         Publishing(bus, "policy", BuildPolicy)},
        {"export", "[type=<number>] [ids=<a>,<b>,<c>]",
         "Asks for the configuration of a product of that type.",
         Publishing(bus, "export", BuildConfigurationRequest)},
        {"trigger", "kind=<number>",
         "Sends what the connector sends itself: 0 protection status, 2 task results, 3 indicators,"
         " 4 telemetry, 5 remediation actions.",
         Publishing(bus, "trigger", BuildTrigger)},
        {"reply", "[type=688|1] [request=<number>] [alien]",
         "Sends a reply to a request, or, alien, another message of its type.",
         Publishing(bus, "reply", BuildReply)},
    };
}

}  // namespace Kyr::Lab::DevHost
