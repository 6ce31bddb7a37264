#include "lab/devhost/database/RemediationMapper.h"

#include <exception>

#include "lab/devhost/database/Transaction.h"

namespace Kyr::Lab::DevHost {

using Lock = boost::unique_lock<boost::mutex>;

CRemediationMapper::CRemediationMapper(CSqliteConnection& connection)
    : connection_(connection),
      insert_(connection, "INSERT INTO remediation_actions (action) VALUES (?)"),
      select_(connection, "SELECT action FROM remediation_actions ORDER BY number") {}

CRemediationMapper::~CRemediationMapper() = default;

bool CRemediationMapper::StoreActions(const std::vector<std::string>& actions) {
    const Lock lock(connection_.Mutex());
    try {
        CTransaction transaction(connection_);
        for (const std::string& action : actions) {
            insert_.BindBlob(1, action);
            insert_.Step();
        }
        transaction.Commit();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::vector<std::string> CRemediationMapper::StoredActions() {
    const Lock lock(connection_.Mutex());
    std::vector<std::string> actions;
    while (select_.Step()) {
        actions.push_back(select_.Column(0));
    }
    return actions;
}

}  // namespace Kyr::Lab::DevHost
