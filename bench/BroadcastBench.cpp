// What a look at the product's broadcast area costs: a value, the server plug-in's value as long as
// its timestamp stands, and after it has changed; side by side with the least that could tell it.
//
// Area and reader share this process, since nobody waits for anybody. Time and processor time are
// the same here.
#include <Poco/Environment.h>
#include <benchmark/benchmark.h>
#include <cstring>
#include <stdexcept>
#include <string>

#include "bench/BenchMain.h"
#include "kelcomm/OvAgentChannel.h"
#include "lab/simproduct/area/AreaImage.h"
#include "portlayer/ServerFunctions.h"
#include "tests/support/system/TemporaryFolder.h"

namespace {

using namespace Kyr;
using Connectors::OvAgentConnector::COvAgentChannel;
using Lab::SimProduct::AreaField;
using Lab::SimProduct::CAreaImage;

constexpr char16_t kMutexName[] = u"Global\\KELCOMM61564B51To31564B51BroadcastMutex";
constexpr char16_t kSectionName[] = u"Global\\KELCOMM61564B51To31564B51Broadcast";
constexpr std::int32_t kServerPlugIn = 10;

/// A healthy area, and a channel whose ports are not there: reads need none.
class CArea {
  public:
    CArea() {
        const auto noFile = reinterpret_cast<NtApi::Handle>(~std::uintptr_t{0});
        mutex_ = PortLayer::CreateMutexW(nullptr, 0, kMutexName);
        section_ =
            PortLayer::CreateFileMappingW(noFile, nullptr, 4, 0, CAreaImage::kSize, kSectionName);
        view_ = PortLayer::MapViewOfFile(section_, 6, 0, 0, CAreaImage::kSize);
        if (mutex_ == nullptr || view_ == nullptr) {
            throw std::runtime_error("no area");
        }
        Image().WriteHealthy();
        std::string errors;
        channel.Ping(errors);
        channel.GetBroadcast(kServerPlugIn);
    }
    ~CArea() {
        PortLayer::UnmapViewOfFile(view_);
        PortLayer::CloseHandle(section_);
        PortLayer::CloseHandle(mutex_);
    }
    CArea(const CArea&) = delete;
    CArea& operator=(const CArea&) = delete;

    CAreaImage Image() const { return CAreaImage(static_cast<std::uint8_t*>(view_)); }
    NtApi::Handle Mutex() const { return mutex_; }
    const std::uint8_t* Bytes() const { return static_cast<const std::uint8_t*>(view_); }

  private:
    NtApi::Handle mutex_ = nullptr;
    NtApi::Handle section_ = nullptr;
    void* view_ = nullptr;

  public:
    COvAgentChannel channel{0, 0};
};

void FloorWord(benchmark::State& state) {
    const CArea area;
    for (auto _ : state) {
        benchmark::DoNotOptimize(*reinterpret_cast<const volatile std::uint32_t*>(area.Bytes()));
    }
}

void FloorMutexAndCopy(benchmark::State& state) {
    const CArea area;
    std::uint8_t block[8];
    for (auto _ : state) {
        PortLayer::WaitForSingleObject(area.Mutex(), 5000);
        std::memcpy(block, area.Bytes(), sizeof block);
        PortLayer::ReleaseMutex(area.Mutex());
        benchmark::DoNotOptimize(block);
    }
}

void GetBroadcastValue(benchmark::State& state) {
    CArea area;
    for (auto _ : state) {
        benchmark::DoNotOptimize(area.channel.GetBroadcast(2));
    }
}

void HasBroadcastChanged(benchmark::State& state) {
    CArea area;
    for (auto _ : state) {
        benchmark::DoNotOptimize(area.channel.HasBroadcastChanged(2));
    }
}

void GetBroadcastPlugInCached(benchmark::State& state) {
    CArea area;
    for (auto _ : state) {
        benchmark::DoNotOptimize(area.channel.GetBroadcast(kServerPlugIn));
    }
}

void GetBroadcastPlugInUncached(benchmark::State& state) {
    CArea area;
    CAreaImage image = area.Image();
    std::uint32_t timestamp = image.Read(AreaField::kTimestamp);
    for (auto _ : state) {
        image.Write(AreaField::kTimestamp, ++timestamp);
        benchmark::DoNotOptimize(area.channel.GetBroadcast(kServerPlugIn));
    }
}

void GetBroadcastPlugInMissing(benchmark::State& state) {
    CArea area;
    CAreaImage image = area.Image();
    image.Write(AreaField::kModuleId, 1);
    image.Write(AreaField::kTimestamp, 99);
    for (auto _ : state) {
        benchmark::DoNotOptimize(area.channel.GetBroadcast(kServerPlugIn));
    }
}

}  // namespace

BENCHMARK(FloorWord);
BENCHMARK(FloorMutexAndCopy);
BENCHMARK(GetBroadcastValue);
BENCHMARK(HasBroadcastChanged);
BENCHMARK(GetBroadcastPlugInCached);
BENCHMARK(GetBroadcastPlugInUncached);
BENCHMARK(GetBroadcastPlugInMissing);

int main(int argc, char** argv) {
    const Kyr::Test::CTemporaryFolder folder;
    Poco::Environment::set("KELCOMM_RUNTIME_DIR", folder.File("run"));
    return Kyr::Bench::RunBenchmarks(argc, argv);
}
