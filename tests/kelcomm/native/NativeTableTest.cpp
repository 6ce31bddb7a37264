#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kelcomm/native/NativeTable.h"
#include "ntapi/Status.h"

namespace Kyr::Test {

namespace {

namespace Native = Connectors::Common::Kelcomm::Native;
using Native::GenericFunction;
using Native::NativeLibrary;

std::vector<std::string> NamesIn(NativeLibrary library) {
    const Native::NativeTable table = Native::AllNativeFunctions();
    std::vector<std::string> names;
    for (std::size_t i = 0; i < table.count; ++i) {
        if (table.entries[i].library == library) {
            names.emplace_back(table.entries[i].name);
        }
    }
    return names;
}

NtApi::Bool KYR_NTAPI SomeIsWow64Process(NtApi::Handle, NtApi::Bool* isWow64) {
    *isWow64 = 7;
    return 1;
}

GenericFunction FindOnlyIsWow64Process(NativeLibrary, const char* name) {
    return std::strcmp(name, "IsWow64Process") == 0
               ? reinterpret_cast<GenericFunction>(&SomeIsWow64Process)
               : nullptr;
}

TEST(NativeTableTest, PortFunctionsComeFromNtdll) {
    EXPECT_EQ(
        std::vector<std::string>(
            {"NtConnectPort", "NtRequestPort", "NtRequestWaitReplyPort", "RtlInitUnicodeString",
             "NtAlpcConnectPort", "NtAlpcDisconnectPort", "NtAlpcSendWaitReceivePort",
             "NtAlpcCreatePortSection", "NtAlpcDeletePortSection", "NtAlpcCreateSectionView",
             "NtAlpcDeleteSectionView", "AlpcInitializeMessageAttribute", "RtlInitializeSRWLock",
             "RtlAcquireSRWLockExclusive", "RtlAcquireSRWLockShared", "RtlReleaseSRWLockExclusive",
             "RtlReleaseSRWLockShared"}),
        NamesIn(NativeLibrary::kNtdll));
}

TEST(NativeTableTest, TokenFunctionsComeFromAdvapi32) {
    EXPECT_EQ(std::vector<std::string>({"OpenProcessToken", "GetTokenInformation",
                                        "AllocateAndInitializeSid", "EqualSid", "FreeSid"}),
              NamesIn(NativeLibrary::kAdvapi32));
}

TEST(NativeTableTest, WindowMessageFunctionsComeFromUser32) {
    EXPECT_EQ(std::vector<std::string>({"MsgWaitForMultipleObjects", "PeekMessageW",
                                        "TranslateMessage", "DispatchMessageW"}),
              NamesIn(NativeLibrary::kUser32));
}

TEST(NativeTableTest, FoundFunctionTakesItsSlot) {
    const Native::CNativeFunctions table = Native::ResolveNativeFunctions(&FindOnlyIsWow64Process);
    NtApi::Bool isWow64 = 0;
    EXPECT_EQ(1, table.IsWow64Process(nullptr, &isWow64));
    EXPECT_EQ(7, isWow64);
    EXPECT_EQ(NtApi::kStatusUnsuccessful, table.NtRequestPort(nullptr, nullptr));
}

TEST(NativeTableTest, MissingPortFunctionsReportUnsuccessful) {
    constexpr auto kUnsuccessful = static_cast<NtApi::NtStatus>(0xC0000001);
    const Native::CNativeFunctions table = Native::FallbackNativeFunctions();
    EXPECT_EQ(kUnsuccessful, table.NtConnectPort(nullptr, nullptr, nullptr, nullptr, nullptr,
                                                 nullptr, nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtRequestPort(nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtRequestWaitReplyPort(nullptr, nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcConnectPort(nullptr, nullptr, nullptr, nullptr, 0, nullptr,
                                                     nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcDisconnectPort(nullptr, 0));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcSendWaitReceivePort(nullptr, 0, nullptr, nullptr, nullptr,
                                                             nullptr, nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful,
              table.NtAlpcCreatePortSection(nullptr, 0, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcDeletePortSection(nullptr, 0, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcCreateSectionView(nullptr, 0, nullptr));
    EXPECT_EQ(kUnsuccessful, table.NtAlpcDeleteSectionView(nullptr, 0, nullptr));
    EXPECT_EQ(kUnsuccessful, table.AlpcInitializeMessageAttribute(0, nullptr, 0, nullptr));
}

TEST(NativeTableTest, MissingProcessFunctionsReturnZero) {
    const Native::CNativeFunctions table = Native::FallbackNativeFunctions();
    NtApi::Bool isWow64 = 5;
    EXPECT_EQ(0, table.IsWow64Process(nullptr, &isWow64));
    EXPECT_EQ(5, isWow64);
    EXPECT_EQ(nullptr, table.CreateThread(nullptr, 0, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(nullptr, table.CreateEventW(nullptr, 0, 0, nullptr));
    EXPECT_EQ(0, table.CloseHandle(nullptr));
    EXPECT_EQ(0, table.OpenProcessToken(nullptr, 0, nullptr));
    EXPECT_EQ(nullptr, table.OpenMutexW(0, 0, u""));
}

TEST(NativeTableTest, MissingWaitsReportFailure) {
    const Native::CNativeFunctions table = Native::FallbackNativeFunctions();
    EXPECT_EQ(0xFFFFFFFFU, table.WaitForSingleObject(nullptr, 0));
    EXPECT_EQ(0xFFFFFFFFU, table.WaitForMultipleObjects(0, nullptr, 0, 0));
    EXPECT_EQ(0xFFFFFFFFU, table.MsgWaitForMultipleObjects(0, nullptr, 0, 0, 0));
}

TEST(NativeTableTest, MissingSlimLocksDoNothing) {
    const Native::CNativeFunctions table = Native::FallbackNativeFunctions();
    int guarded = 0;
    void* lock = &guarded;
    table.RtlInitializeSRWLock(&lock);
    table.RtlAcquireSRWLockExclusive(&lock);
    table.RtlReleaseSRWLockExclusive(&lock);
    table.RtlAcquireSRWLockShared(&lock);
    table.RtlReleaseSRWLockShared(&lock);
    EXPECT_EQ(&guarded, lock);
}

TEST(NativeTableTest, SystemTableIsResolvedOnce) {
    const Native::CNativeFunctions& table = Native::SystemNativeFunctions();
    EXPECT_EQ(&table, &Native::SystemNativeFunctions());
    EXPECT_NE(nullptr, table.NtConnectPort);
    EXPECT_NE(nullptr, table.FreeSid);
}

}  // namespace

}  // namespace Kyr::Test
