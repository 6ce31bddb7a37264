#include "probe/commands/ActionRequest.h"

#include <utility>

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "host/message/OvAgentTasks.h"
#include "probe/commands/Identifiers.h"
#include "probe/commands/WrongUsage.h"

namespace Kyr::Probe {

namespace {

namespace Common = Connectors::Common;
namespace Task = Kyr::Common::Message::Connectors::OvAgentConnector::Task;

constexpr std::size_t kSha1Digits = 40;
constexpr std::size_t kSha256Digits = 64;

/// Keeps what a task sends.
class CKeptRequest final : public Common::IChannel {
  public:
    void Start() override {}
    void Send(const Bytes& request) override { request_ = request; }
    void SetBufferReceiver(const boost::shared_ptr<Common::IBufferReceiver>&) override {}
    void Stop() override {}

    const Bytes& Request() const { return request_; }

  private:
    Bytes request_;
};

/// Loses what a task logs.
class CNoLog final : public Common::ILogger {
  public:
    Common::CLogLine GetLog(int) noexcept override { return {}; }
};

template <typename TaskMessage>
std::vector<std::string> SetIdentifiers(const ActionOptions& options, TaskMessage& message) {
    std::vector<std::string> texts = ThreeIdentifiers(options.identifiers);
    Kyr::Common::Message::CTask::Uuid identifiers[3];
    for (std::size_t i = 0; i < texts.size(); ++i) {
        identifiers[i].set_uuid(texts[i]);
    }
    message.SetIdentifiers(identifiers[0], identifiers[1], identifiers[2]);
    return texts;
}

template <typename Payload>
void SetHashes(const ActionOptions& options, Payload& payload) {
    if (!options.sha1.empty()) {
        payload.set_executable_hash_sha1(CheckedHash(options.sha1, kSha1Digits));
    }
    if (!options.sha256.empty()) {
        payload.set_executable_hash_sha2_256(CheckedHash(options.sha256, kSha256Digits));
    }
}

template <typename ConnectorTask, typename TaskMessage, typename Payload>
Report CarryOut(CSession& session, const char* command, const ActionOptions& options,
                const Payload& payload) {
    const auto message = boost::make_shared<TaskMessage>();
    message->SetPayload(payload);
    const std::vector<std::string> identifiers = SetIdentifiers(options, *message);
    const auto channel = boost::make_shared<CKeptRequest>();
    CNoLog log;
    ConnectorTask(channel, &log).Execute(message);

    Report report;
    report.command = command;
    report.columns = {{"first"}, {"second"}, {"third"}};
    const Bytes reply = session.Exchange(channel->Request());
    report.raw.assign(reply.begin(), reply.end());
    report.rows.push_back({identifiers[0], identifiers[1], identifiers[2]});
    report.notes.emplace_back(
        "Accepted. What becomes of it is an outcome under these identifiers, for who reads "
        "outcomes "
        "first.");
    return report;
}

}  // namespace

Report KillProcess(CSession& session, const ActionOptions& options) {
    Kyr::Common::DataDefinition::Task::OV::KillProcessByPid payload;
    payload.set_process_id(options.processId);
    SetHashes(options, payload);
    return CarryOut<Connectors::OvAgentConnector::CWinOvKillProcessByPidTask,
                    Task::CKillProcessByPid>(session, "kill", options, payload);
}

Report BlockExecutable(CSession& session, const ActionOptions& options) {
    if (options.sha1.empty() && options.sha256.empty()) {
        throw CWrongUsage("a hash is needed: --sha1 or --sha256");
    }
    Kyr::Common::DataDefinition::Task::OV::BlockExecutableByHash payload;
    SetHashes(options, payload);
    payload.set_delete_executable(options.deleteExecutable);
    return CarryOut<Connectors::OvAgentConnector::CWinOvBlockExecutableByHashTask,
                    Task::CBlockExecutableByHash>(session, "block", options, payload);
}

}  // namespace Kyr::Probe
