// A value that threads share, with the lock that guards it.
//
// Threads: any. What is given to With runs with the lock held.
#pragma once

#include <mutex>
#include <utility>

namespace Kyr::Test {

template <typename Value>
class CGuarded {
  public:
    CGuarded() = default;
    explicit CGuarded(Value value) : value_(std::move(value)) {}

    Value Get() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return value_;
    }
    void Set(Value value) {
        const std::lock_guard<std::mutex> guard(mutex_);
        value_ = std::move(value);
    }
    /// Returns what `action` does.
    template <typename Action>
    auto With(const Action& action) {
        const std::lock_guard<std::mutex> guard(mutex_);
        return action(value_);
    }
    template <typename Action>
    auto With(const Action& action) const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return action(value_);
    }

  private:
    mutable std::mutex mutex_;
    Value value_{};  // guarded by mutex_
};

}  // namespace Kyr::Test
