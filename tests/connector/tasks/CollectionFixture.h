// What the tests of the collection tasks share: a product that answers with prepared replies, a
// host in memory, and the order in which effects reach that host.
#pragma once

#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/support/host/FakeDatabase.h"

namespace Kyr::Connectors::OvAgentConnector {

using Effects = std::vector<std::string>;
using Kyr::Test::CRecordingPublisher;

class CollectionFixture : public Common::Tasks::CommonTaskFixture {
  protected:
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

    /// A reply with the payload of these bytes. Field 1 of every payload is a record (0A, length,
    /// bytes) or an action (0A, length, fields), field 2 the result code (10, number).
    static Bytes Reply(const std::string& payload) {
        return ReplyWith(Kyr::Test::HexBytes(payload));
    }

    const boost::shared_ptr<Kyr::Test::CFakeKeyValues> keyValueStore =
        boost::make_shared<Kyr::Test::CFakeKeyValues>();
    const boost::shared_ptr<Kyr::Test::CFakeRemediationActions> remediationStore =
        boost::make_shared<Kyr::Test::CFakeRemediationActions>();

    /// "publish <name>", "<key>=<text>" and "store <number of actions>", in order.
    Effects effects;
};

}  // namespace Kyr::Connectors::OvAgentConnector
