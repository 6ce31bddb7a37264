// The host that the targets of the collection tasks pass records on to, in memory.
//
// Threads: one. What does not add up ends the process: that is a finding.
#pragma once

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

}  // namespace Kyr::Fuzz
