// What a stretch of code allocates: its largest single allocation, and the most that it holds at
// once, for tests of what bytes from outside make a decoder take; and an allocation that fails, for
// tests of what is left when the memory runs out. A program that links it has its `operator new`
// replaced; ThreadSanitizer keeps its own, so that tests of memory begin with
// `KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED`.
//
// Threads: the watch sees allocations of all threads; a failure belongs to the thread that made it.
#pragma once

#include <cstddef>
#include <gtest/gtest.h>

#define KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED()                \
    if (!Kyr::Test::CAllocationWatch::IsPossible()) {            \
        GTEST_SKIP() << "this build's operator new is not ours"; \
    }                                                            \
    static_assert(true, "takes the semicolon")

namespace Kyr::Test {

class CAllocationWatch {
  public:
    /// Whether this build's allocations are seen, and can be made to fail.
    static bool IsPossible();

    /// What everybody holds at this moment, in bytes; 0 where it is not possible.
    static std::size_t Held();

    /// Starts anew; there is one watch at a time.
    CAllocationWatch();
    /// In bytes, since the watch was made.
    std::size_t Largest() const;
    /// The most bytes that were held at once, since the watch was made, beside those before it.
    /// Off Windows, where what one library allocates another one may free uncounted.
    std::size_t MostHeld() const;

  private:
    const std::size_t before_;
};

/// Lets one allocation of this thread fail, while it lives: the one after `after` that work. Those
/// behind it work again. One at a time on a thread.
class CAllocationFailure {
  public:
    explicit CAllocationFailure(unsigned after = 0);
    ~CAllocationFailure();
    CAllocationFailure(const CAllocationFailure&) = delete;
    CAllocationFailure& operator=(const CAllocationFailure&) = delete;

    /// Whether the allocation has come, and failed.
    bool HasHappened() const;
};

/// Asked for every allocation from now on, on its thread; false lets it fail. Must not allocate.
/// Null: nobody is asked.
using AllocationJudge = bool (*)() noexcept;
void SetAllocationJudge(AllocationJudge judge);

/// Whether the calling thread is in `operator new`, or in a judge or witness of it.
bool IsInOperatorNew() noexcept;

/// Told of every block from now on, on its thread: when it has been handed out, and before it is
/// given back. Must not allocate. Null: nobody is told.
using BlockWitness = void (*)(void* block) noexcept;
void SetBlockWitnesses(BlockWitness handedOut, BlockWitness givenBack);

}  // namespace Kyr::Test
