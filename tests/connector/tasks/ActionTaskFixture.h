// Runs an action task against a fake channel, with task messages of three identifiers.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "host/message/OvAgentTasks.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/product/FakeChannel.h"

namespace Kyr::Connectors::OvAgentConnector {

class ActionTaskFixture : public testing::Test {
  protected:
    /// A task message with the identifiers "id-1", "id-2" and `third`.
    template <typename Message>
    static boost::shared_ptr<Message> MakeTaskMessage(const typename Message::Payload& payload,
                                                      const std::string& third = "id-3") {
        Kyr::Common::Message::CTask::Uuid ids[3];
        ids[0].set_uuid("id-1");
        ids[1].set_uuid("id-2");
        ids[2].set_uuid(third);
        const auto message = boost::make_shared<Message>();
        message->SetIdentifiers(ids[0], ids[1], ids[2]);
        message->SetPayload(payload);
        message->SetReadOnly();
        return message;
    }

    /// The text of the only request that was sent; its header is checked on the way.
    std::string SentText() const {
        EXPECT_EQ(channel->requests.size(), 1u);
        if (channel->requests.size() != 1 || channel->requests[0].size() < 12) {
            return "";
        }
        const auto& request = channel->requests[0];
        EXPECT_THAT(std::vector<unsigned char>(request.begin(), request.begin() + 12),
                    testing::ElementsAre(0x0C, 0, 0, 0, 0, 0x06, 0, 0x01, 0x02, 0, 0, 0));
        return std::string(request.begin() + 12, request.end());
    }
    /// What a request of `function` with these nodes is expected to be.
    static std::string RequestText(const std::string& function, const std::string& nodes) {
        return R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
               R"(<REQUEST FUNCTION=")" +
               function + R"("><DATA>)" + nodes + "</DATA></REQUEST></MESSAGE></TULK>";
    }

    const boost::shared_ptr<Kyr::Test::CFakeChannel> channel =
        boost::make_shared<Kyr::Test::CFakeChannel>();
    Kyr::Test::CCapturingLogger logger;
};

}  // namespace Kyr::Connectors::OvAgentConnector
