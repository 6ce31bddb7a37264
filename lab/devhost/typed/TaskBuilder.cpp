#include "lab/devhost/typed/TaskBuilder.h"

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
#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Message::CTask;

/// An empty text stays uninitialized, as in a task that came without that identifier.
CTask::Uuid MakeIdentifier(const std::string& text) {
    CTask::Uuid identifier;
    if (!text.empty()) {
        identifier.set_uuid(text);
    }
    return identifier;
}

std::string FreshIdentifier() {
    return boost::uuids::to_string(boost::uuids::random_generator()());
}

void SetIdentifiers(CCommandArguments& arguments, CTask& task) {
    std::vector<std::string> texts = {FreshIdentifier(), FreshIdentifier(), FreshIdentifier()};
    if (const auto given = arguments.TakeValue("ids")) {
        boost::algorithm::split(texts, *given, boost::algorithm::is_any_of(","));
        if (texts.size() != 3) {
            throw std::invalid_argument("ids takes three identifiers with commas between them");
        }
    }
    task.SetIdentifiers(MakeIdentifier(texts[0]), MakeIdentifier(texts[1]),
                        MakeIdentifier(texts[2]));
}

template <typename Payload>
void SetHashes(CCommandArguments& arguments, Payload& payload) {
    if (const auto hash = arguments.TakeValue("sha1")) {
        payload.set_executable_hash_sha1(*hash);
    }
    if (const auto hash = arguments.TakeValue("sha256")) {
        payload.set_executable_hash_sha2_256(*hash);
    }
}

template <typename Message>
TaskPointer Finish(CCommandArguments& arguments, const typename Message::Payload& payload) {
    const auto task = boost::make_shared<Message>();
    SetIdentifiers(arguments, *task);
    arguments.Finish();
    task->SetPayload(payload);
    task->SetReadOnly();
    return task;
}

bool ParseSwitch(const std::string& name, const std::string& text) {
    if (text != "0" && text != "1") {
        throw std::invalid_argument(name + " is 0 or 1");
    }
    return text == "1";
}

}  // namespace

TaskPointer BuildKillTask(CCommandArguments& arguments) {
    const auto process = arguments.TakeValue("pid");
    if (!process) {
        throw std::invalid_argument("pid is missing");
    }
    Task::CKillProcessByPid::Payload payload;
    payload.set_process_id(ParseNumber(*process));
    SetHashes(arguments, payload);
    return Finish<Task::CKillProcessByPid>(arguments, payload);
}

TaskPointer BuildBlockTask(CCommandArguments& arguments) {
    Task::CBlockExecutableByHash::Payload payload;
    payload.set_delete_executable(
        ParseSwitch("delete", arguments.TakeValue("delete").value_or("0")));
    SetHashes(arguments, payload);
    return Finish<Task::CBlockExecutableByHash>(arguments, payload);
}

TaskPointer BuildConfigurationRequest(CCommandArguments& arguments) {
    using Message = Common::Message::Configuration::CRequestConfigurationMessage;
    Message::Payload payload;
    if (const auto type = arguments.TakeInt32("type")) {
        payload.set_producttype(*type);
    }
    return Finish<Message>(arguments, payload);
}

std::string IdentifiersOf(const CTask& task) {
    return task.GetFirstIdentifier().uuid() + "," + task.GetSecondIdentifier().uuid() + "," +
           task.GetThirdIdentifier().uuid();
}

}  // namespace Kyr::Lab::DevHost
