#include "proofs/kill/Host.h"

#include <map>
#include <set>
#include <unistd.h>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "host/Catalogue.h"
#include "host/logs/Symbols.h"
#include "logs/DataMinerMessages.h"
#include "logs/EventLog.h"
#include "module/OvAgentConnectorModule.h"
#include "proofs/common/HostMessages.h"
#include "proofs/kill/Journal.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/product/FakeBuildReader.h"

namespace Kyr::Proofs::Kill {

namespace {

using namespace Common::Message::DataMiners;
using Common::Kernel::IMessage;
using Common::Kernel::MessageType;
using Common::Message::Logs::CEventLog;
using Connectors::OvAgentConnector::COvAgentConnectorModule;
using Lab::CLine;
namespace Symbols = Common::Logs::Symbols;
namespace Outcome = Common::Catalogue::Task;

CLine Stored(const char* kind, const std::vector<std::string>& records) {
    CLine line("stored");
    line.With("kind", kind);
    for (const std::string& record : records) {
        line.With("record", record);
    }
    return line;
}

/// What of a published message is for the account.
CLine LineOf(const IMessage& message) {
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsIndicatorLogs*>(&message)) {
        return Stored("indicator", logs->GetLogs());
    }
    if (const auto* logs = dynamic_cast<const CDataMinerStoreEcsTelemetryLogs*>(&message)) {
        return Stored("telemetry", logs->GetLogs());
    }
    if (message.GetMessageType() == MessageType::TaskEvent) {
        const auto symbols = dynamic_cast<const CEventLog&>(message).GetSymbols();
        return CLine("told")
            .With("task", symbols->GetUuid(Symbols::Task::kThirdIdentifier).uuid())
            .With("status", static_cast<std::uint64_t>(symbols->GetInt32(Symbols::Task::kStatus)))
            .With("code", symbols->GetResourceId(Symbols::Task::kOutcome))
            .With("severity",
                  static_cast<std::uint64_t>(symbols->GetInt64(Symbols::Task::kSeverity)))
            .With("text", symbols->HasSymbol(Symbols::Task::kDescription)
                              ? symbols->GetString(Symbols::Task::kDescription)
                              : "");
    }
    if (message.GetMessageType() == MessageType::ConfigurationEvent) {
        const auto symbols = dynamic_cast<const CEventLog&>(message).GetSymbols();
        return CLine("configuration")
            .With("text", symbols->GetBlob(Symbols::ProductConfiguration::kConfiguration));
    }
    return CLine("published").With("name", message.GetName());
}

class CHost {
  public:
    CHost(Fate& fate, const std::string& journal, boost::shared_ptr<Base::IClock> clock)
        : fate_(fate), journal_(journal), clock_(std::move(clock)) {
        host_.bus->SetRecording(false);
        host_.bus->SetDelivering(true);
        host_.bus->OnPublish([this](const auto& message) { Keep("publish", LineOf(*message)); });
        host_.log->SetRecording(false);
        host_.log->OnLine([this](const Test::LogEntry& entry) {
            Keep("log", CLine("log")
                            .With("level", static_cast<std::uint64_t>(entry.level))
                            .With("text", entry.text));
        });
        host_.database->keyValues->OnGet([](const std::string& /*key*/) { CCall("store read"); });
        host_.database->keyValues->OnSet([this](const std::string& key, const std::string& value) {
            Keep("store write", CLine("set").With("key", key).With("value", value));
            return true;
        });
        host_.database->remediationActions->SetRecording(false);
        host_.database->remediationActions->OnStore([this](const auto& actions) {
            Keep("store actions", Stored("action", actions));
            return true;
        });
    }

    void Run() {
        ReadJournal(true);
        Connectors::OvAgentConnector::ModuleSystem system;
        system.clock = clock_;
        system.productBuild = boost::make_shared<Test::CFakeBuildReader>();
        system.makeChannel = [clock = clock_] {
            return boost::make_shared<Connectors::OvAgentConnector::COvAgentChannel>(
                0, 0, Connectors::Common::Kelcomm::Native::SystemNativeFunctions(), clock);
        };
        COvAgentConnectorModule module(system);
        module.Initialize(host_);
        module.Start();
        while (!fate_.stop) {
            DeliverTasks();
            Pause(fate_);
            ReadJournal(false);
        }
        module.RequestStop();
        while (!module.Stop(false)) {
            Pause(fate_);
        }
    }

  private:
    void Keep(const char* call, const CLine& line) const {
        const CCall making(call);
        journal_.Append(line);
    }

    /// What stands there of an earlier life, or what has been given to this one.
    void ReadJournal(bool begins) {
        for (const CLine& line : journal_.ReadNew()) {
            if (line.Kind() == "set" && begins) {
                host_.database->keyValues->Put(line.Value("key"), line.Value("value"));
            } else if (line.Kind() == "policy" || line.Kind() == "task") {
                given_.push_back(line);
            } else if (line.Kind() == "told" && !IsTriedAgain(line)) {
                ended_.insert(line.Value("task"));
            }
        }
    }

    static bool IsTriedAgain(const CLine& told) {
        return told.Value("status") == std::to_string(Outcome::kNotFailed) &&
               told.Value("code") == std::to_string(Outcome::kFailedText);
    }

    void DeliverTasks() {
        for (; delivered_ < given_.size(); ++delivered_) {
            const CLine& line = given_[delivered_];
            const std::string kind = line.Value("kind");
            const std::string identifier = line.Value("identifier");
            if (line.Kind() == "policy") {
                host_.bus->Deliver(MakePolicy());
            } else if (ended_.count(identifier) == 0) {
                host_.bus->Deliver(kind == "kill"    ? MakeKill(identifier)
                                   : kind == "block" ? MakeBlock(identifier)
                                                     : MakeExport(identifier));
            }
        }
    }

    Fate& fate_;
    CJournal journal_;
    const boost::shared_ptr<Base::IClock> clock_;
    Test::CFakeHost host_;
    std::vector<CLine> given_;
    std::size_t delivered_ = 0;
    std::set<std::string> ended_;
};

}  // namespace

void RunHost(Fate& fate, const std::string& journal, const boost::shared_ptr<Base::IClock>& clock) {
    BeginLife(fate);
    {
        CHost host(fate, journal, clock);
        host.Run();
    }
    ::_exit(0);
}

}  // namespace Kyr::Proofs::Kill
