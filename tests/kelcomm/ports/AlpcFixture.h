// The advanced port's client on a scripted system.
#pragma once

#include <memory>
#include <utility>

#include "kelcomm/ports/KelcommAlpcClient.h"
#include "tests/kelcomm/client/ClientFixture.h"

namespace Kyr::Test {

class AlpcFixture : public ClientFixture {
  protected:
    AlpcFixture() {
        client_ = std::make_unique<Kelcomm::CKelcommAlpcClient>(native_.GetFunctions());
        InitializeClient();
    }

    static Bytes Reply(std::uint32_t result, std::uint32_t length, const Bytes& bytes,
                       int dataLength = -1) {
        return ReceivedMessage(24, result, length, bytes, dataLength);
    }
    /// A message that the receiver has to give back.
    static Bytes Unreleased(Bytes message) {
        message[5] = 0x20;  // 0x2000 in the type
        message[4] = 0x02;  // a reply
        return message;
    }
    /// A reply of command 3 whose bytes come in a view.
    void QueueViewReply(std::uint32_t length, Bytes view, std::uint32_t viewFlags = 0x40000,
                        std::uint32_t result = 0) {
        CScriptedPorts::Answer answer;
        answer.reply = Unreleased(Reply(result, length, {}));
        answer.hasView = true;
        answer.view = std::move(view);
        answer.viewFlags = viewFlags;
        native_.ports.Queue(answer);
    }
};

}  // namespace Kyr::Test
