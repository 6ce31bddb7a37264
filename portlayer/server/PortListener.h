// A port's name, the clients that come to it, and who of them has something to say.
//
// The back end has one implementation; a server's port owns one of these.
// Threads: any number may wait and unwatch at once.
#pragma once

#include <cstdint>
#include <memory>

#include "portlayer/packets/PacketChannel.h"

namespace Kyr::PortLayer::Detail {

class IPortListener {
  public:
    enum class ListenerEvent {
        kNothing,   // the deadline passed, or somebody else was faster
        kClient,    // a new client came, which may have gone already
        kReadable,  // the channel with the number has a packet, or has ended
        kWoken,     // Wake was called
    };

    IPortListener() = default;
    IPortListener(const IPortListener&) = delete;
    IPortListener& operator=(const IPortListener&) = delete;
    virtual ~IPortListener() = default;

    /// Takes the name, once and first. kStatusObjectNameCollision when it is in use.
    virtual NtApi::NtStatus Open(const NtApi::UnicodeString& name) = 0;
    /// Waits for what comes first; `number` is set for Readable, `client` for a new client of our
    /// own user. It stays null for another user's, who is turned away; for one that has gone, or
    /// that another thread has taken, or that came to a port that is closed; and, after a moment's
    /// rest, when the process can hold no more: the client stays in front of the door.
    virtual ListenerEvent Wait(const CDeadline& deadline, std::uint64_t& number,
                               std::unique_ptr<IPacketChannel>& client) = 0;
    /// From now on Wait tells of the channel. False when that is impossible. Each number is used
    /// once.
    virtual bool Watch(IPacketChannel& channel, std::uint64_t number) = 0;
    virtual void Unwatch(IPacketChannel& channel) = 0;
    /// Gives the name up.
    virtual void Close() = 0;
    /// Every Wait answers Woken, now and from now on.
    virtual void Wake() = 0;
};

std::unique_ptr<IPortListener> MakePortListener();

}  // namespace Kyr::PortLayer::Detail
