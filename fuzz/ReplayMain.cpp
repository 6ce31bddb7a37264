// replay_<Name> <corpus folder> [--trace|--seeds]: feeds a fuzz target with its corpus and changes
// of it.
// --trace names each input before it runs, so that the last line tells which one crashed; --seeds
// leaves the changes out.

#include <cstring>
#include <exception>
#include <iostream>

#include "fuzz/Replay.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::size_t Replay(const std::filesystem::path& folder, const Kyr::Fuzz::Trace& trace) {
    std::size_t inputs = 0;
    for (const auto& seed : Kyr::Fuzz::ReadCorpus(folder)) {
        inputs += Kyr::Fuzz::ReplaySeed(seed, &LLVMFuzzerTestOneInput, trace);
    }
    return inputs;
}

std::size_t ReplaySeeds(const std::filesystem::path& folder) {
    const auto seeds = Kyr::Fuzz::ReadCorpus(folder);
    for (const auto& seed : seeds) {
        LLVMFuzzerTestOneInput(seed.bytes.data(), seed.bytes.size());
    }
    return seeds.size();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: " << argv[0] << " <corpus folder> [--trace|--seeds]\n";
        return 2;
    }
    const char* const option = argc > 2 ? argv[2] : "";
    const bool traced = std::strcmp(option, "--trace") == 0;
    const bool onlySeeds = std::strcmp(option, "--seeds") == 0;
    try {
        const auto trace = [traced](const std::string& what) {
            if (traced) {
                std::cerr << what << std::endl;
            }
        };
        const std::size_t inputs = onlySeeds ? ReplaySeeds(argv[1]) : Replay(argv[1], trace);
        std::cout << inputs << " inputs\n";
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "failed: " << error.what() << '\n';
        return 1;
    }
}
