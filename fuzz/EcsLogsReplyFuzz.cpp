// Replies with ECS records on their way through both receivers: the offset moves over exactly the
// records that were published, or nothing happens at all.
#include <google/protobuf/stubs/logging.h>

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "fuzz/CollectionHost.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/DataMinerMessages.h"

namespace {

namespace Ov = Kyr::Connectors::OvAgentConnector;
namespace DataMiners = Kyr::Common::Message::DataMiners;
using Kyr::Fuzz::Require;

template <typename Task, typename StoreMessage>
void Receive(const char* key, const std::uint8_t* data, std::size_t size) {
    const auto logger = boost::make_shared<Kyr::Test::CCapturingLogger>();
    const auto store = boost::make_shared<Kyr::Test::CFakeKeyValues>();
    const auto publisher = boost::make_shared<Kyr::Test::CRecordingPublisher>();
    const auto factory =
        boost::make_shared<Kyr::Connectors::Common::Kelcomm::Messages::CKelcommMessageFactory>();
    typename Task::BufferReceiver receiver(logger, {}, factory, store, publisher);
    const bool taken = Kyr::Fuzz::Receive(receiver, data, size);
    // A line tells what became of every reply that was taken, before it one of an early end.
    const std::size_t earlyEnds = Kyr::Fuzz::EarlyEnds(*logger);
    Require(earlyEnds <= 1 && logger->Capture().Lines().size() == (taken ? 1u + earlyEnds : 0u));
    if (publisher->messages.empty()) {
        Require(store->Text(key).empty());
        return;
    }
    const auto& batch = dynamic_cast<const StoreMessage&>(*publisher->messages.back());
    Require(publisher->messages.size() == 1 &&
            store->Text(key) == std::to_string(batch.GetLogs().size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The runtime complains about every text that is not UTF-8.
    google::protobuf::SetLogHandler(nullptr);
    Receive<Ov::CWinOvGetEcsIndicatorLogsTask, DataMiners::CDataMinerStoreEcsIndicatorLogs>(
        "XDR_OFFSET", data, size);
    Receive<Ov::CWinOvGetEcsTelemetryLogsTask, DataMiners::CDataMinerStoreEcsTelemetryLogs>(
        "XDR_TELEMETRY_OFFSET", data, size);
    return 0;
}
