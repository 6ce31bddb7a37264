#include "tests/support/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

#if defined(__SANITIZE_THREAD__)
#define KYR_KEEPS_OPERATOR_NEW
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KYR_KEEPS_OPERATOR_NEW
#endif
#endif

namespace {

std::atomic<std::size_t> largest{0};
std::atomic<std::size_t> held{0};  // now, by everybody
std::atomic<std::size_t> most{0};  // at once, since the watch was made
std::atomic<Kyr::Test::AllocationJudge> judge{nullptr};
std::atomic<Kyr::Test::BlockWitness> handedOutTo{nullptr};
std::atomic<Kyr::Test::BlockWitness> givenBackTo{nullptr};

/// How many allocations of this thread are left, the failing one included; 0 = none is to fail.
thread_local unsigned untilFailure = 0;
thread_local bool inOperatorNew = false;

}  // namespace

#ifndef KYR_KEEPS_OPERATOR_NEW

namespace {

/// What an allocation really takes.
std::size_t RoomOf(void* memory) noexcept {
#ifdef _WIN32
    return _msize(memory);
#else
    return malloc_usable_size(memory);
#endif
}

void Tell(const std::atomic<Kyr::Test::BlockWitness>& witness, void* block) noexcept {
    if (const auto told = witness.load(std::memory_order_relaxed); told != nullptr) {
        told(block);
    }
}

void Raise(std::atomic<std::size_t>& limit, std::size_t value) noexcept {
    std::size_t seen = limit.load();
    while (seen < value && !limit.compare_exchange_weak(seen, value)) {
    }
}

class CInOperatorNew {
  public:
    CInOperatorNew() { inOperatorNew = true; }
    ~CInOperatorNew() { inOperatorNew = false; }
    CInOperatorNew(const CInOperatorNew&) = delete;
    CInOperatorNew& operator=(const CInOperatorNew&) = delete;
};

void* Allocate(std::size_t size) noexcept {
    const CInOperatorNew inside;
    if (untilFailure != 0 && --untilFailure == 0) {
        return nullptr;
    }
    if (const auto asked = judge.load(std::memory_order_relaxed); asked != nullptr && !asked()) {
        return nullptr;
    }
    Raise(largest, size);
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) {
        const std::size_t room = RoomOf(memory);
        Raise(most, held.fetch_add(room) + room);
        Tell(handedOutTo, memory);
    }
    return memory;
}

void Release(void* memory) noexcept {
    if (memory != nullptr) {
        Tell(givenBackTo, memory);
        held -= RoomOf(memory);
    }
    std::free(memory);
}

void* AllocateOrThrow(std::size_t size) {
    if (void* memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace

// All of them but the aligned ones: a sanitizer, which has its own, tells of memory that one of a
// pair has handed out and the other's counterpart is given.

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}

void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Allocate(size);
}

void operator delete(void* memory) noexcept {
    Release(memory);
}

void operator delete[](void* memory) noexcept {
    Release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    Release(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    Release(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    Release(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    Release(memory);
}

#endif

namespace Kyr::Test {

bool CAllocationWatch::IsPossible() {
#ifdef KYR_KEEPS_OPERATOR_NEW
    return false;
#else
    return true;
#endif
}

std::size_t CAllocationWatch::Held() {
    return held;
}

CAllocationWatch::CAllocationWatch() : before_(held) {
    largest = 0;
    most = before_;
}

std::size_t CAllocationWatch::Largest() const {
    return largest;
}

std::size_t CAllocationWatch::MostHeld() const {
    return most - before_;
}

CAllocationFailure::CAllocationFailure(unsigned after) {
    untilFailure = after + 1;
}

CAllocationFailure::~CAllocationFailure() {
    untilFailure = 0;
}

bool CAllocationFailure::HasHappened() const {
    return untilFailure == 0;
}

bool IsInOperatorNew() noexcept {
    return inOperatorNew;
}

void SetAllocationJudge(AllocationJudge asked) {
    judge = asked;
}

void SetBlockWitnesses(BlockWitness handedOut, BlockWitness givenBack) {
    handedOutTo = handedOut;
    givenBackTo = givenBack;
}

}  // namespace Kyr::Test
