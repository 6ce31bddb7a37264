#include "proofs/nth/HeldBlocks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <iterator>
#include <malloc.h>
#include <memory>
#include <mutex>
#include <new>
#include <sstream>
#include <unordered_map>
#include <utility>

#include "proofs/nth/Faults.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Proofs::Nth {

namespace {

/// Who keeps books of all that `operator new` hands out must not use it.
template <typename T>
class CPlainMemory {
  public:
    using value_type = T;

    CPlainMemory() = default;
    template <typename U>
    explicit CPlainMemory(const CPlainMemory<U>& /*other*/) {}

    T* allocate(std::size_t count) {
        void* const memory = std::malloc(count * sizeof(T));
        return memory == nullptr ? throw std::bad_alloc() : static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t /*count*/) noexcept { std::free(memory); }

    friend bool operator==(const CPlainMemory& /*one*/, const CPlainMemory& /*other*/) {
        return true;
    }
    friend bool operator!=(const CPlainMemory& /*one*/, const CPlainMemory& /*other*/) {
        return false;
    }
};

/// Where the functions go on, from the inside outwards; those behind the last are nobody's.
using Places = std::array<void*, 12>;
using Blocks = std::unordered_map<void*, Places, std::hash<void*>, std::equal_to<>,
                                  CPlainMemory<std::pair<void* const, Places>>>;

std::mutex mutex;  // guards the next
Blocks blocks;

constexpr char kOperatorNew[] = "operator new";

constexpr const char* kForgetful[] = {"google::protobuf::RepeatedPtrField<",
                                      "google::protobuf::Arena::Create",
                                      "google::protobuf::UnknownFieldSet::AddLengthDelimited"};

void NoteHandedOut(void* block) noexcept {
    if (IsInSurroundings()) {
        return;
    }
    Places places{};
    ::backtrace(places.data(), static_cast<int>(places.size()));
    const std::lock_guard<std::mutex> guard(mutex);
    blocks[block] = places;
}

void NoteGivenBack(void* block) noexcept {
    const std::lock_guard<std::mutex> guard(mutex);
    blocks.erase(block);
}

/// A name, or what addr2line makes one of.
std::string NameOf(void* place) {
    Dl_info info{};
    if (::dladdr(place, &info) == 0) {
        return "?";
    }
    if (info.dli_sname == nullptr) {
        std::ostringstream text;
        text << info.dli_fname << " +0x" << std::hex
             << reinterpret_cast<std::uintptr_t>(place) -
                    reinterpret_cast<std::uintptr_t>(info.dli_fbase);
        return text.str();
    }
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr), &std::free);
    return name ? name.get() : info.dli_sname;
}

std::vector<std::string> WayOf(const Places& places) {
    std::vector<std::string> way;
    for (void* const place : places) {
        if (place != nullptr) {
            way.push_back(NameOf(place));
        }
    }
    const auto asked = std::find_if(way.begin(), way.end(), [](const std::string& name) {
        return name.find(kOperatorNew) == 0;
    });
    if (asked != way.end()) {
        way.erase(way.begin(), std::next(asked));
    }
    return way;
}

}  // namespace

void NoteBlocks() {
    void* place = nullptr;
    ::backtrace(&place, 1);  // loads what it needs, with blocks of its own
    Test::SetBlockWitnesses(NoteHandedOut, NoteGivenBack);
}

std::vector<HeldBlock> TakeBlocks() {
    Blocks known;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        known.swap(blocks);
    }
    std::vector<HeldBlock> held;
    for (const auto& [block, places] : known) {
        held.push_back({::malloc_usable_size(block), WayOf(places)});
    }
    return held;
}

bool IsForgottenByProtobuf(const HeldBlock& block) {
    return !block.way.empty() &&
           std::any_of(std::begin(kForgetful), std::end(kForgetful), [&](const char* name) {
               return block.way.front().find(name) != std::string::npos;
           });
}

}  // namespace Kyr::Proofs::Nth

// Checkers of leaks pass over what protobuf forgets, too.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:google::protobuf::RepeatedPtrField\n"
           "leak:google::protobuf::UnknownFieldSet::AddLengthDelimited\n";
}
