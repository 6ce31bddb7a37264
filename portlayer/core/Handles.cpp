#include "portlayer/core/Handles.h"

#include <deque>
#include <mutex>
#include <utility>
#include <vector>

namespace Kyr::PortLayer::Detail {

namespace {

// A handle is this mark, generation, index and two zero bits. The system's handles are multiples of
// four, too, and stay far below the mark, so that the two are told apart where both exist.
constexpr std::uint32_t kMark = 0x10000000;
constexpr std::uint32_t kIndexBits = 14;
constexpr std::uint32_t kGenerationBits = 12;

struct Entry {
    std::shared_ptr<CObject> object;
    std::uint32_t generation = 1;
};

struct Table {
    std::mutex mutex;
    // Guarded by mutex. The oldest free entry is used first, so that handles stay stale long.
    std::vector<Entry> entries;
    std::deque<std::uint32_t> free;
};

// Made by the first call and never destroyed: threads may still hold handles at exit.
Table& TheTable() {
    static Table* const table = new Table;
    return *table;
}

NtApi::Handle Encode(std::uint32_t index, std::uint32_t generation) {
    const std::uintptr_t value = kMark | (generation << kIndexBits | index) << 2;
    return reinterpret_cast<NtApi::Handle>(value);
}

/// REQUIRES: the table's mutex is held.
Entry* Decode(Table& table, NtApi::Handle handle) {
    // A handle without the mark gains it here, above the generation, and so matches none.
    const std::uintptr_t value = reinterpret_cast<std::uintptr_t>(handle) ^ kMark;
    const std::uintptr_t index = value >> 2 & ((1u << kIndexBits) - 1);
    if ((value & 3) != 0 || index >= table.entries.size()) {
        return nullptr;
    }
    Entry& entry = table.entries[index];
    return entry.object && value >> (2 + kIndexBits) == entry.generation ? &entry : nullptr;
}

}  // namespace

CObject::~CObject() = default;

NtApi::Handle AddHandle(std::shared_ptr<CObject> object) {
    Table& table = TheTable();
    const std::lock_guard<std::mutex> lock(table.mutex);
    std::uint32_t index = 0;
    // Generations come round. A few entries rest before the first one is used again, so that a
    // stale handle of a busy process stays stale.
    if (table.free.size() < 64 && table.entries.size() < 1u << kIndexBits) {
        index = static_cast<std::uint32_t>(table.entries.size());
        table.entries.emplace_back();
    } else if (!table.free.empty()) {
        index = table.free.front();
        table.free.pop_front();
    } else {
        return nullptr;
    }
    Entry& entry = table.entries[index];
    entry.object = std::move(object);
    return Encode(index, entry.generation);
}

std::shared_ptr<CObject> FindObject(NtApi::Handle handle) {
    Table& table = TheTable();
    const std::lock_guard<std::mutex> lock(table.mutex);
    const Entry* const entry = Decode(table, handle);
    return entry != nullptr ? entry->object : nullptr;
}

bool RemoveHandle(NtApi::Handle handle) {
    Table& table = TheTable();
    std::shared_ptr<CObject> object;
    {
        const std::lock_guard<std::mutex> lock(table.mutex);
        Entry* const entry = Decode(table, handle);
        if (entry == nullptr) {
            return false;
        }
        object = std::move(entry->object);
        entry->object.reset();
        entry->generation = entry->generation % ((1u << kGenerationBits) - 1) + 1;
        table.free.push_back(static_cast<std::uint32_t>(entry - table.entries.data()));
    }
    // Without the lock: it wakes threads that look handles up and may close handles itself. The
    // object lives on while one of them still holds it.
    object->OnClose();
    return true;
}

}  // namespace Kyr::PortLayer::Detail
