// replay_<Name> <corpus folder> [--trace]: feeds a fuzz target with its corpus and changes of it.
// --trace names each input before it runs, so that the last line tells which one crashed.

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

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: " << argv[0] << " <corpus folder> [--trace]\n";
        return 2;
    }
    const bool traced = argc > 2 && std::strcmp(argv[2], "--trace") == 0;
    try {
        const std::size_t inputs = Replay(argv[1], [traced](const std::string& what) {
            if (traced) {
                std::cerr << what << std::endl;
            }
        });
        std::cout << inputs << " inputs\n";
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "failed: " << error.what() << '\n';
        return 1;
    }
}
