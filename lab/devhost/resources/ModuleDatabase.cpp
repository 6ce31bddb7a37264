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

/// What each use of a mapper goes through.
struct Road {
    CDatabase& database;      // borrowed
    CCollectionSteps& steps;  // borrowed
    CFailures& failures;      // borrowed
    LineSink events;
};

class CModuleKeyValues final : public Database::IKeyValueAccessMapper {
  public:
    explicit CModuleKeyValues(Road road) : road_(std::move(road)) {}

    std::string GetValue(const std::string& key) override {
        road_.failures.Meet(Failure::kRead, key);
        if (IsOffset(key)) {
            road_.steps.Pass(CollectionStep::kBeforeRequest);
        }
        std::string value = road_.database.GetValue(key);
        road_.events(CLine("read").With("key", key).With("value", value));
        return value;
    }

    bool SetValue(const std::string& key, const std::string& value) override {
        if (road_.failures.Take(Failure::kWrite, key)) {
            return false;
        }
        if (IsOffset(key)) {
            road_.steps.Pass(CollectionStep::kBeforeOffset);
        }
        const bool stored = road_.database.SetValue(key, value);
        road_.events(
            CLine("write").With("key", key).With("value", value).With("result", ResultOf(stored)));
        if (stored && IsOffset(key)) {
            road_.steps.Pass(CollectionStep::kAfterOffset);
        }
        return stored;
    }

  private:
    const Road road_;
};

class CModuleRemediation final : public Database::IOvRemediationActionsMapper {
  public:
    explicit CModuleRemediation(Road road) : road_(std::move(road)) {}

    bool StoreActions(const std::vector<std::string>& actions) override {
        if (road_.failures.Take(Failure::kWrite, "actions")) {
            return false;
        }
        road_.steps.Pass(CollectionStep::kAfterReply);
        const bool stored = road_.database.StoreActions(actions);
        road_.events(
            CLine("write").With("actions", actions.size()).With("result", ResultOf(stored)));
        if (stored) {
            road_.steps.Pass(CollectionStep::kAfterPublish);
        }
        return stored;
    }

  private:
    const Road road_;
};

}  // namespace

CModuleDatabase::CModuleDatabase(CDatabase& database, CCollectionSteps& steps, CFailures& failures,
                                 LineSink events)
    : events_(std::move(events)),
      keyValues_(boost::make_shared<CModuleKeyValues>(Road{database, steps, failures, events_})),
      remediationActions_(
          boost::make_shared<CModuleRemediation>(Road{database, steps, failures, events_})) {}

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
