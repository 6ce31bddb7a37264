#include "proofs/nth/Told.h"

#include <algorithm>

#include "host/Catalogue.h"
#include "host/logs/Symbols.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/OvAgentRequest.h"
#include "logs/StatusLog.h"

namespace Kyr::Proofs::Nth {

namespace {

using namespace Common::Message::Logs;
using Common::Kernel::MessageType;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;
using Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;
namespace Outcome = Common::Catalogue::Task;
namespace Presence = Common::Catalogue::Presence;
namespace Protection = Common::Catalogue::Protection;
namespace Symbols = Common::Logs::Symbols;

// How the product's own failure is told; all other failures are the module's.
constexpr char kFailedAtTheProduct[] = "Task failed";

template <typename To, typename From>
void Append(To& to, const From& from) {
    to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

void CTold::Enter(const Common::Kernel::IMessage& message) {
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsIndicatorLogs*>(&message)) {
        Append(records_[0], logs->GetLogs());
        return;
    }
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsTelemetryLogs*>(&message)) {
        Append(records_[1], logs->GetLogs());
        return;
    }
    switch (message.GetMessageType()) {
        case MessageType::OvAgentRequest:
            ++triggers_[dynamic_cast<const COvAgentRequest&>(message).GetRequestType()];
            break;
        case MessageType::PresenceStatus: {
            const auto& log = dynamic_cast<const CStatusLog&>(message);
            const auto row = log.GetSymbols()->GetRow(0);
            Expect(row->GetInt32(Symbols::AgentPresence::kPresence) == Presence::kAgentPresent &&
                       row->GetUuid(Symbols::AgentPresence::kInstance).uuid() == kInstance,
                   "another agent was told as present");
            stage_ = Stage::kAgent;
            ++connections_;
            break;
        }
        case MessageType::MultiProductStatus: {
            const auto& log = dynamic_cast<const CMultiProductStatusLog&>(message);
            const auto row = log.GetSymbols()->GetRow(0);
            Expect(row->GetInt32(Symbols::ProductPresence::kPresence) == Presence::kProductPresent,
                   "the product was not told as present");
            Expect(stage_ == Stage::kAgent, "the product was told before the agent");
            stage_ = Stage::kProduct;
            break;
        }
        case MessageType::ProductStatus:
            EnterStatus(dynamic_cast<const CStatusLog&>(message));
            break;
        case MessageType::TaskEvent:
            EnterTask(dynamic_cast<const CEventLog&>(message));
            break;
        case MessageType::ConfigurationEvent:
            EnterConfiguration(dynamic_cast<const CEventLog&>(message));
            break;
        default:
            break;
    }
}

void CTold::EnterActions(const std::vector<std::string>& actions) {
    Append(records_[2], actions);
}

void CTold::EnterStatus(const CStatusLog& log) {
    const auto row = log.GetSymbols()->GetRow(0);
    const std::uint64_t status = row->GetResourceId(Symbols::ProtectionStatus::kStatus);
    Expect(row->GetUuid(Symbols::ProtectionStatus::kInstance).uuid() == kInstance,
           "another agent's status was told");
    ++statuses_[status];
    if (status == Protection::kConnectionFailed) {
        ++unconnected_;
    } else if (stage_ == Stage::kProduct) {
        Expect(status == Protection::kNoStatus, "a status was told instead of a connection");
        ++connected_;
    } else {
        Expect(stage_ == Stage::kNothing, "a connection was told without the product");
    }
    stage_ = Stage::kNothing;
}

void CTold::EnterTask(const CEventLog& event) {
    const auto symbols = event.GetSymbols();
    Task& task = tasks_[symbols->GetUuid(Symbols::Task::kThirdIdentifier).uuid()];
    const bool failed = symbols->GetInt32(Symbols::Task::kStatus) != Outcome::kNotFailed;
    const std::string text = symbols->HasSymbol(Symbols::Task::kDescription)
                                 ? symbols->GetString(Symbols::Task::kDescription)
                                 : std::string();
    if (failed && text != kFailedAtTheProduct) {
        ++task.givenUp;
    } else if (!failed && symbols->GetResourceId(Symbols::Task::kOutcome) == Outcome::kFailedText) {
        ++task.failures;
    } else {
        ++task.outcomes;
    }
}

void CTold::EnterConfiguration(const CEventLog& event) {
    configurations_.push_back(
        event.GetSymbols()->GetBlob(Symbols::ProductConfiguration::kConfiguration));
}

CTold::Task CTold::TaskOf(const std::string& identifier) const {
    const auto found = tasks_.find(identifier);
    return found == tasks_.end() ? Task() : found->second;
}

bool CTold::HasTaskFailed() const {
    return std::any_of(tasks_.begin(), tasks_.end(), [](const auto& entry) {
        return entry.second.failures + entry.second.givenUp != 0;
    });
}

int CTold::Statuses(std::uint64_t status) const {
    const auto found = statuses_.find(status);
    return found == statuses_.end() ? 0 : found->second;
}

int CTold::Triggers(int kind) const {
    const auto found = triggers_.find(kind);
    return found == triggers_.end() ? 0 : found->second;
}

void CTold::Expect(bool holds, const char* otherwise) {
    if (!holds) {
        problems_.emplace_back(otherwise);
    }
}

}  // namespace Kyr::Proofs::Nth
