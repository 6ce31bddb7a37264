#include "lab/devhost/database/KeyValueMapper.h"

#include <exception>

namespace Kyr::Lab::DevHost {

using Lock = boost::unique_lock<boost::mutex>;

CKeyValueMapper::CKeyValueMapper(CSqliteConnection& connection)
    : connection_(connection),
      select_(connection, "SELECT value FROM key_values WHERE key = ?"),
      replace_(connection, "INSERT OR REPLACE INTO key_values (key, value) VALUES (?, ?)") {}

CKeyValueMapper::~CKeyValueMapper() = default;

std::string CKeyValueMapper::GetValue(const std::string& key) {
    const Lock lock(connection_.Mutex());
    select_.BindText(1, key);
    if (!select_.Step()) {
        return {};
    }
    std::string value = select_.Column(0);
    select_.Reset();
    return value;
}

bool CKeyValueMapper::SetValue(const std::string& key, const std::string& value) {
    const Lock lock(connection_.Mutex());
    try {
        replace_.BindText(1, key);
        replace_.BindText(2, value);
        replace_.Step();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace Kyr::Lab::DevHost
