#include "tests/portlayer/PortFixture.h"

#include <Poco/Environment.h>
#include <algorithm>

#include "tests/portlayer/ChildProcess.h"

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

void PortFixture::SetUp() {
    if (!CChildProcess::IsStartedAgain()) {
        directory_ = std::make_unique<CRunDirectory>();
    }
    path_ = Poco::Environment::get("KELCOMM_RUNTIME_DIR");
    ASSERT_EQ(LiveObjects(), "");
}

void PortFixture::TearDown() {
    CloseAll();
    EXPECT_EQ(LiveObjects(), "");
    EXPECT_TRUE(directory_->IsEmpty()) << "names left in " << directory_->Path();
}

Handle PortFixture::CloseLater(Handle handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (handle != nullptr) {
        opened_.push_back(handle);
    }
    return handle;
}

Bool PortFixture::CloseHandle(Handle handle) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        // Windows gives its number to another object at once.
        opened_.erase(std::remove(opened_.begin(), opened_.end(), handle), opened_.end());
    }
    return PortLayer::CloseHandle(handle);
}

void PortFixture::CloseAll() {
    while (!opened_.empty()) {
        EXPECT_EQ(CloseHandle(opened_.back()), 1);
    }
}

void PortFixture::ForgetName() {
    directory_->Clear();
}

Handle PortFixture::CreateSection(std::uint32_t size, const char16_t* name) {
    constexpr std::uint32_t kReadWrite = 4;
    const auto invalid = reinterpret_cast<Handle>(~std::uintptr_t{0});
    return CloseLater(CreateFileMappingW(invalid, nullptr, kReadWrite, 0, size, name));
}

NtApi::UnicodeString* PortFixture::Name() {
    static char16_t text[] = u"\\BaseNamedObjects\\ContractPort";
    static NtApi::UnicodeString name = {sizeof text - 2, sizeof text, text};
    return &name;
}

NtApi::ObjectAttributes* PortFixture::Attributes() {
    static NtApi::ObjectAttributes attributes = {sizeof attributes, nullptr, Name(), 0,
                                                 nullptr,           nullptr};
    return &attributes;
}

}  // namespace Kyr::Test
