// The clients on real Windows objects, and on a Windows whose ports are missing: what Wine is.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <windows.h>

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/KelcommNames.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "kelcomm/ports/KelcommWaitPool.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Test {
namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Native = Kelcomm::Native;

const wchar_t* Wide(const Kelcomm::ObjectName& name) {
    return reinterpret_cast<const wchar_t*>(name.data());
}

/// The module's two clients, on the table that the library itself uses.
class WindowsSystemTest : public testing::Test {
  protected:
    WindowsSystemTest() {
        alpc_.Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId, 0);
    }
    ~WindowsSystemTest() override {
        lpc_->Close();
        alpc_.Close();
    }

    const Native::NativeFunctions& native_ = Native::SystemNativeFunctions();
    const std::unique_ptr<Kelcomm::IKelcommClient> lpc_ = Kelcomm::CreateKelcommClientNt();
    Kelcomm::CKelcommAlpcClient alpc_;
};

// KYR_WINE_WOW64 tells which kind of system the suite runs on; scripts/windows/test runs it on
// both.
TEST_F(WindowsSystemTest, LegacyStructuresAreAsWideAsTheSystemBelow) {
    const char* const wow64 = std::getenv("KYR_WINE_WOW64");
    if (wow64 == nullptr) {
        GTEST_SKIP() << "KYR_WINE_WOW64 does not tell what is right here";
    }
    const bool wide =
        dynamic_cast<Kelcomm::CKelcommClientNt<std::uint64_t>*>(lpc_.get()) != nullptr;
    EXPECT_EQ(std::strcmp(wow64, "1") == 0, wide);
    EXPECT_EQ(!wide,
              dynamic_cast<Kelcomm::CKelcommClientNt<std::uint32_t>*>(lpc_.get()) != nullptr);
}

TEST_F(WindowsSystemTest, ClassicFunctionsAreTheSystemsOwn) {
    const auto fallbacks = Native::FallbackNativeFunctions();
    EXPECT_NE(fallbacks.CloseHandle, native_.CloseHandle);
    EXPECT_NE(fallbacks.MsgWaitForMultipleObjects, native_.MsgWaitForMultipleObjects);
    EXPECT_NE(fallbacks.OpenProcessToken, native_.OpenProcessToken);
    EXPECT_NE(fallbacks.RtlAcquireSRWLockShared, native_.RtlAcquireSRWLockShared);
    EXPECT_EQ(GetCurrentProcess(), native_.GetCurrentProcess());
}

/// The same system, where it lacks the ports.
class BareWindowsTest : public WindowsSystemTest {
  protected:
    void SetUp() override {
        const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
        if (GetProcAddress(ntdll, "wine_get_version") == nullptr) {
            GTEST_SKIP() << "a Windows with ports";
        }
    }

    static std::uint32_t Ping(Kelcomm::IKelcommClient& client, std::int64_t timeout = 0) {
        return client.Request(0, 0, nullptr, 0, nullptr, 0, nullptr, timeout);
    }
};

TEST_F(BareWindowsTest, LegacyConnectIsRefusedAndGivesNoHandle) {
    Kelcomm::ObjectName text =
        Kelcomm::LpcPortName(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId);
    NtApi::UnicodeString name{};
    native_.RtlInitUnicodeString(&name, text.data());
    EXPECT_EQ(102, name.Length);
    NtApi::SecurityQualityOfService qos{};
    qos.Length = sizeof qos;
    NtApi::Handle port = nullptr;
    const NtApi::NtStatus status =
        native_.NtConnectPort(&port, &name, &qos, nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(static_cast<NtApi::NtStatus>(0xC0000002), status);  // STATUS_NOT_IMPLEMENTED
    EXPECT_EQ(nullptr, port);
}

TEST_F(BareWindowsTest, LegacyRequestFailsWhateverItsTimeout) {
    EXPECT_EQ(1U, Ping(*lpc_));
    EXPECT_EQ(1U, Ping(*lpc_, -10000));
}

TEST_F(BareWindowsTest, AdvancedPortsAreFallbacks) {
    const auto fallbacks = Native::FallbackNativeFunctions();
    EXPECT_EQ(fallbacks.NtAlpcConnectPort, native_.NtAlpcConnectPort);
    EXPECT_EQ(fallbacks.NtAlpcSendWaitReceivePort, native_.NtAlpcSendWaitReceivePort);
    EXPECT_EQ(fallbacks.AlpcInitializeMessageAttribute, native_.AlpcInitializeMessageAttribute);
    EXPECT_EQ(static_cast<NtApi::NtStatus>(0xC0000001),
              native_.NtAlpcConnectPort(nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                        nullptr, nullptr, nullptr, nullptr));
}

TEST_F(BareWindowsTest, AdvancedRequestFails) {
    EXPECT_EQ(1U, Ping(alpc_));
    EXPECT_EQ(1U, Ping(alpc_, -10000));
}

TEST_F(BareWindowsTest, BroadcastOfAnAbsentProductCannotBeRead) {
    std::uint32_t value = 7;
    EXPECT_EQ(1U, lpc_->ReadBroadcastValue(0, &value));
    EXPECT_EQ(1U, alpc_.ReadBroadcastValue(0, &value));
}

/// The product's broadcast area, made of the system's own objects.
class WindowsBroadcastTest : public WindowsSystemTest {
  protected:
    WindowsBroadcastTest() {
        const auto area = HexBytes(
            "20 00 00 00 00 00 00 00 4B 65 6C 43 6F 6D 6D 20 02 00 00 00 00 00 00 00"
            "20 00 00 00 04 00 00 00 78 56 34 12");
        view_ = MapViewOfFile(section_, FILE_MAP_WRITE, 0, 0, 0);
        std::memcpy(view_, area.data(), area.size());
    }
    ~WindowsBroadcastTest() override {
        UnmapViewOfFile(view_);
        CloseHandle(section_);
        CloseHandle(mutex_);
    }

    /// Takes the product's mutex on a thread that ends without giving it back.
    void AbandonMutex() {
        const HANDLE thread = CreateThread(nullptr, 0, &TakeMutex, mutex_, 0, nullptr);
        EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread, INFINITE));
        CloseHandle(thread);
    }

    static DWORD WINAPI TakeMutex(void* mutex) { return WaitForSingleObject(mutex, INFINITE); }

    static constexpr std::uint32_t kClient = Kelcomm::kKelcommClientId;
    static constexpr std::uint32_t kServer = Kelcomm::kKelcommServerId;
    const HANDLE mutex_ =
        CreateMutexW(nullptr, FALSE, Wide(Kelcomm::BroadcastMutexName(kClient, kServer)));
    const HANDLE section_ =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 36,
                           Wide(Kelcomm::BroadcastSectionName(kClient, kServer)));
    void* view_;
    std::uint32_t value_ = 0;
};

TEST_F(WindowsBroadcastTest, BothClientsReadTheNamedSection) {
    EXPECT_EQ(0U, lpc_->ReadBroadcastValue(0, &value_));
    EXPECT_EQ(0x12345678U, value_);
    value_ = 0;
    EXPECT_EQ(0U, alpc_.ReadBroadcastValue(0, &value_));
    EXPECT_EQ(0x12345678U, value_);
}

TEST_F(WindowsBroadcastTest, ReadingGivesTheMutexBack) {
    EXPECT_EQ(0U, alpc_.ReadBroadcastValue(0, &value_));
    AbandonMutex();  // hangs if it is still taken
}

TEST_F(WindowsBroadcastTest, AbandonedMutexCountsAsOwned) {
    AbandonMutex();
    EXPECT_EQ(0U, lpc_->ReadBroadcastValue(0, &value_));
    EXPECT_EQ(0x12345678U, value_);
}

/// A wait pool on the system's threads, events and messages; only the exchange itself is made up.
class WindowsWaitPoolTest : public testing::Test {
  protected:
    WindowsWaitPoolTest() {
        native_.NtRequestWaitReplyPort = &WaitForTheMessage;
        dispatched = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        WNDCLASSW window{};
        window.lpfnWndProc = &OnMessage;
        window.lpszClassName = L"KyrWaitPoolTest";
        RegisterClassW(&window);
        window_ = CreateWindowW(window.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                nullptr, nullptr);
        pool_ = Kelcomm::CKelcommWaitPool::Create(native_);
    }
    ~WindowsWaitPoolTest() override {
        pool_.reset();
        DestroyWindow(window_);
        CloseHandle(dispatched);
    }

    static constexpr NtApi::NtStatus kReplied = 7;
    HWND window_;
    std::unique_ptr<Kelcomm::CKelcommWaitPool> pool_;

  private:
    static inline HANDLE dispatched;  // set once the window has got its message

    static NtApi::NtStatus KYR_NTAPI WaitForTheMessage(NtApi::Handle, void*, void*) {
        return WaitForSingleObject(dispatched, 20000) == WAIT_OBJECT_0 ? kReplied : -1;
    }
    static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
        if (message == WM_APP) {
            SetEvent(dispatched);
        }
        return DefWindowProcW(window, message, first, second);
    }

    Native::NativeFunctions native_ = Native::SystemNativeFunctions();
};

TEST_F(WindowsWaitPoolTest, MessagesOfTheCallersWindowsAreDispatchedWhileItWaits) {
    ASSERT_NE(nullptr, window_);
    ASSERT_NE(nullptr, pool_);
    ASSERT_TRUE(PostMessageW(window_, WM_APP, 0, 0));
    EXPECT_EQ(kReplied, pool_->Exchange(nullptr, nullptr, nullptr));
}

}  // namespace
}  // namespace Kyr::Test
