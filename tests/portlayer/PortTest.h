// The ground of every contract test: a private run directory, names, messages, and the proof at the
// end that nothing is left alive.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/portlayer/PortBackend.h"

namespace Kyr::Test {

using Bytes = std::vector<std::uint8_t>;
using NtApi::Handle;
using NtApi::NtStatus;

Bytes ToBytes(const std::string& text);
/// `size` bytes that differ from place to place.
Bytes Pattern(std::size_t size);

/// The layout of legacy messages in this process.
using Word = std::conditional_t<sizeof(void*) == 8, std::uint64_t, std::uint32_t>;
using LpcLayout = NtApi::PortMessageLayout<Word>;
using AlpcLayout = NtApi::PortMessageLayout<std::uint32_t>;

template <typename T>
T Get(const void* message, std::size_t offset) {
    T value;
    std::memcpy(&value, static_cast<const std::uint8_t*>(message) + offset, sizeof value);
    return value;
}

template <typename T>
void Put(void* message, std::size_t offset, T value) {
    std::memcpy(static_cast<std::uint8_t*>(message) + offset, &value, sizeof value);
}

/// A message of a header of `headerSize` bytes and the data, in a buffer of `room` bytes.
Bytes Message(std::size_t headerSize, const Bytes& data, std::size_t room);
/// A legacy message with room for the longest.
Bytes LpcMessage(const Bytes& data);
/// An advanced message with room for the longest.
Bytes AlpcMessage(const Bytes& data);
/// The bytes after the header.
Bytes LpcData(const void* message);
Bytes AlpcData(const void* message);
std::uint16_t Kind(const void* message);

/// A part of memory that a legacy request offers.
struct CEntry {
    void* base;
    std::uint32_t size;
};
/// A legacy message whose data is the block of these entries.
Bytes LpcMessageWithEntries(const std::vector<CEntry>& entries);

/// A relative native time-out.
std::int64_t Within(std::chrono::milliseconds duration);

class CPortTest : public testing::TestWithParam<const CPortBackend*> {
  protected:
    void SetUp() override;
    void TearDown() override;

    const CPortBackend& Ports() const { return *GetParam(); }
    const std::string& RunDirectory() const { return directory_; }
    static NtApi::UnicodeString* Name();
    /// Removes what a killed process left in the run directory.
    void ForgetName();

  private:
    std::string directory_;
};

/// Every back end of this build, for INSTANTIATE_TEST_SUITE_P.
inline auto Backends() {
    return testing::Values(&LayerBackend());
}
inline std::string BackendName(const testing::TestParamInfo<const CPortBackend*>& info) {
    return info.param->name;
}

}  // namespace Kyr::Test
