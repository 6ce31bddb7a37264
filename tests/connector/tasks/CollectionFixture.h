// What the tests of the collection tasks share: a product that answers with prepared replies, a
// host in memory, and the order in which effects reach that host.
#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/TaskExceptions.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/HexBytes.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/product/FakeChannel.h"

namespace Kyr::Connectors::OvAgentConnector {

using Effects = std::vector<std::string>;
using Kyr::Test::CRecordingPublisher;

class CollectionFixture : public testing::Test {
  protected:
    using Bytes = std::vector<unsigned char>;
    using Trigger = Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

    static constexpr char kNotANumber[] =
        "bad lexical cast: source type value could not be interpreted as target";

    CollectionFixture() {
        publisher->onPublish = [this](const auto& message) {
            effects.push_back("publish " + message->GetName());
        };
        keyValueStore->OnSet([this](const std::string& key, const std::string& value) {
            effects.push_back(key + "=" + value);
            return true;
        });
        remediationStore->OnStore([this](const auto& batch) {
            effects.push_back("store " + std::to_string(batch.size()));
            return true;
        });
    }

    static boost::shared_ptr<Trigger> MakeTrigger(std::int32_t requestType) {
        const auto trigger = boost::make_shared<Trigger>();
        trigger->SetRequestType(requestType);
        trigger->SetReadOnly();
        return trigger;
    }
    /// A reply with the payload of these bytes. Field 1 of every payload is a record (0A, length,
    /// bytes) or an action (0A, length, fields), field 2 the result code (10, number).
    static Bytes Reply(const std::string& payload) {
        using Kyr::Test::operator+;
        const Bytes bytes = Kyr::Test::HexBytes(payload);
        EXPECT_LT(bytes.size(), 256u);
        return Kyr::Test::HexBytes("0C 00 00 00  00 00 00 00") +
               Bytes{static_cast<unsigned char>(bytes.size()), 0, 0, 0} + bytes;
    }
    void ProductAnswers(const Bytes& reply) {
        channel->product = [reply](const auto&) { return reply; };
    }
    void ProductFails(const std::string& text) {
        channel->product = [text](const auto&) -> Bytes { throw std::runtime_error(text); };
    }
    /// The text of the counted retry that `action` asks for.
    template <typename Action>
    static std::string CountedRetry(Action action) {
        try {
            action();
        } catch (const Common::CRetryException& retry) {
            EXPECT_FALSE(retry.IsRestartNeeded());
            return retry.what();
        }
        return "no retry was asked for";
    }
    std::vector<std::string> Lines() const { return logger->Capture().Lines(); }

    const boost::shared_ptr<Kyr::Test::CFakeChannel> channel =
        boost::make_shared<Kyr::Test::CFakeChannel>();
    const boost::shared_ptr<Kyr::Test::CCapturingLogger> logger =
        boost::make_shared<Kyr::Test::CCapturingLogger>();
    const boost::shared_ptr<CRecordingPublisher> publisher =
        boost::make_shared<CRecordingPublisher>();
    const boost::shared_ptr<Kyr::Test::CFakeKeyValues> keyValueStore =
        boost::make_shared<Kyr::Test::CFakeKeyValues>();
    const boost::shared_ptr<Kyr::Test::CFakeRemediationActions> remediationStore =
        boost::make_shared<Kyr::Test::CFakeRemediationActions>();
    const boost::shared_ptr<Common::IChannelMessageFactory> factory =
        boost::make_shared<Common::Kelcomm::Messages::CKelcommMessageFactory>();

    /// "publish <name>", "<key>=<text>" and "store <number of actions>", in order.
    Effects effects;
};

}  // namespace Kyr::Connectors::OvAgentConnector
