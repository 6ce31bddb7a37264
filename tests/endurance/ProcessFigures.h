// What this process holds of the system, to be compared between two moments.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::Endurance {

struct ProcessFigures {
    std::uint64_t residentKiB = 0;
    std::uint64_t descriptors = 0;
    std::uint64_t threads = 0;
    std::string live;  // of the port layer, as it tells

    /// All but the memory, in one line: two moments that hold the same give the same text.
    std::string Held() const;
};

/// Memory that is free and still mapped is given back first.
ProcessFigures ReadProcessFigures();

/// The most memory that this process has had in use, since it began or last forgot.
std::uint64_t PeakResidentKiB();
void ForgetPeakResident();

}  // namespace Kyr::Endurance
