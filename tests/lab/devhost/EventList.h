// Takes events as the console would, for tests to look at.
//
// Threads: any.
#pragma once

#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/common/LineWriter.h"

namespace Kyr::Test {

class CEventList {
  public:
    Lab::LineSink Sink() {
        return [this](const Lab::CLine& line) {
            const boost::unique_lock<boost::mutex> lock(mutex_);
            texts_.push_back(line.Text());
        };
    }

    std::vector<std::string> Texts() const {
        const boost::unique_lock<boost::mutex> lock(mutex_);
        return texts_;
    }

  private:
    mutable boost::mutex mutex_;  // guards texts_
    std::vector<std::string> texts_;
};

}  // namespace Kyr::Test
