// A host bus as tasks see it: keeps what is published, or forgets it.
//
// Threads: one at a time.
#pragma once

#include <functional>
#include <vector>

#include "connector/IMessagePublisher.h"

namespace Kyr::Test {

class CRecordingPublisher final : public Common::Module::IMessagePublisher {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;

    std::vector<Message> messages;
    /// Called first; what it throws reaches the publisher, and the message is not kept.
    std::function<void(const Message&)> onPublish;
    bool recording = true;

    void Publish(const Message& message) override {
        if (onPublish) {
            onPublish(message);
        }
        if (recording) {
            messages.push_back(message);
        }
    }
};

}  // namespace Kyr::Test
