// Counts what host and product tell in one scenario.
//
// Threads: any.
// Errors: std::invalid_argument for an event whose count is no number.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "lab/common/LineProtocol.h"
#include "lab/runner/Figures.h"

namespace Kyr::Lab::Runner {

class CFigureCounter {
  public:
    void Event(const CLine& line);
    Figures Sum() const;

  private:
    void Log(const CLine& line);

    struct Tally {
        std::uint64_t stored;
        std::uint64_t twice;
        std::uint64_t lost;
    };

    mutable std::mutex mutex_;  // guards what stands below
    Figures sum_;
    bool reconnecting_ = false;             // this process has connected anew, or tries to
    std::map<std::string, Tally> tallies_;  // by kind of record, the latest
};

}  // namespace Kyr::Lab::Runner
