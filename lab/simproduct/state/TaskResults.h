// The outcomes of finished tasks that nobody has fetched yet, first come first served: each is
// handed out once.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

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
    void Add(const TaskResult& result);
    /// The oldest, which is then forgotten; nothing when none is left.
    std::optional<TaskResult> Take();
    std::vector<TaskResult> List() const;

  private:
    mutable boost::mutex mutex_;
    std::deque<TaskResult> waiting_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
