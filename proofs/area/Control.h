// What writer and readers of the area know of each other, in memory that both processes share and
// that is not the area.
//
// Threads and processes: any.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kyr::Proofs::Area {

struct Control {
    /// Even: the writer keeps to the mutex. Odd: it does not, or has died in the middle of a block.
    /// Another number for each such time, so that who saw the same even one before and behind a
    /// read has read while the writer kept to the mutex.
    std::atomic<std::uint64_t> episode{1};
    std::atomic<bool> stop{false};

    // What the writer did.
    std::atomic<std::uint64_t> turns{0};  // under the mutex
    std::atomic<std::uint64_t> lies{0};   // words, without it
    std::atomic<std::uint64_t> holds{0};
    std::atomic<std::uint64_t> longHolds{0};  // beyond a reader's patience
    std::atomic<std::uint64_t> deaths{0};     // with the mutex
    std::atomic<std::uint64_t> deadThreads{0};
    /// What nobody expects of a writer; readers' findings are worth nothing then.
    std::atomic<std::uint64_t> failures{0};
};

// What the area holds: the same block of equal words in both places where the data may begin. The
// two halves of each word are equal, too.
constexpr std::uint32_t kBlockPlace = 0x200;
constexpr std::uint32_t kBlockLength = 0x200;
constexpr std::uint32_t kValuesPlace = 24;
constexpr std::uint32_t kValuesLength = 48;

constexpr bool HasEqualHalves(std::uint32_t word) {
    return (word & 0xFFFF) == word >> 16;
}

}  // namespace Kyr::Proofs::Area
