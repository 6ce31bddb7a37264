#include "tests/portlayer/PortFixture.h"

#include "tests/portlayer/ChildProcess.h"

namespace Kyr::Test {

namespace {

using Narrow = NtApi::PortMessageLayout<std::uint32_t>;
using Wide = NtApi::PortMessageLayout<std::uint64_t>;

// As a client of the ports finds it out.
bool SystemIsWide() {
    NtApi::Bool isWow64 = 0;
    return PortLayer::IsWow64Process(PortLayer::GetCurrentProcess(), &isWow64) != 0 && isWow64 != 0;
}

}  // namespace

const bool LpcLayout::kIsWide = SystemIsWide();
const std::size_t LpcLayout::kHeaderSize = kIsWide ? Wide::kHeaderSize : Narrow::kHeaderSize;
const std::size_t LpcLayout::kProcessId = kIsWide ? Wide::kProcessId : Narrow::kProcessId;
const std::size_t LpcLayout::kThreadId = kIsWide ? Wide::kThreadId : Narrow::kThreadId;
const std::size_t LpcLayout::kMessageId = kIsWide ? Wide::kMessageId : Narrow::kMessageId;
const std::size_t LpcLayout::kMaxMessage = kIsWide ? Wide::kMaxMessage : Narrow::kMaxMessage;
const std::size_t LpcLayout::kDataEntries = kIsWide ? Wide::kDataEntries : Narrow::kDataEntries;
const std::size_t LpcLayout::kDataEntrySize =
    kIsWide ? Wide::kDataEntrySize : Narrow::kDataEntrySize;
const std::size_t LpcLayout::kDataEntryLength =
    kIsWide ? Wide::kDataEntryLength : Narrow::kDataEntryLength;

std::uint64_t GetWord(const void* message, std::size_t offset) {
    return LpcLayout::kIsWide ? Get<std::uint64_t>(message, offset)
                              : Get<std::uint32_t>(message, offset);
}

void PutWord(void* message, std::size_t offset, std::uint64_t value) {
    if (LpcLayout::kIsWide) {
        Put(message, offset, value);
    } else {
        Put(message, offset, static_cast<std::uint32_t>(value));
    }
}

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

Bytes LpcMessageWithEntries(const std::vector<BlockEntry>& entries) {
    Bytes data(LpcLayout::kDataEntries + entries.size() * LpcLayout::kDataEntrySize);
    Put<std::uint32_t>(data.data(), 0, static_cast<std::uint32_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::size_t at = LpcLayout::kDataEntries + i * LpcLayout::kDataEntrySize;
        PutWord(data.data(), at, reinterpret_cast<std::uintptr_t>(entries[i].base));
        Put<std::uint32_t>(data.data(), at + LpcLayout::kDataEntryLength, entries[i].size);
    }
    Bytes message = LpcMessage(data);
    Put(message.data(), 6, static_cast<std::uint16_t>(LpcLayout::kHeaderSize));
    return message;
}

std::int64_t Within(std::chrono::milliseconds duration) {
    return -duration.count() * 10000;
}

void PortFixture::SetUp() {
    if (!CChildProcess::IsStartedAgain()) {
        directory_ = std::make_unique<CRunDirectory>();
    }
    ASSERT_EQ(Ports().liveObjects(), "");
}

void PortFixture::TearDown() {
    EXPECT_EQ(Ports().liveObjects(), "");
    EXPECT_TRUE(directory_->IsEmpty()) << "names left in " << directory_->Path();
}

void PortFixture::ForgetName() {
    directory_->Clear();
}

NtApi::UnicodeString* PortFixture::Name() {
    static char16_t text[] = u"\\BaseNamedObjects\\ContractPort";
    static NtApi::UnicodeString name = {sizeof text - 2, sizeof text, text};
    return &name;
}

}  // namespace Kyr::Test
