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

#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/packets/DataBlock.h"
#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/RequestData.h"

namespace Kyr::PortLayer::Detail {

class CServerConnection;

// What the two flags say:
//   open  answered
//   no    no        free, being filled, or a datagram's, which is never delivered as a record
//   yes   no        the server may use the data of the request, and answer it
//   yes   yes       one thread is sending the answer; all others find the message unknown
struct PendingMessage {
    std::mutex mutex;
    // Guarded by mutex.
    bool open = false;
    // An answer is on its way: only the thread that sends it may touch what follows.
    bool answered = false;
    bool isConnectionRequest = false;
    CLiveCount live;  // of an open request
    std::shared_ptr<CServerConnection> connection;
    std::uint32_t exchange = 0;
    MessageIds ids;
    DataBlock entries;                   // the addresses are the client's
    std::shared_ptr<CRequestData> data;  // kept when the record ends, for the next one

    bool IsOpen() const { return open && !answered; }
    /// Gives back what the record holds. REQUIRES: mutex is held.
    void Clear();
};

/// A record for the next message, with its ids.messageId set and nothing else; `lock` holds its
/// mutex. Null when a server has let too many requests pile up.
std::shared_ptr<PendingMessage> NewPendingMessage(std::unique_lock<std::mutex>& lock);
/// Null when there is none.
std::shared_ptr<PendingMessage> FindPendingMessage(std::uint32_t messageId);
/// Makes the id unknown and takes the record back. REQUIRES: the record's mutex is not held.
void EndPendingMessage(const std::shared_ptr<PendingMessage>& message);
/// Ends every record of a connection that has gone.
void EndPendingMessagesOf(const CServerConnection* connection);

}  // namespace Kyr::PortLayer::Detail
