// The host database as modules see it: mappers by number.
//
// Threads: the host makes all of them safe to call from any thread.
// The order of the virtual operations is the host's contract.
#pragma once

#include <string>
#include <vector>

namespace Kyr::Common::Database {

class IMapper {
  public:
    virtual ~IMapper();
};

/// Texts by text key. The connector keeps the offsets of its collections there, and reads its
/// settings.
class IKeyValueAccessMapper : public IMapper {
  public:
    ~IKeyValueAccessMapper() override;
    /// The stored text, empty when there is none.
    virtual std::string GetValue(const std::string& key) = 0;
    /// Stores `value`, replacing the old text. Returns false when it could not be stored.
    virtual bool SetValue(const std::string& key, const std::string& value) = 0;
};

/// Remediation actions, which the host's data miner takes from there.
class IOvRemediationActionsMapper : public IMapper {
  public:
    ~IOvRemediationActionsMapper() override;
    /// Stores the whole batch of serialised actions. Returns true when it was stored.
    virtual bool StoreActions(const std::vector<std::string>& actions) = 0;
};

/// The numbers under which the database resource knows the mappers.
enum MapperNumber : int {
    kKeyValueAccessMapper = 348,
    kOvRemediationActionsMapper = 388,
};

}  // namespace Kyr::Common::Database
