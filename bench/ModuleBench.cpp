// What the whole module costs: a request from the bus to the product and back, a connection, and
// one look of the periodic watch.
#include <benchmark/benchmark.h>
#include <string>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "bench/PortBench.h"
#include "bench/RunningModule.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "logs/OvAgentRequest.h"
#include "module/PeriodicWatch.h"
#include "tests/support/host/RecordingPublisher.h"
#include "tests/support/time/ManualClock.h"

namespace {

using namespace Kyr::Bench;
using namespace Kyr::Connectors;
using namespace Kyr::Connectors::Common::Kelcomm;
using namespace Kyr::Connectors::OvAgentConnector;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

constexpr int kRequestsAtOnce = 1000;

/// The product accepts everything and has nothing to tell.
void ServeProduct(int ready) {
    static const std::vector<std::uint8_t> accepted = {12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    ServePort<Kyr::Test::CAlpcPortServer>(
        AlpcPortName(kKelcommClientId, kKelcommServerId).data(),
        [](const Kyr::Test::PortRequest& request) {
            const bool ping = Kyr::Base::LoadLittleEndian<std::uint32_t>(request.message +
                                                                         Alpc::kReplyCapacity) == 0;
            Kyr::Test::PortReply reply = {
                {}, sizeof reply.head, accepted.data(), ping ? 0 : accepted.size()};
            Kyr::Base::StoreLittleEndian(reply.head + 4, static_cast<std::uint32_t>(reply.size));
            return reply;
        },
        ready);
}

/// From the bus over queue, task, channel and port to the product, and back to the task's receiver.
void BusToProductAndBack(benchmark::State& state) {
    const CServerProcess server(static_cast<int>(state.range(0)), ServeProduct);
    CRunningModule running("Empty indicator logs response received from OVANTA Connector");
    const auto request = boost::make_shared<COvAgentRequest>();
    request->SetRequestType(Kyr::Common::Message::Connectors::OvAgentConnector::kEcsIndicatorLogs);
    request->SetReadOnly();
    std::uint64_t count = 0;
    for (auto _ : state) {
        for (int index = 0; index < kRequestsAtOnce; ++index) {
            running.host.bus->Deliver(request);
        }
        running.lines.Await(count += kRequestsAtOnce);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(count));
}
BENCHMARK(BusToProductAndBack)->ArgName("cores")->Arg(1)->Arg(2)->UseRealTime();

/// From the host's call of Start to the line that says that tasks are processed.
void StartUntilConnected(benchmark::State& state) {
    const CServerProcess server(1, ServeProduct);
    for (auto _ : state) {
        CRunningModule running("Connected to product, processing tasks");
        running.lines.Await(1);
        state.PauseTiming();
        running.module->Stop(true);
        state.ResumeTiming();
    }
}
BENCHMARK(StartUntilConnected)->UseRealTime();

/// One hour of a connected module that has nothing to do: 720 looks over real ports. The product
/// has no broadcast area; each look says so to a log that drops it.
void IdleHour(benchmark::State& state) {
    const CServerProcess server(1, ServeProduct);
    COvAgentChannel channel(0, 0);
    Kyr::Test::CFakeKeyValues keyValues;
    Kyr::Test::CRecordingPublisher publisher;
    publisher.recording = false;
    Kyr::Test::CCapturingLogger logger;
    logger.Capture().SetRecording(false);
    const double before = server.CpuTime();
    for (auto _ : state) {
        Kyr::Test::CManualClock clock;
        clock.SetAutomaticSleep(true);
        clock.BeforeSleep([sleeps = 0](std::chrono::milliseconds) mutable {
            if (++sleeps == 720) {
                throw boost::thread_interrupted();
            }
        });
        try {
            CPeriodicWatch({channel, keyValues, publisher, logger, clock}, 5600).Run();
        } catch (const boost::thread_interrupted&) {
            // The hour is over.
        }
    }
    state.counters["product_ns"] =
        benchmark::Counter(server.CpuTime() - before, benchmark::Counter::kAvgIterations);
}
BENCHMARK(IdleHour)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    return Run(argc, argv);
}
