// The received requests and connection requests that a server has not answered, by message id.
//
// Ids are unique in the process, because the system's calls name a message by its id alone. Records
// are used again, so that a request costs no memory once a server runs.
// Threads: any. The registry has a lock of its own; each record has one, taken after the
// registry's.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "portlayer/linux/DataBlock.h"
#include "portlayer/linux/LiveCounterCells.h"
#include "portlayer/linux/MessageHeader.h"
#include "portlayer/linux/Packet.h"

namespace Kyr::PortLayer::Detail {

class CServerConnection;

/// Bytes that wait in the server for the reply to take them to the client.
struct CPendingWrite {
    std::uint32_t entry = 0;
    std::size_t size = 0;
    CSendArea area;                   // when they are in shared memory
    std::vector<std::uint8_t> bytes;  // when they are not
};

/// Bytes of a data entry that came with the request.
struct CEagerEntry {
    std::uint32_t entry = 0;
    std::size_t size = 0;
    std::uint32_t slot = kNoSlot;
    const std::uint8_t* base = nullptr;  // of the slot; else:
    std::size_t offset = 0;              // in CPendingMessage::inlineBytes
};

struct CPendingMessage {
    std::mutex mutex;
    // Guarded by mutex.
    bool open = false;
    // An answer is on its way: only the thread that sends it may touch what follows.
    bool answered = false;
    bool isConnectionRequest = false;
    std::shared_ptr<CServerConnection> connection;
    std::uint32_t exchange = 0;
    CMessageIds ids;
    CDataBlock entries;  // sizes only
    std::vector<CEagerEntry> eager;
    std::vector<std::uint8_t> inlineBytes;
    std::vector<CPendingWrite> writes;  // the first writeCount; the others keep their memory
    std::size_t writeCount = 0;

    bool IsOpen() const { return open && !answered; }
    /// Gives back the entries that came with the request.
    void ReleaseEager();
    /// Gives back what the record holds. REQUIRES: mutex is held.
    void Clear();
};

/// A record for the next message, with its ids.messageId set and nothing else; `lock` holds its
/// mutex. Null when a server has let too many requests pile up.
std::shared_ptr<CPendingMessage> NewPendingMessage(std::unique_lock<std::mutex>& lock);
/// Null when there is none.
std::shared_ptr<CPendingMessage> FindPendingMessage(std::uint32_t messageId);
/// Makes the id unknown and takes the record back. REQUIRES: the record's mutex is not held.
void EndPendingMessage(const std::shared_ptr<CPendingMessage>& message);
/// Ends every record of a connection that has gone.
void EndPendingMessagesOf(const CServerConnection* connection);

}  // namespace Kyr::PortLayer::Detail
