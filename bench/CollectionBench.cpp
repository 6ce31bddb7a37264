// What a batch costs on its way from the bytes of a reply to the published message and the stored
// offset, side by side with the parsing of the same protobuf bytes alone.
//
// Records and actions carry 1 KiB. The host takes a message and lets it go, as a queue would later,
// and keeps its offset in memory: its own cost is not ours.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "bench/BenchMain.h"
#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/DataMinerMessages.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"

namespace {

namespace Ov = Kyr::Connectors::OvAgentConnector;
namespace Test = Kyr::Test;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t kRecordSize = 1024;

/// Takes everything and keeps nothing but the offset.
struct ForgetfulHost {
    explicit ForgetfulHost(std::string offsetKey) : key(std::move(offsetKey)) {
        logger->Capture().SetRecording(false);
        publisher->recording = false;
        actions->SetRecording(false);
        offsets->Put(key, "0");
    }
    std::uint64_t Offset() const { return std::stoull(offsets->Text(key)); }

    const std::string key;
    const boost::shared_ptr<Test::CCapturingLogger> logger =
        boost::make_shared<Test::CCapturingLogger>();
    const boost::shared_ptr<Test::CRecordingPublisher> publisher =
        boost::make_shared<Test::CRecordingPublisher>();
    const boost::shared_ptr<Test::CFakeKeyValues> offsets =
        boost::make_shared<Test::CFakeKeyValues>();
    const boost::shared_ptr<Test::CFakeRemediationActions> actions =
        boost::make_shared<Test::CFakeRemediationActions>();
};

GetEcsLogsResponse Records(std::int64_t count) {
    GetEcsLogsResponse response;
    for (std::int64_t i = 0; i < count; ++i) {
        response.add_logs(std::string(kRecordSize, 'r'));
    }
    return response;
}

/// Every action blocks something, and has a field of 1 KiB that the module does not know.
GetRemediationActionsResponse Actions(std::int64_t count) {
    const std::string unknown = std::string("\x12\x80\x08", 3) + std::string(kRecordSize, 'a');
    GetRemediationActionsResponse response;
    for (std::int64_t i = 0; i < count; ++i) {
        if (!response.add_actions()->ParseFromString(std::string("\x08\x03", 2) + unknown)) {
            throw std::runtime_error("action");
        }
    }
    return response;
}

template <typename Protobuf>
Bytes Reply(const Protobuf& response) {
    const std::string payload = response.SerializeAsString();
    Bytes reply(12 + payload.size());
    Kyr::Base::StoreLittleEndian<std::uint32_t>(reply.data(), 12);
    Kyr::Base::StoreLittleEndian(reply.data() + 8, static_cast<std::uint32_t>(payload.size()));
    std::copy(payload.begin(), payload.end(), reply.begin() + 12);
    return reply;
}

/// The floor: the payload becomes a protobuf message and nothing more.
template <typename Protobuf>
void ParseAlone(benchmark::State& state, const Protobuf& source) {
    const std::string payload = source.SerializeAsString();
    for (auto _ : state) {
        Protobuf response;
        response.ParseFromArray(payload.data(), static_cast<int>(payload.size()));
        benchmark::DoNotOptimize(&response);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(payload.size()));
}

/// Runs the replies through `receiver`; all of the records must arrive.
void Receive(benchmark::State& state, Kyr::Connectors::Common::IBufferReceiver& receiver,
             const ForgetfulHost& host, const Bytes& reply) {
    for (auto _ : state) {
        receiver.OnBufferReceived(reply);
    }
    if (host.Offset() != static_cast<std::uint64_t>(state.iterations() * state.range(0))) {
        state.SkipWithError("records are missing");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(reply.size() - 12));
}

void ParseRecords(benchmark::State& state) {
    ParseAlone(state, Records(state.range(0)));
}

void EcsBatch(benchmark::State& state) {
    const ForgetfulHost host("XDR_OFFSET");
    Ov::CWinOvGetEcsIndicatorLogsTask::BufferReceiver receiver(
        host.logger, {},
        boost::make_shared<Kyr::Connectors::Common::Kelcomm::Messages::CKelcommMessageFactory>(),
        host.offsets, host.publisher);
    Receive(state, receiver, host, Reply(Records(state.range(0))));
}

/// What copying the records of a parsed response into the published message would cost on top.
void CopyRecords(benchmark::State& state) {
    const GetEcsLogsResponse response = Records(state.range(0));
    for (auto _ : state) {
        Kyr::Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs batch;
        batch.SetLogs({response.logs().begin(), response.logs().end()});
        benchmark::DoNotOptimize(&batch);
    }
}

void ParseActions(benchmark::State& state) {
    ParseAlone(state, Actions(state.range(0)));
}

void RemediationBatch(benchmark::State& state) {
    const ForgetfulHost host("OV_REMEDIATION_OFFSET");
    Ov::CWinOvGetRemediationTask::BufferReceiver receiver(
        host.logger, host.publisher, {},
        boost::make_shared<Kyr::Connectors::Common::Kelcomm::Messages::CKelcommMessageFactory>(),
        host.actions, host.offsets);
    Receive(state, receiver, host, Reply(Actions(state.range(0))));
}

BENCHMARK(ParseRecords)->Arg(100)->Arg(10000);
BENCHMARK(EcsBatch)->Arg(100)->Arg(10000);
BENCHMARK(CopyRecords)->Arg(100)->Arg(10000);
BENCHMARK(ParseActions)->Arg(1)->Arg(100)->Arg(10000);
BENCHMARK(RemediationBatch)->Arg(1)->Arg(100)->Arg(10000);

}  // namespace

int main(int argc, char** argv) {
    return Kyr::Bench::RunBenchmarks(argc, argv);
}
