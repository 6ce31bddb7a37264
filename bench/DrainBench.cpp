// What a full queue of records costs on its way from the product to the host: through the real
// module over real ports, beside the parsing of the same protobuf bytes alone, which is the floor.
//
// The product is a second process on the same core. It has its batch ready: only the numbers of the
// records change, so that little of the figures is its own. The host looks at every record and
// keeps none: each must have its number, in order, and the size of all.
//
// usage: bench_drain [--records=<number>] [--heap=system] [options of Google Benchmark]
#include <algorithm>
#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "base/LittleEndian.h"
#include "bench/PortBench.h"
#include "bench/RunningModule.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "logs/DataMinerMessages.h"
#include "logs/OvAgentRequest.h"
#include "tests/endurance/ProcessFigures.h"

namespace {

using namespace Kyr::Bench;
using namespace Kyr::Connectors::Common::Kelcomm;
using Kyr::Base::LoadLittleEndian;
using Kyr::Base::StoreLittleEndian;
using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Kyr::Common::Message::Connectors::OvAgentConnector::kEcsIndicatorLogs;
using Kyr::Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;

constexpr std::size_t kRecordSize = 1024;
constexpr std::size_t kNumberSize = 16;  // in hexadecimal digits, at the record's start
constexpr std::size_t kHeaderSize = 12;
constexpr std::uint32_t kReplyBufferTooSmall = 5;
constexpr std::uint32_t kGetIndicators = 0x00100000;
/// How many batches are asked for at once: enough that the module never waits for the host.
constexpr std::uint64_t kRequestsAtOnce = 100;

std::uint64_t recordsWanted = 200000;

void WriteNumber(std::uint64_t number, char* digits) {
    for (std::size_t place = kNumberSize; place-- > 0; number >>= 4) {
        digits[place] = "0123456789abcdef"[number & 0xF];
    }
}

/// One batch of records as a reply: the header, then the protobuf message.
class CPreparedBatch {
  public:
    explicit CPreparedBatch(std::uint64_t records) : records_(records) {
        GetEcsLogsResponse response;
        for (std::uint64_t i = 0; i < records; ++i) {
            response.add_logs(std::string(kRecordSize, 'r'));
        }
        bytes_.assign(kHeaderSize, '\0');
        response.AppendToString(&bytes_);
        StoreLittleEndian<std::uint32_t>(Header(), kHeaderSize);
        StoreLittleEndian(Header() + 8, static_cast<std::uint32_t>(bytes_.size() - kHeaderSize));
        Number(0);
    }
    /// Lets the batch begin with that number.
    void Number(std::uint64_t first) {
        const std::size_t size = (bytes_.size() - kHeaderSize) / records_;
        char* record = bytes_.data() + kHeaderSize + size - kRecordSize;
        for (std::uint64_t i = 0; i < records_; ++i, record += size) {
            WriteNumber(first + i, record);
        }
        first_ = first;
    }
    std::uint64_t First() const { return first_; }
    const std::string& Bytes() const { return bytes_; }

  private:
    std::uint8_t* Header() { return reinterpret_cast<std::uint8_t*>(bytes_.data()); }

    const std::uint64_t records_;
    std::uint64_t first_ = 0;
    std::string bytes_;
};

/// Answers as the product does: batches by their offset, that the room is too small, and to all
/// else that it is accepted.
class CPreparedProduct {
  public:
    explicit CPreparedProduct(std::uint64_t batch) : batch_(batch) {
        StoreLittleEndian<std::uint32_t>(accepted_, kHeaderSize);
        StoreLittleEndian<std::uint32_t>(tooSmall_, kHeaderSize);
        StoreLittleEndian(tooSmall_ + 4, kReplyBufferTooSmall);
    }
    Kyr::Test::PortReply operator()(const Kyr::Test::PortRequest& request) {
        const auto capacity =
            LoadLittleEndian<std::uint32_t>(request.message + Alpc::kReplyCapacity);
        if (capacity == 0) {
            return Reply(nullptr, 0);
        }
        const std::uint8_t* const body = request.message + Alpc::kPayload + kHeaderSize;
        if (LoadLittleEndian<std::uint32_t>(body - 4) != kGetIndicators) {
            return Reply(accepted_, sizeof accepted_);
        }
        const auto length = LoadLittleEndian<std::uint32_t>(request.message + Alpc::kRequestLength);
        GetEcsLogsRequest wanted;
        Require(wanted.ParseFromArray(body, static_cast<int>(length - kHeaderSize)), "request");
        if (wanted.offset() != batch_.First()) {
            batch_.Number(wanted.offset());
        }
        const std::string& bytes = batch_.Bytes();
        if (bytes.size() > capacity) {
            return Reply(tooSmall_, sizeof tooSmall_);
        }
        return Reply(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }

  private:
    static Kyr::Test::PortReply Reply(const std::uint8_t* bytes, std::size_t size) {
        Kyr::Test::PortReply reply = {{}, sizeof reply.head, bytes, size};
        StoreLittleEndian(reply.head + 4, static_cast<std::uint32_t>(size));
        return reply;
    }

    CPreparedBatch batch_;
    std::uint8_t accepted_[kHeaderSize] = {};
    std::uint8_t tooSmall_[kHeaderSize] = {};
};

/// Looks at each record as it comes; written by the module's thread, read when all have come.
class CArrivals {
  public:
    void Take(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message) {
        const auto* batch = dynamic_cast<const CDataMinerStoreEcsIndicatorLogs*>(message.get());
        if (batch == nullptr) {
            return;
        }
        for (const std::string& record : batch->GetLogs()) {
            char number[kNumberSize];
            WriteNumber(records_++, number);
            wrong_ += record.size() != kRecordSize ||
                      std::memcmp(record.data(), number, kNumberSize) != 0 || record.back() != 'r';
        }
        batches_.Count();
    }
    void AwaitBatches(std::uint64_t count) { batches_.Await(count); }
    std::uint64_t Records() const { return records_; }
    std::uint64_t Wrong() const { return wrong_; }

  private:
    CCounter batches_;
    std::atomic<std::uint64_t> records_{0};
    std::atomic<std::uint64_t> wrong_{0};
};

std::uint64_t BatchesOf(std::uint64_t batch) {
    return (recordsWanted + batch - 1) / batch;
}

/// The floor: each batch becomes a protobuf message and nothing more.
void ParseAlone(benchmark::State& state) {
    const auto batch = static_cast<std::uint64_t>(state.range(0));
    const CPreparedBatch prepared(batch);
    PinTo(0);
    const double start = ProcessCpuTime();
    for (auto _ : state) {
        for (std::uint64_t count = BatchesOf(batch); count != 0; --count) {
            GetEcsLogsResponse response;
            Require(response.ParseFromArray(
                        prepared.Bytes().data() + kHeaderSize,
                        static_cast<int>(prepared.Bytes().size()) - static_cast<int>(kHeaderSize)),
                    "parse");
            benchmark::DoNotOptimize(&response);
        }
    }
    state.counters["cpu_ns"] = ProcessCpuTime() - start;
    state.SetItemsProcessed(static_cast<std::int64_t>(BatchesOf(batch) * batch));
}

/// From the first request to the offset behind the last record. "peak_MiB" is the most memory that
/// the module's process had in use beyond what it had when it was connected.
void Drain(benchmark::State& state) {
    const auto batch = static_cast<std::uint64_t>(state.range(0));
    const std::uint64_t batches = BatchesOf(batch);
    const CServerProcess server(1, [&](int ready) {
        ServePort<Kyr::Test::CAlpcPortServer>(
            AlpcPortName(kKelcommClientId, kKelcommServerId).data(), CPreparedProduct(batch),
            ready);
    });
    CArrivals arrivals;
    CRunningModule running("Connected to product, processing tasks");
    running.host.bus->SetRecording(false);
    running.host.bus->OnPublish([&](const auto& message) { arrivals.Take(message); });
    running.lines.Await(1);
    const auto request = boost::make_shared<COvAgentRequest>();
    request->SetRequestType(kEcsIndicatorLogs);
    request->SetReadOnly();

    const std::uint64_t before = Kyr::Endurance::ReadProcessFigures().residentKiB;
    Kyr::Endurance::ForgetPeakResident();
    const double start = server.CpuTime() + ProcessCpuTime();
    for (auto _ : state) {
        for (std::uint64_t asked = 0; asked < batches; ++asked) {
            running.host.bus->Deliver(request);
            arrivals.AwaitBatches(asked < kRequestsAtOnce ? 0 : asked - kRequestsAtOnce);
        }
        arrivals.AwaitBatches(batches);
    }
    state.counters["cpu_ns"] = server.CpuTime() + ProcessCpuTime() - start;
    state.counters["peak_MiB"] =
        static_cast<double>(Kyr::Endurance::PeakResidentKiB() - before) / 1024;
    state.SetItemsProcessed(static_cast<std::int64_t>(arrivals.Records()));

    running.module->Stop(true);  // the last offset is stored after the last batch is published
    Require(arrivals.Records() == batches * batch, "records are missing");
    Require(arrivals.Wrong() == 0, "records are wrong");
    Require(running.host.database->keyValues->Text("XDR_OFFSET") == std::to_string(batches * batch),
            "the stored offset is not the number of records");
}

void Register(const char* name, void (*function)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, function)
        ->ArgName("batch")
        ->Arg(100)
        ->Arg(1000)
        ->Arg(10000)
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string option = "--records=";
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]).compare(0, option.size(), option) == 0) {
            recordsWanted = std::stoull(argv[i] + option.size());
        }
    }
    Register("ParseAlone", ParseAlone);
    Register("Drain", Drain);
    return Run(argc, argv);
}
