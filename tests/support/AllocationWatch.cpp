#include "tests/support/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
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
std::atomic<Kyr::Test::AllocationJudge> judge{nullptr};

/// How many allocations of this thread are left, the failing one included; 0 = none is to fail.
thread_local unsigned untilFailure = 0;

}  // namespace

#ifndef KYR_KEEPS_OPERATOR_NEW

namespace {

void* Allocate(std::size_t size) noexcept {
    if (untilFailure != 0 && --untilFailure == 0) {
        return nullptr;
    }
    if (const auto asked = judge.load(std::memory_order_relaxed); asked != nullptr && !asked()) {
        return nullptr;
    }
    std::size_t seen = largest.load();
    while (seen < size && !largest.compare_exchange_weak(seen, size)) {
    }
    return std::malloc(size == 0 ? 1 : size);
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
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
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

CAllocationWatch::CAllocationWatch() {
    largest = 0;
}

std::size_t CAllocationWatch::Largest() const {
    return largest;
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

void SetAllocationJudge(AllocationJudge asked) {
    judge = asked;
}

}  // namespace Kyr::Test
