// A Kelcomm client whose partner is a script: the test says how the product answers, and sees what
// it was sent.
//
// The script outlives the client, so that a test can look at it after the client has been
// destroyed. Like the real ones, the client answers its script's "too large" code when a reply does
// not fit. Threads: one at a time; `overlapped` tells when that was broken.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "kelcomm/client/IKelcommClient.h"

namespace Kyr::Test {

namespace Kelcomm = Connectors::Common::Kelcomm;

/// A reply as the channel sees it: header size 12, `status`, `value`, then `body`.
std::vector<unsigned char> KelcommReply(std::uint32_t status, std::uint32_t value,
                                        const std::vector<unsigned char>& body = {});

struct KelcommScript {
    struct Answer {
        std::uint32_t code;
        std::vector<unsigned char> reply;
    };
    struct Request {
        std::uint32_t flags;
        std::uint32_t command;
        std::vector<unsigned char> bytes;
        bool hasReplyBuffer;
        std::uint32_t replyCapacity;
        bool hasReplyLength;
        std::int64_t timeout;
        const void* source;  // where the bytes stood; not to be read
    };

    // How the product answers. The queues go first, then the standing answers hold.
    std::deque<Answer> pings;
    Answer standingPing{0, {}};
    std::deque<Answer> requests;
    Answer standingRequest{0, KelcommReply(0, 0)};
    /// When it is set: answers every request, in place of both.
    std::function<Answer(const Request&)> serve;
    /// Every exchange leaves 0xEE in the whole room for the reply, under what it writes.
    bool soil = false;
    std::uint32_t toldBeyond = 0;  // so many bytes more than it has written does a client tell
    std::uint32_t tooLargeCode = Kelcomm::kKelcommReplyTooLarge;
    std::vector<unsigned char> broadcastArea;  // empty: there is none
    /// Changes a value of an area that has it.
    void SetBroadcast(std::int32_t index, std::int32_t value);
    std::set<std::uint32_t> unreadableBroadcastOffsets;
    std::map<std::uint32_t, std::uint32_t> farBroadcastWords;  // beyond the area, by offset
    std::function<void()> whileServing;                        // called inside every exchange

    // What the product saw.
    std::vector<Request> seenPings;
    std::vector<Request> seenRequests;
    std::vector<std::uint32_t> seenBroadcastOffsets;
    std::vector<std::string>* journal = nullptr;  // gets "<name> closed" and "<name> destroyed"
    std::string name;
    std::atomic<bool> overlapped{false};
    std::atomic<bool> inUse{false};
};

class CFakeKelcommClient final : public Kelcomm::IKelcommClient {
  public:
    explicit CFakeKelcommClient(boost::shared_ptr<KelcommScript> script);
    ~CFakeKelcommClient() override;

    std::uint32_t Initialize(std::uint32_t clientId, std::uint32_t serverId,
                             std::uint32_t options) override;
    std::uint32_t Uninitialize() override;
    std::uint32_t Close() override;
    std::uint32_t RequestToBuffer(std::uint32_t flags, std::uint32_t command, const void* request,
                                  std::uint32_t requestLength, Kelcomm::CBuffer* reply,
                                  std::int64_t timeout) override;
    std::uint32_t Request(std::uint32_t flags, std::uint32_t command, const void* request,
                          std::uint32_t requestLength, void* reply, std::uint32_t replyCapacity,
                          std::uint32_t* replyLength, std::int64_t timeout) override;
    std::uint32_t ReadBroadcast(std::uint32_t offset, void* destination,
                                std::uint32_t length) override;
    std::uint32_t ReadBroadcastValue(std::uint32_t offset, std::uint32_t* value) override;

  private:
    void Note(const std::string& event);

    const boost::shared_ptr<KelcommScript> script_;
};

}  // namespace Kyr::Test
