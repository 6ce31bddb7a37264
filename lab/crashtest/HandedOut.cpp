#include "lab/crashtest/HandedOut.h"

#include <algorithm>

#include <boost/thread/lock_guard.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::CrashTest {

void CHandedOut::Take(const CLine& event) {
    if (event.Kind() != "handed") {
        return;
    }
    const std::uint64_t from = ParseNumber(*event.Find("from"));
    const std::uint64_t records = ParseNumber(*event.Find("records"));
    const boost::lock_guard<boost::mutex> lock(mutex_);
    std::uint64_t& count = counts_[*event.Find("kind")];
    if (from <= count + 1) {
        count = std::max(count, from + records - 1);
    }
    ++batches_;
    changed_.notify_all();
}

std::uint64_t CHandedOut::Count(const std::string& kind) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const auto found = counts_.find(kind);
    return found == counts_.end() ? 0 : found->second;
}

std::uint64_t CHandedOut::Batches() const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    return batches_;
}

bool CHandedOut::AwaitBeyond(std::uint64_t batches) const {
    boost::unique_lock<boost::mutex> lock(mutex_);
    return changed_.wait_for(lock, boost::chrono::seconds(1), [&] { return batches_ > batches; });
}

}  // namespace Kyr::Lab::CrashTest
