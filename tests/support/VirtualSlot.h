// Tells the place of a virtual operation in its class's table, so that a test can pin an order that
// is part of a contract.
//
// Itanium C++ ABI on x86 (g++ and clang++ on Linux, mingw on Windows): a pointer to a virtual
// member function holds 1 + the byte offset of its table entry. Every operation has one entry,
// except a virtual destructor, which has two. The entries of a base class come first.
//
// Of overloaded operations, name the one that is meant with a static_cast.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Kyr::Test {

/// The 0-based table entry of `operation`, each destructor before it counted as two; -1 when the
/// operation is not virtual.
template <typename PointerToMember>
int RawVirtualSlot(PointerToMember operation) {
    static_assert(sizeof(PointerToMember) == 2 * sizeof(void*), "not the ABI that this reads");
    std::uintptr_t code = 0;
    std::memcpy(&code, &operation, sizeof code);
    // Functions are aligned to at least two bytes, so that only a table offset makes it odd.
    return code % 2 == 1 ? static_cast<int>((code - 1) / sizeof(void*)) : -1;
}

/// The 0-based slot of `operation` as contracts count: each destructor is ONE slot.
/// `destructorsBefore`: how many virtual destructors the class declares before the operation, 0 or
/// 1: 1 where the destructor stands first, 0 where it stands last or is not virtual.
template <typename PointerToMember>
int VirtualSlot(PointerToMember operation, int destructorsBefore = 1) {
    const int raw = RawVirtualSlot(operation);
    return raw < 0 ? raw : raw - destructorsBefore;
}

}  // namespace Kyr::Test
