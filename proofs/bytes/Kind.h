// One kind of bytes that come from outside, with sound samples of it, and a judge who gives the
// decoder bytes and says what came out.
//
// A judge knows from docs/wire-format.md what is to come out, by a reading of its own that shares
// no code with the decoder; where that takes real decoding (XML, protobuf that is malformed), it
// knows the limits of what may come out.
// Threads: single-threaded. Errors: a judge lets nothing out of the decoder that is not a
// std::exception; that ends the process.
#pragma once

#include <algorithm>
#include <ctime>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "proofs/bytes/Changes.h"
#include "tests/support/AllocationWatch.h"

namespace Kyr::Proofs::Bytes {

/// What came out.
struct Result {
    /// In words; an exception's text or a code. Numbers in it make no other class of outcomes.
    std::string outcome;
    /// What was read, in any form that tells one from another.
    std::string detail;
};

struct Finding {
    /// The classes of what came out; none when the input cannot come to pass.
    std::vector<std::string> classes;
    std::string problem;  // empty: none
};

struct Kind {
    std::string name;
    /// Whether the same inputs have the same outcomes with any version of zlib and protobuf.
    bool countsAreOurs;
    std::vector<Sample> samples;
    std::function<Finding(const Input&)> look;
};

/// The outcome with "#" for each number: what a class is. Stay as they are: a digit in front, which
/// is the level of a line, and one behind a minus, which is zlib's code.
std::string ClassOf(const std::string& outcome);

/// Nothing but `expected` is right.
Finding Compare(const Result& got, const Result& expected);

/// What the decoder has taken for one input, the judge's own work left out.
struct Effort {
    std::clock_t time = 0;
    std::size_t held = 0;  // at most, in bytes
};
Effort& CurrentEffort();

/// What `decode` returns; its effort is added to the current one.
template <typename Decode>
auto Measured(Decode decode) {
    struct Measure {
        const Test::CAllocationWatch watch;
        const std::clock_t begin = std::clock();

        ~Measure() {
            Effort& effort = CurrentEffort();
            effort.time += std::clock() - begin;
            effort.held = std::max(effort.held, watch.MostHeld());
        }
    };
    const Measure measure;
    return decode();
}

/// What `read` returns, or the text of what it throws; measured.
template <typename Read>
Result ResultOf(Read read) {
    try {
        return Measured(read);
    } catch (const std::exception& error) {
        return {error.what(), ""};
    }
}

// By decoder.
std::vector<Kind> PlainReplyKinds();
std::vector<Kind> XmlReplyKinds();
std::vector<Kind> RecordReplyKinds();
std::vector<Kind> PolicyKinds();
std::vector<Kind> AreaKinds();
std::vector<Kind> PortKinds();

}  // namespace Kyr::Proofs::Bytes
