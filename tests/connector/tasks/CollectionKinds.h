// The three collection tasks, what their tests have to know about each, and a fixture with one of
// them.
#pragma once

#include <string>
#include <type_traits>

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "logs/DataMinerMessages.h"
#include "tests/connector/tasks/CollectionFixture.h"

namespace Kyr::Connectors::OvAgentConnector {

namespace DataMiners = Kyr::Common::Message::DataMiners;

struct IndicatorLogs {
    using Task = CWinOvGetEcsIndicatorLogsTask;
    using StoreMessage = DataMiners::CDataMinerStoreEcsIndicatorLogs;
    static constexpr int kKind = 3;
    static constexpr char kKey[] = "XDR_OFFSET";
    static constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 00 00 10 00";
    static constexpr char kOneRecord[] = "0A 01 61";
    static constexpr char kName[] = "CWinOvGetEcsIndicatorLogsTask";
    static constexpr char kPublish[] = "publish DataMinerStoreEcsIndicatorLogs";
    static constexpr char kEmpty[] =
        "1 Empty indicator logs response received from OVANTA Connector";
    static constexpr char kError[] =
        "3 Failed to get ECS indicator logs from OVANTA Connector with code: ";
    static constexpr char kPublishing[] = "1 Publishing ECS indicator logs";
};

struct TelemetryLogs {
    using Task = CWinOvGetEcsTelemetryLogsTask;
    using StoreMessage = DataMiners::CDataMinerStoreEcsTelemetryLogs;
    static constexpr int kKind = 4;
    static constexpr char kKey[] = "XDR_TELEMETRY_OFFSET";
    static constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 02 00 10 00";
    static constexpr char kOneRecord[] = "0A 01 61";
    static constexpr char kName[] = "CWinOvGetEcsTelemetryLogsTask";
    static constexpr char kPublish[] = "publish DataMinerStoreEcsTelemetryLogs";
    static constexpr char kEmpty[] =
        "1 Empty telemetry logs response received from OVANTA Connector";
    static constexpr char kError[] =
        "3 Failed to get ECS telemetry logs from OVANTA Connector with code: ";
    static constexpr char kPublishing[] = "1 Publishing ECS telemetry logs";
};

struct RemediationActions {
    using Task = CWinOvGetRemediationTask;
    static constexpr int kKind = 5;
    static constexpr char kKey[] = "OV_REMEDIATION_OFFSET";
    static constexpr char kRequest[] = "0C 00 00 00 00 06 00 01 01 00 10 00";
    static constexpr char kOneRecord[] = "0A 02 08 03";
    static constexpr char kName[] = "CWinOvGetRemediationTask";
    static constexpr char kEmpty[] = "1 Empty response received from OV Connector";
    static constexpr char kError[] =
        "3 Failed to get remediation data from OV Connector with code: ";
};

struct CollectionNames {
    template <typename Kind>
    static std::string GetName(int /*number*/) {
        return Kind::kKey;
    }
};

/// A product with one record, or one action that blocks.
template <typename Kind>
class CollectionKindFixture : public CollectionFixture {
  protected:
    CollectionKindFixture() { ProductAnswers(Reply(Kind::kOneRecord)); }

    boost::shared_ptr<typename Kind::Task> MakeTask() const {
        if constexpr (std::is_same_v<Kind, RemediationActions>) {
            return boost::make_shared<typename Kind::Task>(
                logger, publisher, channel, nullptr, factory, remediationStore, keyValueStore);
        } else {
            return boost::make_shared<typename Kind::Task>(logger, publisher, channel, nullptr,
                                                           factory, keyValueStore);
        }
    }
    void Execute() { task->Execute(TriggerOf(Kind::kKind)); }
    std::string RetryText() {
        return RetryAfter([this] { Execute(); });
    }
    void SetOffset(const std::string& text) { keyValueStore->Put(Kind::kKey, text); }
    std::string Offset() const { return keyValueStore->Text(Kind::kKey); }

    const boost::shared_ptr<typename Kind::Task> task = MakeTask();
};

}  // namespace Kyr::Connectors::OvAgentConnector
