#include "lab/devhost/resources/ModuleDatabase.h"

#include <utility>

#include <boost/make_shared.hpp>

namespace Kyr::Lab::DevHost {

namespace {

namespace Database = Common::Database;

bool IsOffset(const std::string& key) {
    return key == "XDR_OFFSET" || key == "XDR_TELEMETRY_OFFSET" || key == "OV_REMEDIATION_OFFSET";
}

const char* ResultOf(bool stored) {
    return stored ? "stored" : "refused";
}

class CModuleKeyValues final : public Database::IKeyValueAccessMapper {
  public:
    CModuleKeyValues(CKeyValueMapper& mapper, CCollectionSteps& steps, CFailures& failures,
                     LineSink events)
        : mapper_(mapper), steps_(steps), failures_(failures), events_(std::move(events)) {}

    std::string GetValue(const std::string& key) override {
        failures_.Meet(Failure::kRead, key);
        if (IsOffset(key)) {
            steps_.OffsetRead();
        }
        std::string value = mapper_.GetValue(key);
        events_(CLine("read").With("key", key).With("value", value));
        return value;
    }

    bool SetValue(const std::string& key, const std::string& value) override {
        if (failures_.Take(Failure::kWrite, key)) {
            return false;
        }
        if (IsOffset(key)) {
            steps_.OffsetCame();
        }
        const bool stored = mapper_.SetValue(key, value);
        events_(
            CLine("write").With("key", key).With("value", value).With("result", ResultOf(stored)));
        if (stored && IsOffset(key)) {
            steps_.OffsetStored();
        }
        return stored;
    }

  private:
    CKeyValueMapper& mapper_;  // borrowed
    CCollectionSteps& steps_;  // borrowed
    CFailures& failures_;      // borrowed
    const LineSink events_;
};

class CModuleRemediation final : public Database::IOvRemediationActionsMapper {
  public:
    CModuleRemediation(CRemediationMapper& mapper, CCollectionSteps& steps, CFailures& failures,
                       LineSink events)
        : mapper_(mapper), steps_(steps), failures_(failures), events_(std::move(events)) {}

    bool StoreActions(const std::vector<std::string>& actions) override {
        if (failures_.Take(Failure::kWrite, "actions")) {
            return false;
        }
        steps_.RecordsCame();
        const bool stored = mapper_.StoreActions(actions);
        events_(CLine("write").With("actions", actions.size()).With("result", ResultOf(stored)));
        if (stored) {
            steps_.RecordsStored();
        }
        return stored;
    }

  private:
    CRemediationMapper& mapper_;  // borrowed
    CCollectionSteps& steps_;     // borrowed
    CFailures& failures_;         // borrowed
    const LineSink events_;
};

}  // namespace

CModuleDatabase::CModuleDatabase(CDatabase& database, CCollectionSteps& steps, CFailures& failures,
                                 LineSink events)
    : events_(std::move(events)),
      keyValues_(
          boost::make_shared<CModuleKeyValues>(database.KeyValues(), steps, failures, events_)),
      remediationActions_(boost::make_shared<CModuleRemediation>(database.RemediationActions(),
                                                                 steps, failures, events_)) {}

CModuleDatabase::~CModuleDatabase() = default;

boost::shared_ptr<Database::IMapper> CModuleDatabase::GetMapper(int number) {
    boost::shared_ptr<Database::IMapper> mapper;
    if (number == Database::kKeyValueAccessMapper) {
        mapper = keyValues_;
    } else if (number == Database::kOvRemediationActionsMapper) {
        mapper = remediationActions_;
    }
    events_(CLine("mapper")
                .With("number", std::to_string(number))
                .With("given", mapper ? "yes" : "no"));
    return mapper;
}

}  // namespace Kyr::Lab::DevHost
