// A host database in memory: key-value texts, remediation actions, and their mappers by number.
//
// Threads: any.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "host/database/IMapper.h"
#include "host/kernel/Resources.h"

namespace Kyr::Test {

class CFakeKeyValues : public Common::Database::IKeyValueAccessMapper {
  public:
    std::string GetValue(const std::string& key) override {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        if (onGet_) {
            onGet_(key);
        }
        return values_[key];
    }
    bool SetValue(const std::string& key, const std::string& value) override {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        values_[key] = value;
        return true;
    }

    /// Called before every reading; what it throws reaches the reader.
    void OnGet(std::function<void(const std::string&)> hook) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        onGet_ = std::move(hook);
    }

  private:
    boost::mutex mutex_;  // guards everything below
    std::map<std::string, std::string> values_;
    std::function<void(const std::string&)> onGet_;
};

class CFakeRemediationActions : public Common::Database::IOvRemediationActionsMapper {
  public:
    bool StoreActions(const std::vector<std::string>& actions) override {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        batches_.push_back(actions);
        return true;
    }
    std::vector<std::vector<std::string>> Batches() const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return batches_;
    }

  private:
    mutable boost::mutex mutex_;
    std::vector<std::vector<std::string>> batches_;  // guarded by mutex_
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
