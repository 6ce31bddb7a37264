// What a run comes to in figures, counted from what host and product tell.
//
// Threads: one at a time.
// Errors: std::invalid_argument for an event whose count is no number.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

struct Figures {
    std::uint64_t requests = 0;  // that the product was asked, without pings
    std::uint64_t pings = 0;
    std::uint64_t connections = 0;    // the first of every start of the host
    std::uint64_t reconnections = 0;  // those that came about
    std::uint64_t givenUp = 0;        // messages after their last attempt
    std::uint64_t records = 0;        // that the host has stored
    /// What the host's own count of its records says; nothing when it was never asked.
    bool counted = false;
    std::uint64_t twice = 0;
    std::uint64_t lost = 0;

    /// Every reconnection is for a message: it is tried again then, or given up.
    std::uint64_t Retries() const { return reconnections - givenUp; }

    Figures& operator+=(const Figures& other);
};

/// One row each, for a person: what was counted, and how often.
std::vector<std::pair<std::string, std::string>> Rows(const Figures& figures);

/// Counts for one scenario.
class CFigureCounter {
  public:
    void Event(const CLine& line);
    Figures Sum() const;

  private:
    void Log(const CLine& line);

    Figures sum_;
    bool reconnecting_ = false;               // this process has connected anew, or tries to
    std::map<std::string, Figures> tallies_;  // by kind of record, the latest
};

}  // namespace Kyr::Lab::Runner
