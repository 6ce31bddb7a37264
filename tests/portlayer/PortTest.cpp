#include "tests/portlayer/PortTest.h"

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace Kyr::Test {

Bytes ToBytes(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

Bytes Pattern(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i * 31 + (i >> 8) * 7 + (i >> 16));
    }
    return bytes;
}

Bytes Message(std::size_t headerSize, const Bytes& data, std::size_t room) {
    Bytes message(room);
    Put<std::uint16_t>(message.data(), 0, static_cast<std::uint16_t>(data.size()));
    Put<std::uint16_t>(message.data(), 2, static_cast<std::uint16_t>(headerSize + data.size()));
    if (!data.empty()) {
        std::memcpy(message.data() + headerSize, data.data(), data.size());
    }
    return message;
}

Bytes LpcMessage(const Bytes& data) {
    return Message(LpcLayout::kHeaderSize, data, LpcLayout::kMaxMessage);
}

Bytes AlpcMessage(const Bytes& data) {
    return Message(AlpcLayout::kHeaderSize, data, NtApi::kAlpcMaxMessage);
}

Bytes LpcData(const void* message) {
    const auto* const data = static_cast<const std::uint8_t*>(message) + LpcLayout::kHeaderSize;
    return Bytes(data, data + Get<std::uint16_t>(message, 0));
}

Bytes AlpcData(const void* message) {
    const auto* const data = static_cast<const std::uint8_t*>(message) + AlpcLayout::kHeaderSize;
    return Bytes(data, data + Get<std::uint16_t>(message, 0));
}

std::uint16_t Kind(const void* message) {
    return Get<std::uint16_t>(message, 4) & 0xFF;
}

Bytes LpcMessageWithEntries(const std::vector<CEntry>& entries) {
    Bytes data(LpcLayout::kDataEntries + entries.size() * LpcLayout::kDataEntrySize);
    Put<std::uint32_t>(data.data(), 0, static_cast<std::uint32_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = LpcLayout::kDataEntries + i * LpcLayout::kDataEntrySize;
        Put<Word>(data.data(), at, reinterpret_cast<std::uintptr_t>(entries[i].base));
        Put<std::uint32_t>(data.data(), at + LpcLayout::kDataEntryLength, entries[i].size);
    }
    Bytes message = LpcMessage(data);
    Put<std::uint16_t>(message.data(), 6, LpcLayout::kHeaderSize);
    return message;
}

std::int64_t Within(std::chrono::milliseconds duration) {
    return -duration.count() * 10000;
}

void CPortTest::SetUp() {
    char pattern[] = "/tmp/portlayer-test-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    directory_ = pattern;
    ::setenv("KELCOMM_RUNTIME_DIR", pattern, 1);
    ASSERT_EQ(Ports().liveObjects(), "");
}

void CPortTest::TearDown() {
    EXPECT_EQ(Ports().liveObjects(), "");
    // Fails when a name was left behind.
    EXPECT_EQ(::rmdir(directory_.c_str()), 0) << "names left in " << directory_;
    ::unsetenv("KELCOMM_RUNTIME_DIR");
}

void CPortTest::ForgetName() {
    std::filesystem::remove_all(directory_);
    std::filesystem::create_directory(directory_);
}

NtApi::UnicodeString* CPortTest::Name() {
    static char16_t text[] = u"\\BaseNamedObjects\\ContractPort";
    static NtApi::UnicodeString name = {sizeof text - 2, sizeof text, text};
    return &name;
}

}  // namespace Kyr::Test
