#include "tests/support/AllocationWatch.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> largest{0};

void* Allocate(std::size_t size) {
    std::size_t seen = largest.load();
    while (seen < size && !largest.compare_exchange_weak(seen, size)) {
    }
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = Allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace Kyr::Test {

CAllocationWatch::CAllocationWatch() {
    largest = 0;
}

std::size_t CAllocationWatch::Largest() const {
    return largest;
}

}  // namespace Kyr::Test
