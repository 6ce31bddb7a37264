// How many of the records that were handed out have come, how many twice, and how many never.
//
// Records of the lab carry their number in `event.sequence`, from 1.
//
// Threads: any; one at a time on a count.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace Kyr::Lab::DevHost {

/// The number of a record; nothing for a text that is no JSON or has none.
std::optional<std::uint64_t> SequenceOf(const std::string& record);

/// The text inside an action, which is itself a record; empty when there is none.
std::string TextOfAction(const std::string& action);

struct MinerTally {
    std::uint64_t stored = 0;  // all that came
    std::uint64_t twice = 0;   // of them, those that had come before
    std::uint64_t unnumbered = 0;
    std::uint64_t highest = 0;  // the highest number
    bool inOrder = true;        // those that came first came in the order of their numbers

    /// How many different numbered records came.
    std::uint64_t Distinct() const { return stored - twice - unnumbered; }
};

/// Counts records as they are handed in.
class CMinerCount {
  public:
    void Take(const std::string& record);
    const MinerTally& Tally() const { return tally_; }

  private:
    MinerTally tally_;
    std::set<std::uint64_t> seen_;
};

}  // namespace Kyr::Lab::DevHost
