// What symbol rows cost: their two byte forms against the generated protobuf code alone, and
// look-up at the usual and at an unusual size.
#include <benchmark/benchmark.h>
#include <string>

#include "bench/BenchMain.h"
#include "logs/SymbolContainer.h"

namespace {

using Kyr::Common::DataDefinition::Logs::LogSymbolContainer;
using Kyr::Common::Logs::CSymbolContainer;

constexpr int kSymbols = 20;

/// Twenty symbols in the mixture of kinds that a task event has.
void Fill(CSymbolContainer& row) {
    for (std::int32_t id = 0; id < kSymbols; id += 5) {
        row.AddInt64(id, 1000 * id)
            .AddResourceId(id + 1, 0x07100000000005E2)
            .AddUuidString(id + 2, "01234567-89ab-cdef-0011-223344556677")
            .AddCurrentTime(id + 3)
            .AddString(id + 4, "a text of the usual length, 40 bytes long");
    }
}

std::string ProtobufBytes() {
    CSymbolContainer row;
    Fill(row);
    std::string bytes;
    row.SerializeToString(bytes);
    return bytes;
}

void ToProtobuf(benchmark::State& state) {
    CSymbolContainer row;
    Fill(row);
    std::string bytes;
    for (auto _ : state) {
        row.SerializeToString(bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(ToProtobuf);

void FromProtobuf(benchmark::State& state) {
    const std::string bytes = ProtobufBytes();
    for (auto _ : state) {
        CSymbolContainer row;
        row.DeserializeFromString(bytes);
        benchmark::DoNotOptimize(row.GetCount());
    }
}
BENCHMARK(FromProtobuf);

/// The floor of ToProtobuf: the same message is there already and only becomes bytes.
void GeneratedCodeWrites(benchmark::State& state) {
    LogSymbolContainer message;
    message.ParseFromString(ProtobufBytes());
    std::string bytes;
    for (auto _ : state) {
        message.SerializeToString(&bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(GeneratedCodeWrites);

/// The same with the message still to be made, out of values that are there in its own form.
void GeneratedCodeBuildsAndWrites(benchmark::State& state) {
    LogSymbolContainer source;
    source.ParseFromString(ProtobufBytes());
    std::string bytes;
    for (auto _ : state) {
        LogSymbolContainer message;
        for (const auto& from : source.symbols()) {
            auto* symbol = message.add_symbols();
            symbol->set_symbol_type(from.symbol_type());
            *symbol->mutable_symbol_data() = from.symbol_data();
        }
        message.SerializeToString(&bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(GeneratedCodeBuildsAndWrites);

/// The floor of FromProtobuf.
void GeneratedCodeParses(benchmark::State& state) {
    const std::string bytes = ProtobufBytes();
    for (auto _ : state) {
        LogSymbolContainer message;
        message.ParseFromString(bytes);
        benchmark::DoNotOptimize(message.symbols_size());
    }
}
BENCHMARK(GeneratedCodeParses);

void ProtobufSize(benchmark::State& state) {
    CSymbolContainer row;
    Fill(row);
    for (auto _ : state) {
        benchmark::DoNotOptimize(row.GetProtobufSize());
    }
}
BENCHMARK(ProtobufSize);

void ToBinary(benchmark::State& state) {
    CSymbolContainer row;
    Fill(row);
    std::string bytes;
    for (auto _ : state) {
        row.SerializeToBinary(bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(ToBinary);

void FromBinary(benchmark::State& state) {
    CSymbolContainer source;
    Fill(source);
    std::string bytes;
    source.SerializeToBinary(bytes);
    for (auto _ : state) {
        CSymbolContainer row;
        row.DeserializeFromBinary(bytes);
        benchmark::DoNotOptimize(row.GetCount());
    }
}
BENCHMARK(FromBinary);

void AddIntegers(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    for (auto _ : state) {
        CSymbolContainer row;
        for (std::int32_t id = 0; id < count; ++id) {
            row.AddInt64(id, id);
        }
        benchmark::DoNotOptimize(row.GetCount());
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(AddIntegers)->Arg(10)->Arg(50);

void FindEveryInteger(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    CSymbolContainer row;
    for (std::int32_t id = 0; id < count; ++id) {
        row.AddInt64(id, id);
    }
    for (auto _ : state) {
        for (std::int32_t id = 0; id < count; ++id) {
            benchmark::DoNotOptimize(row.GetInt64(id));
        }
    }
    state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(FindEveryInteger)->Arg(10)->Arg(50);

}  // namespace

int main(int argc, char** argv) {
    return Kyr::Bench::RunBenchmarks(argc, argv);
}
