// A host database in memory: key-value texts, remediation actions, and their mappers by number. It
// fails when the test wants it to.
//
// Threads: any. Hooks are called with no lock held.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "host/database/IMapper.h"
#include "host/kernel/Resources.h"

namespace Kyr::Test {

class CFakeKeyValues : public Common::Database::IKeyValueAccessMapper {
  public:
    using GetHook = std::function<void(const std::string& key)>;
    using SetHook = std::function<bool(const std::string& key, const std::string& value)>;

    std::string GetValue(const std::string& key) override {
        if (const GetHook hook = Copy(onGet_)) {
            hook(key);
        }
        return Text(key);
    }
    bool SetValue(const std::string& key, const std::string& value) override {
        if (const SetHook hook = Copy(onSet_); hook && !hook(key, value)) {
            return false;
        }
        Put(key, value);
        return true;
    }

    /// The stored text, empty when there is none. Calls no hook, as Put.
    std::string Text(const std::string& key) const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        const auto found = values_.find(key);
        return found == values_.end() ? std::string() : found->second;
    }
    void Put(const std::string& key, const std::string& value) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        values_[key] = value;
    }

    /// Called before every reading; what it throws reaches the reader.
    void OnGet(GetHook hook) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        onGet_ = std::move(hook);
    }
    /// Called before every writing, which is refused when it returns false; what it throws reaches
    /// the writer.
    void OnSet(SetHook hook) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        onSet_ = std::move(hook);
    }

  private:
    template <typename Hook>
    Hook Copy(const Hook& hook) const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return hook;
    }

    mutable boost::mutex mutex_;  // guards everything below
    std::map<std::string, std::string> values_;
    GetHook onGet_;
    SetHook onSet_;
};

class CFakeRemediationActions : public Common::Database::IOvRemediationActionsMapper {
  public:
    using Batch = std::vector<std::string>;
    using StoreHook = std::function<bool(const Batch& actions)>;

    bool StoreActions(const Batch& actions) override {
        if (const StoreHook hook = Hook(); hook && !hook(actions)) {
            return false;
        }
        const boost::lock_guard<boost::mutex> guard(mutex_);
        if (recording_) {
            batches_.push_back(actions);
        }
        return true;
    }
    std::vector<Batch> Batches() const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return batches_;
    }

    /// Called before a batch is stored, which is refused when it returns false; what it throws
    /// reaches the caller.
    void OnStore(StoreHook hook) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        onStore_ = std::move(hook);
    }
    /// Whether batches are kept from now on.
    void SetRecording(bool recording) {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        recording_ = recording;
    }

  private:
    StoreHook Hook() const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return onStore_;
    }

    mutable boost::mutex mutex_;  // guards everything below
    bool recording_ = true;
    std::vector<Batch> batches_;
    StoreHook onStore_;
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
