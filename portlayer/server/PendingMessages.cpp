#include "portlayer/server/PendingMessages.h"

#include "portlayer/server/ServerConnection.h"

namespace Kyr::PortLayer::Detail {

namespace {

// An id is the place in the table, and above it the generation of that place: an answered message
// stays unknown although its place is used again. Generations begin with 1, so that no id is 0, and
// end where ids would become negative as signed numbers.
constexpr std::uint32_t kIndexBits = 14;
constexpr std::uint32_t kMaxPending = 1u << kIndexBits;
constexpr std::uint32_t kGenerations = 1u << (31 - kIndexBits);

struct Entry {
    std::shared_ptr<PendingMessage> record;
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

void PendingMessage::Clear() {
    // First: it gives memory back to the connection, which the last line lets go.
    ClearRequestData(*this);
    if (open && !isConnectionRequest) {
        connection->CountRequest(-1);
    }
    live.Reset();
    open = false;
    isConnectionRequest = false;
    answered = false;
    entries.count = 0;
    connection.reset();
}

std::shared_ptr<PendingMessage> NewPendingMessage(std::unique_lock<std::mutex>& lock) {
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
    // A thread that looked the old message up may still hold its record. It would take the new
    // message for the old one, and end it. So it keeps that record, and this message gets another.
    // Records are handed out under the registry's lock alone: a count of one cannot grow meanwhile.
    if (!entry.record || entry.record.use_count() != 1) {
        entry.record = std::make_shared<PendingMessage>();
    }
    entry.used = true;
    lock = std::unique_lock<std::mutex>(entry.record->mutex);
    entry.record->ids.messageId = entry.generation << kIndexBits | index;
    return entry.record;
}

std::shared_ptr<PendingMessage> FindPendingMessage(std::uint32_t messageId) {
    Registry& registry = TheRegistry();
    const std::lock_guard<std::mutex> lock(registry.mutex);
    const std::uint32_t index = messageId & (kMaxPending - 1);
    if (index >= registry.entries.size()) {
        return nullptr;
    }
    const Entry& entry = registry.entries[index];
    return entry.used && entry.generation == messageId >> kIndexBits ? entry.record : nullptr;
}

void EndPendingMessage(const std::shared_ptr<PendingMessage>& message) {
    Registry& registry = TheRegistry();
    // One lock after the other, as the registry's comes first where both are held. In between the
    // id is still found, but names nothing that is open.
    std::uint32_t messageId = 0;
    {
        const std::lock_guard<std::mutex> lock(message->mutex);
        messageId = message->ids.messageId;
        message->Clear();
    }
    const std::lock_guard<std::mutex> lock(registry.mutex);
    const std::uint32_t index = messageId & (kMaxPending - 1);
    Entry& entry = registry.entries[index];
    // Ending a message twice does no harm: the generation has moved on.
    if (entry.used && entry.generation == messageId >> kIndexBits) {
        entry.used = false;
        entry.generation = entry.generation % (kGenerations - 1) + 1;
        registry.free.push_back(index);
    }
}

void EndPendingMessagesOf(const CServerConnection* connection) {
    // Gathered first and ended afterwards, because ending takes the registry's lock.
    std::vector<std::shared_ptr<PendingMessage>> ended;
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
