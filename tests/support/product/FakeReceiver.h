// A receiver of a channel's replies that keeps them, or forgets them.
//
// Threads: one at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "connector/channel/IBufferReceiver.h"

namespace Kyr::Test {

class CFakeReceiver : public Connectors::Common::IBufferReceiver {
  public:
    using Bytes = std::vector<unsigned char>;

    std::vector<Bytes> replies;
    bool recording = true;
    /// Called with every reply after it was kept.
    std::function<void(const Bytes&)> onReply;
    /// How many replies have been taken to the end.
    std::size_t handled = 0;

    void OnBufferReceived(const Bytes& reply) override {
        if (recording) {
            replies.push_back(reply);
        }
        if (onReply) {
            onReply(reply);
        }
        ++handled;
    }
};

}  // namespace Kyr::Test
