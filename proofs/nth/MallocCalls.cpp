#include "proofs/nth/MallocCalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <link.h>

#include "proofs/nth/Faults.h"
#include "tests/support/AllocationWatch.h"

// A sanitizer has its own of these functions.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KYR_KEEPS_MALLOC
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KYR_KEEPS_MALLOC
#endif
#endif

namespace Kyr::Proofs::Nth {

namespace {

/// Code of the program or of a library of those whose calls may fail.
struct Code {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

// Filled before the first fault; unused ones are empty.
std::array<Code, 8> callers;
std::size_t callerCount = 0;

int AddCode(dl_phdr_info* object, std::size_t /*size*/, void* /*unused*/) {
    const bool isOurs =
        object->dlpi_name[0] == '\0' || std::strstr(object->dlpi_name, "/libz.so") != nullptr;
    for (int header = 0; isOurs && header < object->dlpi_phnum; ++header) {
        const auto& part = object->dlpi_phdr[header];
        if (part.p_type == PT_LOAD && (part.p_flags & PF_X) != 0 && callerCount < callers.size()) {
            const std::uintptr_t begin = object->dlpi_addr + part.p_vaddr;
            callers[callerCount++] = {begin, begin + part.p_memsz};
        }
    }
    return 0;
}

}  // namespace

void FindCallersOfMalloc() {
    callerCount = 0;
    dl_iterate_phdr(AddCode, nullptr);
}

#ifndef KYR_KEEPS_MALLOC

namespace {

bool FailsFor(const void* caller) noexcept {
    const auto place = reinterpret_cast<std::uintptr_t>(caller);
    const bool isOurs = std::any_of(callers.begin(), callers.end(), [place](const Code& code) {
        return place >= code.begin && place < code.end;
    });
    if (!isOurs || Test::IsInOperatorNew() || !Strikes(Place::kMalloc)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

}  // namespace

#endif

}  // namespace Kyr::Proofs::Nth

#ifndef KYR_KEEPS_MALLOC

extern "C" {

// The system's own, under its other names.
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;

void* malloc(std::size_t size) noexcept {
    return Kyr::Proofs::Nth::FailsFor(__builtin_return_address(0)) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept {
    return Kyr::Proofs::Nth::FailsFor(__builtin_return_address(0)) ? nullptr
                                                                   : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    return Kyr::Proofs::Nth::FailsFor(__builtin_return_address(0)) ? nullptr
                                                                   : __libc_realloc(block, size);
}
}

#endif
