#include "lab/devhost/resources/SteppedDatabase.h"

#include <boost/make_shared.hpp>

namespace Kyr::Lab::DevHost {

namespace {

namespace Database = Common::Database;

bool IsOffset(const std::string& key) {
    return key == "XDR_OFFSET" || key == "XDR_TELEMETRY_OFFSET" || key == "OV_REMEDIATION_OFFSET";
}

class CSteppedKeyValues final : public Database::IKeyValueAccessMapper {
  public:
    CSteppedKeyValues(CKeyValueMapper& mapper, CCollectionSteps& steps)
        : mapper_(mapper), steps_(steps) {}

    std::string GetValue(const std::string& key) override {
        if (IsOffset(key)) {
            steps_.OffsetRead();
        }
        return mapper_.GetValue(key);
    }

    bool SetValue(const std::string& key, const std::string& value) override {
        if (!IsOffset(key)) {
            return mapper_.SetValue(key, value);
        }
        steps_.OffsetCame();
        const bool stored = mapper_.SetValue(key, value);
        if (stored) {
            steps_.OffsetStored();
        }
        return stored;
    }

  private:
    CKeyValueMapper& mapper_;  // borrowed
    CCollectionSteps& steps_;  // borrowed
};

class CSteppedRemediation final : public Database::IOvRemediationActionsMapper {
  public:
    CSteppedRemediation(CRemediationMapper& mapper, CCollectionSteps& steps)
        : mapper_(mapper), steps_(steps) {}

    bool StoreActions(const std::vector<std::string>& actions) override {
        steps_.RecordsCame();
        const bool stored = mapper_.StoreActions(actions);
        if (stored) {
            steps_.RecordsStored();
        }
        return stored;
    }

  private:
    CRemediationMapper& mapper_;  // borrowed
    CCollectionSteps& steps_;     // borrowed
};

}  // namespace

CSteppedDatabase::CSteppedDatabase(CDatabase& database, CCollectionSteps& steps)
    : keyValues_(boost::make_shared<CSteppedKeyValues>(database.KeyValues(), steps)),
      remediationActions_(
          boost::make_shared<CSteppedRemediation>(database.RemediationActions(), steps)) {}

CSteppedDatabase::~CSteppedDatabase() = default;

boost::shared_ptr<Database::IMapper> CSteppedDatabase::GetMapper(int number) {
    switch (number) {
        case Database::kKeyValueAccessMapper:
            return keyValues_;
        case Database::kOvRemediationActionsMapper:
            return remediationActions_;
        default:
            return {};
    }
}

}  // namespace Kyr::Lab::DevHost
