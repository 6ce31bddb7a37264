// The events of a run in a file, one a line, for reading afterwards and for comparing runs.
//
// Threads: Event from any thread.
#pragma once

#include <fstream>
#include <mutex>
#include <string>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

class CTranscript {
  public:
    /// Begins a new file, with the folders that lead to it, by a line that says what it is; throws
    /// std::runtime_error when it cannot.
    CTranscript(const std::string& path, const std::string& heading);

    void Event(const std::string& actor, const TimedLine& line);

  private:
    std::mutex mutex_;  // guards the file
    std::ofstream file_;
};

}  // namespace Kyr::Lab::Runner
