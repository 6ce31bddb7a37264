// What host and product have done so far, a line a deed, in one file that both write: it is the
// host's store, what came over its bus, the log of both and the product's memory, and it has them
// in one order. Whoever is started anew reads there how far it was.
//
// A line is whole or not there: what a kill has left of one is passed over.
//
//     journal = *( LF line " ." LF )
//
// Lines are those of lab/common/LineProtocol.h, without a time. Kinds besides the product's own
// events: set, stored, told, configuration, published, log (host), task, policy (given to the
// host), killed.
//
// Threads: Append by any thread of any process that has opened the file; ReadNew by one thread.
// Errors: std::runtime_error when the file cannot be opened or written.
#pragma once

#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Proofs::Kill {

class CJournal {
  public:
    /// Opens the file, or makes it.
    explicit CJournal(const std::string& path);
    ~CJournal();
    CJournal(const CJournal&) = delete;
    CJournal& operator=(const CJournal&) = delete;

    /// With one call of the operating system, which has the line when it returns.
    void Append(const Lab::CLine& line) const;
    /// Whole lines that have come since the last call.
    std::vector<Lab::CLine> ReadNew();

  private:
    const int file_;
    std::string unread_;  // the beginning of a line
    long position_ = 0;
};

}  // namespace Kyr::Proofs::Kill
