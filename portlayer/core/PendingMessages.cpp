#include "portlayer/core/PendingMessages.h"

#include "portlayer/core/ServerConnection.h"

namespace Kyr::PortLayer::Detail {

namespace {

// Ids hold the place in the table and a generation, so that an answered message stays unknown.
constexpr std::uint32_t kIndexBits = 14;
constexpr std::uint32_t kMaxPending = 1u << kIndexBits;
constexpr std::uint32_t kGenerations = 1u << (31 - kIndexBits);

struct Entry {
    std::shared_ptr<CPendingMessage> record;
    std::uint32_t generation = 1;
    bool used = false;
};

struct Registry {
    std::mutex mutex;
    // Guarded by mutex.
    std::vector<Entry> entries;
    std::vector<std::uint32_t> free;
};

// Made by the first call and never destroyed: server threads may still run at exit.
Registry& TheRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

}  // namespace

void CPendingMessage::Clear() {
    ClearRequestData(*this);
    if (open && !isConnectionRequest) {
        connection->CountRequest(-1);
        CounterCell(ECounter::PendingRequests).fetch_sub(1, std::memory_order_relaxed);
    }
    open = false;
    isConnectionRequest = false;
    answered = false;
    entries.count = 0;
    connection.reset();
}

std::shared_ptr<CPendingMessage> NewPendingMessage(std::unique_lock<std::mutex>& lock) {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> registryLock(registry.mutex);
    std::uint32_t index = 0;
    if (!registry.free.empty()) {
        index = registry.free.back();
        registry.free.pop_back();
    } else if (registry.entries.size() < kMaxPending) {
        index = static_cast<std::uint32_t>(registry.entries.size());
        registry.entries.emplace_back();
    } else {
        return nullptr;
    }
    Entry& entry = registry.entries[index];
    // A thread that looked the old message up may still hold its record: it gets a new one then.
    if (!entry.record || entry.record.use_count() != 1) {
        entry.record = std::make_shared<CPendingMessage>();
    }
    entry.used = true;
    lock = std::unique_lock<std::mutex>(entry.record->mutex);
    entry.record->ids.messageId = entry.generation << kIndexBits | index;
    return entry.record;
}

std::shared_ptr<CPendingMessage> FindPendingMessage(std::uint32_t messageId) {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> lock(registry.mutex);
    const std::uint32_t index = messageId & (kMaxPending - 1);
    if (index >= registry.entries.size()) {
        return nullptr;
    }
    const Entry& entry = registry.entries[index];
    return entry.used && entry.generation == messageId >> kIndexBits ? entry.record : nullptr;
}

void EndPendingMessage(const std::shared_ptr<CPendingMessage>& message) {
    Registry& registry = TheRegistry();
    std::uint32_t messageId = 0;
    {
        const std::lock_guard<std::mutex> lock(message->mutex);
        messageId = message->ids.messageId;
        message->Clear();
    }
    const std::lock_guard<std::mutex> lock(registry.mutex);
    const std::uint32_t index = messageId & (kMaxPending - 1);
    Entry& entry = registry.entries[index];
    if (entry.used && entry.generation == messageId >> kIndexBits) {
        entry.used = false;
        entry.generation = entry.generation % (kGenerations - 1) + 1;
        registry.free.push_back(index);
    }
}

void EndPendingMessagesOf(const CServerConnection* connection) {
    std::vector<std::shared_ptr<CPendingMessage>> ended;
    Registry& registry = TheRegistry();
    {
        const std::lock_guard<std::mutex> lock(registry.mutex);
        for (const Entry& entry : registry.entries) {
            if (!entry.used) {
                continue;
            }
            const std::lock_guard<std::mutex> recordLock(entry.record->mutex);
            // One that is being answered is ended by the thread that answers, which still reads it.
            if (entry.record->connection.get() == connection && !entry.record->answered) {
                ended.push_back(entry.record);
            }
        }
    }
    for (const auto& record : ended) {
        EndPendingMessage(record);
    }
}

}  // namespace Kyr::PortLayer::Detail
