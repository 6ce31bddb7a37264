#include "lab/simproduct/state/TaskResults.h"

#include <utility>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

void CTaskResults::Add(const TaskResult& result) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    waiting_.push_back(result);
}

std::optional<TaskResult> CTaskResults::Take() {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    if (waiting_.empty()) {
        return std::nullopt;
    }
    TaskResult oldest = std::move(waiting_.front());
    waiting_.pop_front();
    return oldest;
}

std::vector<TaskResult> CTaskResults::List() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return {waiting_.begin(), waiting_.end()};
}

}  // namespace Kyr::Lab::SimProduct
