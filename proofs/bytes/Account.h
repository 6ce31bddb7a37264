// How many inputs of each kind had which class of outcomes, and the table of them that is kept:
//
//     reply header: answered: 1234
//     indicator records: 1 Publishing ECS indicator logs: *
//
// a line a class, sorted; "*" where the number may differ between versions of zlib and protobuf.
// Threads: single-threaded. Errors: std::runtime_error for a file that cannot be read or written.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "proofs/bytes/Kind.h"

namespace Kyr::Proofs::Bytes {

class CAccount {
  public:
    void Enter(const Kind& kind, const std::string& outcome);

    void Write(const std::string& file) const;
    /// What differs from the table in the file, a line each. `whole`: every change of every kind
    /// was tried, so that numbers count and nothing may be missing.
    std::vector<std::string> Differences(const std::string& file, bool whole) const;
    std::size_t Classes() const { return counts_.size(); }

  private:
    struct Count {
        std::uint64_t inputs = 0;
        bool isOurs = true;

        std::string Text() const { return isOurs ? std::to_string(inputs) : "*"; }
    };

    std::map<std::string, Count> counts_;  // by "kind: outcome"
};

}  // namespace Kyr::Proofs::Bytes
