// A sink that keeps events, to be compared as text.
//
// Threads: any.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "lab/common/LineWriter.h"

namespace Kyr::Lab {

class CLineList {
  public:
    LineSink Sink() {
        return [this](const CLine& line) {
            const boost::lock_guard<boost::mutex> lock(mutex_);
            texts_.push_back(line.Text());
        };
    }

    /// All events so far.
    std::vector<std::string> Texts() const {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        return texts_;
    }
    /// All events so far, which are then forgotten.
    std::vector<std::string> Take() {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        return std::exchange(texts_, {});
    }

  private:
    mutable boost::mutex mutex_;
    std::vector<std::string> texts_;  // guarded by mutex_
};

}  // namespace Kyr::Lab
