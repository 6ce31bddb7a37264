// Replies with remediation actions on their way through the receiver: block actions are stored, the
// offset moves over them and the data miner is told, or nothing of it happens.
#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvGetRemediationTask.h"
#include "fuzz/CollectionHost.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/KelcommMessageFactory.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Kyr::Fuzz::Require;
    const auto logger = boost::make_shared<Kyr::Test::CCapturingLogger>();
    const auto actions = boost::make_shared<Kyr::Test::CFakeRemediationActions>();
    const auto offsets = boost::make_shared<Kyr::Test::CFakeKeyValues>();
    const auto publisher = boost::make_shared<Kyr::Test::CRecordingPublisher>();
    const auto factory =
        boost::make_shared<Kyr::Connectors::Common::Kelcomm::Messages::CKelcommMessageFactory>();
    Kyr::Connectors::OvAgentConnector::CWinOvGetRemediationTask::BufferReceiver receiver(
        logger, publisher, {}, factory, actions, offsets);
    const bool taken = Kyr::Fuzz::Receive(receiver, data, size);

    const auto batches = actions->Batches();
    const std::string offset = offsets->Text("OV_REMEDIATION_OFFSET");
    Require(batches.size() <= 1 && publisher->messages.size() == batches.size());
    // A line tells why a reply that was taken stored nothing, before it one of an early end.
    const std::size_t earlyEnds = Kyr::Fuzz::EarlyEnds(*logger);
    Require(earlyEnds <= 1 &&
            logger->Capture().Lines().size() == (taken ? 1 - batches.size() + earlyEnds : 0));
    Require(offset.empty() == batches.empty());
    if (!batches.empty()) {
        Require(!batches[0].empty() && std::stoull(offset) >= batches[0].size());
        for (const std::string& bytes : batches[0]) {
            RemediationAction action;
            Require(action.ParseFromString(bytes) && action.action_type() == 3);
        }
    }
    return 0;
}
