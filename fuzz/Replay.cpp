#include "fuzz/Replay.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace Kyr::Fuzz {

namespace {

constexpr std::size_t kOffsetLimit = 1024;

// Values of a little-endian length or count that decoders get wrong: none, one, the largest
// positive number, the smallest negative one, and the largest of all.
constexpr std::array<std::uint32_t, 5> kWords = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};

// One bit at each end of the byte, and all of them.
constexpr std::array<std::uint8_t, 3> kFlips = {0x01, 0x80, 0xFF};

class CReplay {
  public:
    CReplay(const Seed& seed, const Target& target, const Trace& trace)
        : seed_(seed), target_(target), trace_(trace) {}

    std::size_t Run() {
        Offer(seed_.bytes, "as it stands");
        Truncate();
        FlipBytes();
        ReplaceWords();
        return inputs_;
    }

  private:
    void Offer(const Bytes& input, const std::string& what) {
        trace_(seed_.name + ", " + what);
        // An array and not a vector: exactly as long as the input, and not null when that is empty.
        const auto exact = std::make_unique<std::uint8_t[]>(input.size());
        std::copy(input.begin(), input.end(), exact.get());
        target_(exact.get(), input.size());
        ++inputs_;
    }

    std::size_t Limit() const { return std::min(seed_.bytes.size(), kOffsetLimit); }

    void Truncate() {
        for (std::size_t size = 0; size < Limit(); ++size) {
            Offer(
                Bytes(seed_.bytes.begin(), seed_.bytes.begin() + static_cast<std::ptrdiff_t>(size)),
                "cut to " + std::to_string(size));
        }
    }

    void FlipBytes() {
        for (std::size_t offset = 0; offset < Limit(); ++offset) {
            for (const auto flip : kFlips) {
                Bytes input = seed_.bytes;
                input[offset] = static_cast<std::uint8_t>(input[offset] ^ flip);
                Offer(input, "byte " + std::to_string(offset) + " xor " + std::to_string(flip));
            }
        }
    }

    void ReplaceWords() {
        for (std::size_t offset = 0; offset + sizeof(std::uint32_t) <= Limit(); ++offset) {
            for (const auto word : kWords) {
                Bytes input = seed_.bytes;
                for (std::size_t i = 0; i < sizeof(word); ++i) {
                    input[offset + i] = static_cast<std::uint8_t>(word >> (8 * i));
                }
                Offer(input, "word at " + std::to_string(offset) + " = " + std::to_string(word));
            }
        }
    }

    const Seed& seed_;
    const Target& target_;
    const Trace& trace_;
    std::size_t inputs_ = 0;
};

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read seed " + path.string());
    }
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

std::vector<Seed> ReadCorpus(const std::filesystem::path& folder) {
    std::vector<Seed> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && name.front() != '.') {
            seeds.push_back({name, ReadFile(entry.path())});
        }
    }
    if (seeds.empty()) {
        throw std::runtime_error("no seed in " + folder.string());
    }
    std::sort(seeds.begin(), seeds.end(),
              [](const Seed& left, const Seed& right) { return left.name < right.name; });
    return seeds;
}

std::size_t ReplaySeed(const Seed& seed, const Target& target, const Trace& trace) {
    return CReplay(seed, target, trace).Run();
}

}  // namespace Kyr::Fuzz
