#include <cstdint>
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

TEST(NativeTableTest, ProcessAndSectionFunctionsComeFromKernel32) {
    EXPECT_EQ(
        std::vector<std::string>({"GetCurrentProcess", "IsWow64Process", "CloseHandle",
                                  "CreateThread", "TerminateThread", "CreateEventW", "SetEvent",
                                  "ResetEvent", "WaitForSingleObject", "WaitForMultipleObjects",
                                  "GetTickCount", "OpenMutexW", "ReleaseMutex", "OpenFileMappingW",
                                  "MapViewOfFile", "UnmapViewOfFile", "VirtualQuery"}),
        NamesIn(NativeLibrary::kKernel32));
}

TEST(NativeTableTest, WindowMessageFunctionsComeFromUser32) {
    EXPECT_EQ(std::vector<std::string>({"MsgWaitForMultipleObjects", "PeekMessageW",
                                        "TranslateMessage", "DispatchMessageW"}),
              NamesIn(NativeLibrary::kUser32));
}

/// Finds each function at the address of its name's text.
GenericFunction FindByName(NativeLibrary, const char* name) {
    return reinterpret_cast<GenericFunction>(reinterpret_cast<std::uintptr_t>(name));
}

/// The name under which the function in this slot was looked up.
template <typename Function>
std::string NameOf(Function function) {
    return reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(function));
}

TEST(NativeTableTest, EveryFunctionTakesTheSlotOfItsName) {
    const Native::NativeFunctions t = Native::ResolveNativeFunctions(&FindByName);
    EXPECT_EQ("NtConnectPort", NameOf(t.NtConnectPort));
    EXPECT_EQ("NtRequestPort", NameOf(t.NtRequestPort));
    EXPECT_EQ("NtRequestWaitReplyPort", NameOf(t.NtRequestWaitReplyPort));
    EXPECT_EQ("RtlInitUnicodeString", NameOf(t.RtlInitUnicodeString));
    EXPECT_EQ("NtAlpcConnectPort", NameOf(t.NtAlpcConnectPort));
    EXPECT_EQ("NtAlpcDisconnectPort", NameOf(t.NtAlpcDisconnectPort));
    EXPECT_EQ("NtAlpcSendWaitReceivePort", NameOf(t.NtAlpcSendWaitReceivePort));
    EXPECT_EQ("NtAlpcCreatePortSection", NameOf(t.NtAlpcCreatePortSection));
    EXPECT_EQ("NtAlpcDeletePortSection", NameOf(t.NtAlpcDeletePortSection));
    EXPECT_EQ("NtAlpcCreateSectionView", NameOf(t.NtAlpcCreateSectionView));
    EXPECT_EQ("NtAlpcDeleteSectionView", NameOf(t.NtAlpcDeleteSectionView));
    EXPECT_EQ("AlpcInitializeMessageAttribute", NameOf(t.AlpcInitializeMessageAttribute));
    EXPECT_EQ("RtlInitializeSRWLock", NameOf(t.RtlInitializeSRWLock));
    EXPECT_EQ("RtlAcquireSRWLockExclusive", NameOf(t.RtlAcquireSRWLockExclusive));
    EXPECT_EQ("RtlAcquireSRWLockShared", NameOf(t.RtlAcquireSRWLockShared));
    EXPECT_EQ("RtlReleaseSRWLockExclusive", NameOf(t.RtlReleaseSRWLockExclusive));
    EXPECT_EQ("RtlReleaseSRWLockShared", NameOf(t.RtlReleaseSRWLockShared));
    EXPECT_EQ("GetCurrentProcess", NameOf(t.GetCurrentProcess));
    EXPECT_EQ("IsWow64Process", NameOf(t.IsWow64Process));
    EXPECT_EQ("CloseHandle", NameOf(t.CloseHandle));
    EXPECT_EQ("CreateThread", NameOf(t.CreateThread));
    EXPECT_EQ("TerminateThread", NameOf(t.TerminateThread));
    EXPECT_EQ("CreateEventW", NameOf(t.CreateEventW));
    EXPECT_EQ("SetEvent", NameOf(t.SetEvent));
    EXPECT_EQ("ResetEvent", NameOf(t.ResetEvent));
    EXPECT_EQ("WaitForSingleObject", NameOf(t.WaitForSingleObject));
    EXPECT_EQ("WaitForMultipleObjects", NameOf(t.WaitForMultipleObjects));
    EXPECT_EQ("GetTickCount", NameOf(t.GetTickCount));
    EXPECT_EQ("OpenMutexW", NameOf(t.OpenMutexW));
    EXPECT_EQ("ReleaseMutex", NameOf(t.ReleaseMutex));
    EXPECT_EQ("OpenFileMappingW", NameOf(t.OpenFileMappingW));
    EXPECT_EQ("MapViewOfFile", NameOf(t.MapViewOfFile));
    EXPECT_EQ("UnmapViewOfFile", NameOf(t.UnmapViewOfFile));
    EXPECT_EQ("VirtualQuery", NameOf(t.VirtualQuery));
    EXPECT_EQ("MsgWaitForMultipleObjects", NameOf(t.MsgWaitForMultipleObjects));
    EXPECT_EQ("PeekMessageW", NameOf(t.PeekMessageW));
    EXPECT_EQ("TranslateMessage", NameOf(t.TranslateMessage));
    EXPECT_EQ("DispatchMessageW", NameOf(t.DispatchMessageW));
    EXPECT_EQ("OpenProcessToken", NameOf(t.OpenProcessToken));
    EXPECT_EQ("GetTokenInformation", NameOf(t.GetTokenInformation));
    EXPECT_EQ("AllocateAndInitializeSid", NameOf(t.AllocateAndInitializeSid));
    EXPECT_EQ("EqualSid", NameOf(t.EqualSid));
    EXPECT_EQ("FreeSid", NameOf(t.FreeSid));
}

TEST(NativeTableTest, FoundFunctionTakesItsSlot) {
    const Native::NativeFunctions table = Native::ResolveNativeFunctions(&FindOnlyIsWow64Process);
    NtApi::Bool isWow64 = 0;
    EXPECT_EQ(1, table.IsWow64Process(nullptr, &isWow64));
    EXPECT_EQ(7, isWow64);
    EXPECT_EQ(NtApi::kStatusUnsuccessful, table.NtRequestPort(nullptr, nullptr));
}

TEST(NativeTableTest, MissingPortFunctionsReportUnsuccessful) {
    constexpr auto kUnsuccessful = static_cast<NtApi::NtStatus>(0xC0000001);
    const Native::NativeFunctions table = Native::FallbackNativeFunctions();
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
    const Native::NativeFunctions table = Native::FallbackNativeFunctions();
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
    const Native::NativeFunctions table = Native::FallbackNativeFunctions();
    EXPECT_EQ(0xFFFFFFFFU, table.WaitForSingleObject(nullptr, 0));
    EXPECT_EQ(0xFFFFFFFFU, table.WaitForMultipleObjects(0, nullptr, 0, 0));
    EXPECT_EQ(0xFFFFFFFFU, table.MsgWaitForMultipleObjects(0, nullptr, 0, 0, 0));
}

TEST(NativeTableTest, MissingSlimLocksDoNothing) {
    const Native::NativeFunctions table = Native::FallbackNativeFunctions();
    int guarded = 0;
    void* lock = &guarded;
    table.RtlInitializeSRWLock(&lock);
    table.RtlAcquireSRWLockExclusive(&lock);
    table.RtlReleaseSRWLockExclusive(&lock);
    table.RtlAcquireSRWLockShared(&lock);
    table.RtlReleaseSRWLockShared(&lock);
    EXPECT_EQ(&guarded, lock);
}

TEST(NativeTableTest, SystemsTableHoldsWhatTheSystemHas) {
    EXPECT_NE(Native::FallbackNativeFunctions().CloseHandle,
              Native::SystemNativeFunctions().CloseHandle);
    EXPECT_NE(Native::FallbackNativeFunctions().GetCurrentProcess,
              Native::SystemNativeFunctions().GetCurrentProcess);
}

TEST(NativeTableTest, SystemTableIsResolvedOnce) {
    const Native::NativeFunctions& table = Native::SystemNativeFunctions();
    EXPECT_EQ(&table, &Native::SystemNativeFunctions());
    EXPECT_NE(nullptr, table.NtConnectPort);
    EXPECT_NE(nullptr, table.FreeSid);
}

}  // namespace

}  // namespace Kyr::Test
