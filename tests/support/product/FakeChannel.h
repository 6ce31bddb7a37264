// A channel to a product that exists only in the test: records what is sent, or forgets it, and
// answers with what the test scripted.
//
// Like the real one it hands each reply to the receiver that is installed when the request is sent.
// Threads: one at a time.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "connector/channel/IChannel.h"

namespace Kyr::Test {

class CFakeChannel : public Connectors::Common::IChannel {
  public:
    using Bytes = std::vector<unsigned char>;

    /// What the product does with each request: returns its reply, or throws. Without one, every
    /// request is accepted with a 12-byte header of status 0.
    std::function<Bytes(const Bytes&)> product;

    /// "Start", "Stop", "SetBufferReceiver" and "Send" in the order of the calls.
    bool recording = true;
    std::vector<std::string> calls;
    std::vector<Bytes> requests;
    boost::shared_ptr<Connectors::Common::IBufferReceiver> receiver;

    void Start() override { Record("Start"); }
    void Stop() override { Record("Stop"); }
    void SetBufferReceiver(
        const boost::shared_ptr<Connectors::Common::IBufferReceiver>& newReceiver) override {
        Record("SetBufferReceiver");
        receiver = newReceiver;
    }
    void Send(const Bytes& request) override {
        Record("Send");
        if (recording) {
            requests.push_back(request);
        }
        const Bytes reply = product ? product(request) : Bytes{12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        // A copy: the receiver may install another one.
        const auto current = receiver;
        if (current) {
            current->OnBufferReceived(reply);
        }
    }

  private:
    void Record(const char* call) {
        if (recording) {
            calls.emplace_back(call);
        }
    }
};

}  // namespace Kyr::Test
