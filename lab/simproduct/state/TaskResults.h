// The outcomes of finished tasks that nobody has fetched yet, first come first served: each is
// handed out once.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <boost/thread/synchronized_value.hpp>

namespace Kyr::Lab::SimProduct {

// Outcomes as numbers (protocol): 0 is good as well, everything above 1 is a failure.
constexpr std::uint32_t kTaskDone = 1;
constexpr std::uint32_t kTaskFailed = 2;

/// Where the user data stands in a result: right behind its three numbers.
constexpr std::uint32_t kUserDataOffset = 12;

struct TaskResult {
    std::uint32_t outcome = kTaskDone;
    std::string userData;                    // UTF-8; as it stood in the task
    std::uint32_t offset = kUserDataOffset;  // where the reader is told to find it
};

class CTaskResults {
  public:
    void Add(const TaskResult& result) { waiting_->push_back(result); }
    /// The oldest, which is then forgotten; nothing when none is left.
    std::optional<TaskResult> Take() {
        auto waiting = waiting_.synchronize();
        if (waiting->empty()) {
            return std::nullopt;
        }
        TaskResult oldest = std::move(waiting->front());
        waiting->pop_front();
        return oldest;
    }
    std::vector<TaskResult> List() const {
        const auto waiting = waiting_.synchronize();
        return {waiting->begin(), waiting->end()};
    }

  private:
    boost::synchronized_value<std::deque<TaskResult>> waiting_;
};

}  // namespace Kyr::Lab::SimProduct
