// The moments at which a process may die: before and behind each call that it makes on port, area,
// bus, store and log. They are counted, and at the one that is asked for the process kills itself.
//
// Calls of the port layer and the area are those of the operating system (SystemCalls.cpp); those
// of bus, store and log are made by host and product.
//
// Threads and processes: any; a Fate is in memory that the process and its parent share.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace Kyr::Proofs::Kill {

struct Fate {
    std::atomic<std::uint64_t> moments{0};  // that have passed in this life
    std::atomic<std::uint64_t> dieAt{0};    // the number of the last one; 0: none
    std::atomic<bool> stop{false};          // the process is to end in good order
    std::chrono::microseconds pause{};      // between two looks at that; before the process begins

    // Of the process that has killed itself.
    std::atomic<const char*> call{nullptr};  // its name, a literal
    std::atomic<bool> behind{false};
};

/// Sleeps for that time.
void Pause(const Fate& fate);

/// From now on the moments of this process are counted there.
void BeginLife(Fate& fate);

/// A call as long as it lives; those within it are parts of it and no moments of their own. Changes
/// nothing of the thread, errno included. REQUIRES: a literal.
class CCall {
  public:
    explicit CCall(const char* name) noexcept;
    ~CCall();
    CCall(const CCall&) = delete;
    CCall& operator=(const CCall&) = delete;

  private:
    const char* const name_;
};

}  // namespace Kyr::Proofs::Kill
