// Sanitizers have an `operator new` of their own; they tell of what it gives out.
#include <atomic>
#include <sanitizer/allocator_interface.h>

#include "tests/support/AllocationWatch.h"

namespace {

std::atomic<std::size_t> largest{0};

void Note(const volatile void* /*memory*/, std::size_t size) {
    std::size_t seen = largest.load();
    while (seen < size && !largest.compare_exchange_weak(seen, size)) {
    }
}

void Ignore(const volatile void* /*memory*/) {}

}  // namespace

namespace Kyr::Test {

CAllocationWatch::CAllocationWatch() {
    [[maybe_unused]] static const int installed =
        __sanitizer_install_malloc_and_free_hooks(Note, Ignore);
    largest = 0;
}

std::size_t CAllocationWatch::Largest() const {
    return largest;
}

}  // namespace Kyr::Test
