// A host database in memory: key-value texts, remediation actions, and their mappers by number. It
// fails when the test wants it to.
//
// Threads: any. Hooks are called with no lock held.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

#include "host/database/IMapper.h"
#include "host/kernel/Resources.h"
#include "tests/support/Guarded.h"

namespace Kyr::Test {

class CFakeKeyValues : public Common::Database::IKeyValueAccessMapper {
  public:
    using GetHook = std::function<void(const std::string& key)>;
    using SetHook = std::function<bool(const std::string& key, const std::string& value)>;

    std::string GetValue(const std::string& key) override {
        if (const GetHook hook = onGet_.Get()) {
            hook(key);
        }
        return Text(key);
    }
    bool SetValue(const std::string& key, const std::string& value) override {
        if (const SetHook hook = onSet_.Get(); hook && !hook(key, value)) {
            return false;
        }
        Put(key, value);
        return true;
    }

    /// The stored text, empty when there is none. Calls no hook, as Put.
    std::string Text(const std::string& key) const {
        return values_.With([&](const auto& values) {
            const auto found = values.find(key);
            return found == values.end() ? std::string() : found->second;
        });
    }
    void Put(const std::string& key, const std::string& value) {
        values_.With([&](auto& values) { values[key] = value; });
    }

    /// Called before every reading; what it throws reaches the reader.
    void OnGet(GetHook hook) { onGet_.Set(std::move(hook)); }
    /// Called before every writing, which is refused when it returns false; what it throws reaches
    /// the writer.
    void OnSet(SetHook hook) { onSet_.Set(std::move(hook)); }

  private:
    CGuarded<std::map<std::string, std::string>> values_;
    CGuarded<GetHook> onGet_;
    CGuarded<SetHook> onSet_;
};

class CFakeRemediationActions : public Common::Database::IOvRemediationActionsMapper {
  public:
    using Batch = std::vector<std::string>;
    using StoreHook = std::function<bool(const Batch& actions)>;

    bool StoreActions(const Batch& actions) override {
        if (const StoreHook hook = onStore_.Get(); hook && !hook(actions)) {
            return false;
        }
        if (recording_) {
            batches_.With([&](auto& batches) { batches.push_back(actions); });
        }
        return true;
    }
    std::vector<Batch> Batches() const { return batches_.Get(); }

    /// Called before a batch is stored, which is refused when it returns false; what it throws
    /// reaches the caller.
    void OnStore(StoreHook hook) { onStore_.Set(std::move(hook)); }
    /// Whether batches are kept from now on.
    void SetRecording(bool recording) { recording_ = recording; }

  private:
    std::atomic<bool> recording_{true};
    CGuarded<std::vector<Batch>> batches_;
    CGuarded<StoreHook> onStore_;
};

/// Set up by one thread.
class CFakeDatabase : public Common::Kernel::IDatabaseResource {
  public:
    boost::shared_ptr<Common::Database::IMapper> GetMapper(int number) override {
        requested.push_back(number);
        return mappers[number];
    }

    const boost::shared_ptr<CFakeKeyValues> keyValues = boost::make_shared<CFakeKeyValues>();
    const boost::shared_ptr<CFakeRemediationActions> remediationActions =
        boost::make_shared<CFakeRemediationActions>();
    std::map<int, boost::shared_ptr<Common::Database::IMapper>> mappers = {
        {348, keyValues}, {388, remediationActions}};
    /// Every number asked for, in order.
    std::vector<int> requested;
};

}  // namespace Kyr::Test
