#include "proofs/common/HostMessages.h"

#include <boost/make_shared.hpp>

#include "host/message/ApplyPolicy.h"
#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Proofs {

using namespace Common::Message::Connectors::OvAgentConnector;
using Common::Message::Configuration::CRequestConfigurationMessage;
using Common::Message::Policies::CApplyPolicy;

namespace {

template <typename Task>
boost::shared_ptr<Task> Named(boost::shared_ptr<Task> task, const std::string& identifier) {
    typename Task::Uuid uuid;
    uuid.set_uuid(identifier);
    task->SetIdentifiers(uuid, uuid, uuid);
    task->SetReadOnly();
    return task;
}

}  // namespace

HostMessage MakeKill(const std::string& identifier) {
    const auto task = boost::make_shared<Task::CKillProcessByPid>();
    Task::CKillProcessByPid::Payload payload;
    payload.set_process_id(4711);
    task->SetPayload(payload);
    return Named(task, identifier);
}

HostMessage MakeBlock(const std::string& identifier) {
    const auto task = boost::make_shared<Task::CBlockExecutableByHash>();
    Task::CBlockExecutableByHash::Payload payload;
    payload.set_executable_hash_sha1("0123456789ABCDEF0123456789ABCDEF01234567");
    payload.set_delete_executable(false);
    task->SetPayload(payload);
    return Named(task, identifier);
}

HostMessage MakeExport(const std::string& identifier) {
    const auto task = boost::make_shared<CRequestConfigurationMessage>();
    CRequestConfigurationMessage::Payload payload;
    payload.set_producttype(9);
    task->SetPayload(payload);
    return Named(task, identifier);
}

HostMessage MakePolicy() {
    // A blob of 4 bytes, which are stored in 15 without being compressed.
    const auto blob = Test::HexBytes("08 04 12 0F 78 01 01 04 00 FB FF 0A 02 61 62 01 56 00 D0");
    const auto policy = boost::make_shared<CApplyPolicy>();
    policy->SetPolicyBlob(std::string(blob.begin(), blob.end()));
    policy->SetReadOnly();
    return policy;
}

HostMessage MakeTrigger(int kind) {
    const auto trigger = boost::make_shared<COvAgentRequest>();
    trigger->SetRequestType(kind);
    trigger->SetReadOnly();
    return trigger;
}

}  // namespace Kyr::Proofs
