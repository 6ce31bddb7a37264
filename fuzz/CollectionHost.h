// The host that the targets of the collection tasks pass records on to, in memory.
//
// Threads: one. What does not add up ends the process: that is a finding.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"

namespace Kyr::Fuzz {

inline void Require(bool condition) {
    if (!condition) {
        std::terminate();
    }
}

/// Feeds the input to a receiver. Returns whether it took it, or refused it with the text of a
/// short reply.
template <typename Receiver>
bool Receive(Receiver& receiver, const std::uint8_t* data, std::size_t size) {
    try {
        receiver.OnBufferReceived(std::vector<unsigned char>(data, data + size));
        return true;
    } catch (const std::runtime_error& error) {
        Require(error.what() == std::string("KelcommChannelBuffer: Buffer is not full enough"));
        return false;
    }
}

/// How many lines say that a payload ends early.
inline std::size_t EarlyEnds(const Kyr::Test::CCapturingLogger& logger) {
    const std::vector<std::string> lines = logger.Capture().Lines();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find(": payload ends early, ") != std::string::npos;
        }));
}

}  // namespace Kyr::Fuzz
