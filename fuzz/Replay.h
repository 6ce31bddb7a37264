// Runs the committed seeds of a fuzz target, and simple changes of each, without a fuzzing engine:
// what the test corpus_<Name> of every build does.
//
// Deterministic: the same seeds give the same inputs in the same order on every machine.
// Threads: single-threaded. Errors: ReadCorpus throws std::runtime_error; what the target throws
// passes through.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Kyr::Fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Gets every input; its storage is exactly `size` bytes of the heap, so that AddressSanitizer sees
/// the first byte that is read past it.
using Target = std::function<void(const std::uint8_t* data, std::size_t size)>;

/// Is told what the next input is, before the target sees it.
using Trace = std::function<void(const std::string& what)>;

struct Seed {
    std::string name;
    Bytes bytes;
};

/// The files of `folder` sorted by name; hidden files and sub-folders are passed over.
/// Throws when the folder cannot be read or holds no seed: an empty corpus tests nothing.
std::vector<Seed> ReadCorpus(const std::filesystem::path& folder);

/// Runs the seed, every truncation of it, and changes of one byte and of four bytes at each offset.
/// Truncations and changes stop at the first 1024 offsets (our choice: it bounds the time of a
/// large seed, and headers and lengths stand in front). Returns the number of inputs.
std::size_t ReplaySeed(const Seed& seed, const Target& target, const Trace& trace);

}  // namespace Kyr::Fuzz
