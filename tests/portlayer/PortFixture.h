// The ground of every contract test: a private run directory, names, messages, and the proof at the
// end that nothing is left alive.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "tests/portlayer/PortBackend.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Test {

using Bytes = std::vector<std::uint8_t>;
using NtApi::Handle;
using NtApi::NtStatus;

Bytes ToBytes(const std::string& text);
/// `size` bytes that differ from place to place.
Bytes Pattern(std::size_t size);

/// The layout of legacy messages on this system: which one is found out when the program starts.
struct LpcLayout {
    static const bool kIsWide;
    static const std::size_t kHeaderSize;
    static const std::size_t kProcessId;
    static const std::size_t kThreadId;
    static const std::size_t kMessageId;
    static const std::size_t kMaxMessage;
    static const std::size_t kDataEntries;
    static const std::size_t kDataEntrySize;
    static const std::size_t kDataEntryLength;
};
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

/// A field of a legacy message that is as wide as its layout.
std::uint64_t GetWord(const void* message, std::size_t offset);
void PutWord(void* message, std::size_t offset, std::uint64_t value);

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
struct BlockEntry {
    void* base;
    std::uint32_t size;
};
/// A legacy message whose data is the block of these entries.
Bytes LpcMessageWithEntries(const std::vector<BlockEntry>& entries);

/// A relative native time-out.
std::int64_t Within(std::chrono::milliseconds duration);

class PortFixture : public testing::TestWithParam<const PortBackend*> {
  protected:
    void SetUp() override;
    void TearDown() override;

    const PortBackend& Ports() const { return *GetParam(); }
    const std::string& RunDirectory() const { return directory_->Path(); }
    static NtApi::UnicodeString* Name();
    /// Removes what a killed process left in the run directory.
    void ForgetName();

  private:
    std::unique_ptr<CRunDirectory> directory_;
};

/// Every back end of this build, for INSTANTIATE_TEST_SUITE_P.
inline auto Backends() {
    return testing::Values(&LayerBackend());
}
inline std::string BackendName(const testing::TestParamInfo<const PortBackend*>& info) {
    return info.param->name;
}

}  // namespace Kyr::Test
