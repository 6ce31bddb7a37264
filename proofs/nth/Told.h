// What the module has told the host, message by message, for the account at the end.
//
// - The presence of agent and product and that they are connected are told in this order, and so at
//   least once; whoever fails between them begins anew, or tells that no connection came about.
// - Of a task are told attempts that failed and will be made again, and ends: an outcome (the
//   product's, or of an export the module's own), or that it was given up.
//
// Threads: one at a time. Errors: what is wrong is a sentence in Problems.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/kernel/IMessage.h"

namespace Kyr::Common::Message::Logs {
class CEventLog;
class CStatusLog;
}  // namespace Kyr::Common::Message::Logs

namespace Kyr::Proofs::Nth {

constexpr int kRecordKinds = 3;  // indicators, telemetry, actions
constexpr char kInstance[] = "12345678-9abc-def0-1234-56789abcdef0";

class CTold {
  public:
    struct Task {
        int failures = 0;  // that will be tried again
        int outcomes = 0;  // good or bad
        int givenUp = 0;   // by the module
    };

    /// One message that the module has published.
    void Enter(const Common::Kernel::IMessage& message);
    /// Actions do not come as a message.
    void EnterActions(const std::vector<std::string>& actions);

    const std::vector<std::string>& Records(int kind) const { return records_[kind]; }
    /// Of the task of that third identifier.
    Task TaskOf(const std::string& identifier) const;
    /// Whether any attempt at any task has failed.
    bool HasTaskFailed() const;
    /// How often that status was told.
    int Statuses(std::uint64_t status) const;
    /// How many connections were announced; a watch ends with each, and what it has noted.
    int Connections() const { return connections_; }
    /// How many have come about, and how many have not.
    int Connected() const { return connected_; }
    int Unconnected() const { return unconnected_; }
    /// How many triggers of that kind the watch has published.
    int Triggers(int kind) const;
    const std::vector<std::string>& Configurations() const { return configurations_; }
    const std::vector<std::string>& Problems() const { return problems_; }

  private:
    /// What of a connection was told last.
    enum class Stage { kNothing, kAgent, kProduct };

    void Expect(bool holds, const char* otherwise);
    void EnterStatus(const Common::Message::Logs::CStatusLog& log);
    void EnterTask(const Common::Message::Logs::CEventLog& event);
    void EnterConfiguration(const Common::Message::Logs::CEventLog& event);

    std::vector<std::string> records_[kRecordKinds];
    std::map<std::string, Task> tasks_;
    std::map<std::uint64_t, int> statuses_;
    std::map<int, int> triggers_;
    std::vector<std::string> configurations_;
    Stage stage_ = Stage::kNothing;
    int connections_ = 0;
    int connected_ = 0;
    int unconnected_ = 0;
    std::vector<std::string> problems_;
};

}  // namespace Kyr::Proofs::Nth
