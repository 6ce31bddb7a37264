// Every change of one sample: the sample as it stands, every byte replaced by each of the 255
// others, every cut, every byte left out, every byte put in anywhere, and at every place a number
// of two bytes, of four and of protobuf's kind that is set to 40 values which decoders get wrong.
//
// The changes have numbers, so that a run can take some of them, and one of them again.
// Threads: single-threaded. Errors: none but REQUIRES.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kyr::Proofs::Bytes {

using Input = std::vector<std::uint8_t>;

/// The bytes of a sound reply, and which of them are changed.
struct Sample {
    std::string name;
    Input bytes;
    /// Changes begin before this place; 0: the sample is only looked at as it stands, in whole
    /// runs.
    std::size_t reach = static_cast<std::size_t>(-1);
    /// Of large samples: only the numbers are changed.
    bool numbersOnly = false;
};

class CChanges {
  public:
    /// `sample` must outlive the object.
    explicit CChanges(const Sample& sample);

    std::size_t Count() const;
    /// REQUIRES: index < Count().
    Input Make(std::size_t index) const;
    std::string Describe(std::size_t index) const;

  private:
    enum class Way { kNone, kReplace, kCut, kLeaveOut, kPutIn, kWord16, kWord32, kVarint };
    struct Change {
        Way way;
        std::size_t place;
        std::size_t choice;
    };
    struct Series {
        Way way;
        std::size_t places;
        std::size_t choices;
    };

    Change At(std::size_t index) const;
    std::uint64_t Number(Way way, std::size_t choice) const;

    const Sample& sample_;
    std::vector<Series> series_;
};

}  // namespace Kyr::Proofs::Bytes
