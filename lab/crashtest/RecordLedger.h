// The account of one kind of records over many lives of a host: what a life has stored must go on
// exactly where the offset that it found said, and be what the product handed out, byte for byte.
//
// Threads: one at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Kyr::Lab::CrashTest {

/// What came of one kind of records, in one world or in several.
struct RecordCounts {
    std::uint64_t sent = 0;      // different ones that were handed out
    std::uint64_t stored = 0;    // by all lives
    std::uint64_t twice = 0;     // of them, those that an earlier life had stored
    std::uint64_t lost = 0;      // of those sent, those that never came
    std::uint64_t inFlight = 0;  // lives that ended between a batch and its offset

    RecordCounts& operator+=(const RecordCounts& other);
};

class CRecordLedger {
  public:
    /// `batch` is how many records one reply carries at most.
    explicit CRecordLedger(std::uint64_t batch) : batch_(batch) {}

    /// The next record that the product has; they are numbered from 1.
    void Expect(std::string record) { expected_.push_back(std::move(record)); }

    /// The product has handed out so many, from that number on. A batch that would leave a gap is
    /// not counted: the product never hands one out.
    void HandOut(std::uint64_t from, std::uint64_t records);

    /// Closes the account of one life: the records that it stored, in order, and the offset that it
    /// left. Says what is wrong, if anything is.
    std::optional<std::string> CloseLife(const std::vector<std::string>& records,
                                         std::uint64_t offset);

    RecordCounts Counts() const;
    /// The highest number; all below have come, or CloseLife has complained.
    std::uint64_t Highest() const { return highest_; }

  private:
    std::string Describe(const std::string& record) const;

    const std::uint64_t batch_;
    std::vector<std::string> expected_;
    std::uint64_t offset_ = 0;  // that the next life finds
    std::uint64_t highest_ = 0;
    RecordCounts counts_;  // without those lost
};

}  // namespace Kyr::Lab::CrashTest
