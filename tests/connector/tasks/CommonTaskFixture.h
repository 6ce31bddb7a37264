// Runs a task about the product as a whole against a fake channel, with the factory of the real
// messages and a host that keeps what is published.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/TaskExceptions.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/EventLog.h"
#include "logs/OvAgentRequest.h"
#include "logs/StatusLog.h"
#include "tests/support/HexBytes.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/FixedInstance.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/product/FakeChannel.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common::Tasks {

class CommonTaskFixture : public testing::Test {
  protected:
    using Bytes = std::vector<unsigned char>;
    using MessagePointer = boost::shared_ptr<Kyr::Common::Kernel::IMessage>;
    using MessageType = Kyr::Common::Kernel::MessageType;

    static constexpr std::uint64_t kProduct = 0x07100000000005E2;

    /// A read-only trigger of the class `Trigger`.
    template <
        typename Trigger = Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest>
    static MessagePointer TriggerOf(std::int32_t requestType) {
        const auto trigger = boost::make_shared<Trigger>();
        trigger->SetRequestType(requestType);
        trigger->SetReadOnly();
        return trigger;
    }
    /// A reply of status 0 with this payload.
    static Bytes ReplyWith(const Bytes& payload) {
        using Kyr::Test::operator+;
        Bytes header = Kyr::Test::HexBytes("0C 00 00 00  00 00 00 00  00 00 00 00");
        for (int byte = 0; byte < 4; ++byte) {
            header[8 + byte] = static_cast<unsigned char>(payload.size() >> (8 * byte));
        }
        return header + payload;
    }
    void ProductAnswers(const Bytes& reply) {
        channel->product = [reply](const auto&) { return reply; };
    }
    void ProductFails(const std::string& text) {
        channel->product = [text](const auto&) -> Bytes { throw std::runtime_error(text); };
    }
    /// The text of the retry that `action` asks for; `counted` says of which kind it has to be.
    template <typename Action>
    static std::string RetryAfter(Action action, bool counted = true) {
        try {
            action();
        } catch (const CRetryException& retry) {
            EXPECT_EQ(retry.IsRestartNeeded(), !counted);
            return retry.what();
        }
        return "no retry was asked for";
    }
    std::vector<std::string> Lines() const { return logger->Capture().Lines(); }
    /// The n-th message published, as the class that it has to be of.
    template <typename Log>
    boost::shared_ptr<Log> Published(std::size_t index) const {
        const auto log = boost::dynamic_pointer_cast<Log>(publisher->messages.at(index));
        EXPECT_TRUE(log);
        return log;
    }
    static std::vector<int> Ids(const Kyr::Common::Logs::ISymbolContainer& row) {
        std::vector<int> ids;
        for (std::size_t index = 0; index < row.GetCount(); ++index) {
            ids.push_back(row.GetSymbolAt(index));
        }
        return ids;
    }

    const boost::shared_ptr<Kyr::Test::CFakeChannel> channel =
        boost::make_shared<Kyr::Test::CFakeChannel>();
    const boost::shared_ptr<Kyr::Test::CCapturingLogger> logger =
        boost::make_shared<Kyr::Test::CCapturingLogger>();
    const boost::shared_ptr<Kyr::Test::CRecordingPublisher> publisher =
        boost::make_shared<Kyr::Test::CRecordingPublisher>();
    const boost::shared_ptr<Kyr::Test::CFixedInstance> instance =
        boost::make_shared<Kyr::Test::CFixedInstance>();
    const boost::shared_ptr<IChannelMessageFactory> factory =
        boost::make_shared<Kelcomm::Messages::CKelcommMessageFactory>();
    const boost::shared_ptr<Kyr::Test::CManualClock> clock =
        boost::make_shared<Kyr::Test::CManualClock>();
};

}  // namespace Kyr::Connectors::Common::Tasks
