// Signatures of the native functions of a port's client, under the names that the system library
// exports.
//
// A table of these pointers is all that the Kelcomm clients see of the operating system
// (kelcomm/native). Message pointers are bytes in the layouts of PortMessage.h. `std::int64_t`
// time-outs count 100 ns units, negative values are relative, and a null pointer waits without end.
// Threads: any. Errors: NtStatus, or what a classic call says failure by, as the fallbacks in
// kelcomm/native/NativeTable.cpp do.
#pragma once

#include "ntapi/Alpc.h"
#include "ntapi/Types.h"

namespace Kyr::NtApi {

// ntdll: legacy ports
/// `connectionInfo` goes to the server and comes back as it leaves it, its length as well.
using NtConnectPortFn = NtStatus(KYR_NTAPI*)(Handle* port, UnicodeString* name,
                                             SecurityQualityOfService* qos, void* clientView,
                                             void* serverView, std::uint32_t* maxMessageLength,
                                             void* connectionInfo,
                                             std::uint32_t* connectionInfoLength);
/// Sends a message that nobody answers.
using NtRequestPortFn = NtStatus(KYR_NTAPI*)(Handle port, void* request);
/// Sends a message and waits for the reply, without a time limit. The lengths in `reply` say
/// beforehand how much may be written there.
using NtRequestWaitReplyPortFn = NtStatus(KYR_NTAPI*)(Handle port, void* request, void* reply);
using RtlInitUnicodeStringFn = void(KYR_NTAPI*)(UnicodeString* target, const char16_t* source);

// ntdll: advanced ports
using NtAlpcConnectPortFn = NtStatus(KYR_NTAPI*)(
    Handle* port, UnicodeString* name, ObjectAttributes* objectAttributes,
    AlpcPortAttributes* portAttributes, std::uint32_t flags, void* requiredServerSid,
    void* connectionMessage, std::size_t* bufferLength, AlpcMessageAttributes* outAttributes,
    AlpcMessageAttributes* inAttributes, std::int64_t* timeout);
/// Ends requests that wait on the port. The handle stays to be closed.
using NtAlpcDisconnectPortFn = NtStatus(KYR_NTAPI*)(Handle port, std::uint32_t flags);
/// Sends, receives, or sends and waits for the reply: null stands for what is not wanted, `flags`
/// say the rest. Also gives a received message back, with the flag of release.
using NtAlpcSendWaitReceivePortFn = NtStatus(KYR_NTAPI*)(
    Handle port, std::uint32_t flags, void* sendMessage, AlpcMessageAttributes* sendAttributes,
    void* receiveMessage, std::size_t* bufferLength, AlpcMessageAttributes* receiveAttributes,
    std::int64_t* timeout);
/// A section is the port's own kind of handle: no CloseHandle ends it.
using NtAlpcCreatePortSectionFn = NtStatus(KYR_NTAPI*)(Handle port, std::uint32_t flags,
                                                       Handle section, std::size_t size,
                                                       Handle* alpcSection,
                                                       std::size_t* actualSize);
using NtAlpcDeletePortSectionFn = NtStatus(KYR_NTAPI*)(Handle port, std::uint32_t flags,
                                                       Handle section);
/// Maps what `view` asks for, and fills in the rest of it.
using NtAlpcCreateSectionViewFn = NtStatus(KYR_NTAPI*)(Handle port, std::uint32_t flags,
                                                       AlpcDataViewAttr* view);
using NtAlpcDeleteSectionViewFn = NtStatus(KYR_NTAPI*)(Handle port, std::uint32_t flags,
                                                       void* viewBase);
/// Writes the head of an attribute buffer. With too small a buffer it fails, and tells the size.
using AlpcInitializeMessageAttributeFn = NtStatus(KYR_NTAPI*)(std::uint32_t attributes,
                                                              AlpcMessageAttributes* buffer,
                                                              std::size_t bufferSize,
                                                              std::size_t* requiredSize);

// ntdll: slim reader/writer locks; the lock is one pointer-sized word, zero when free
using RtlInitializeSrwLockFn = void(KYR_NTAPI*)(void** lock);
using RtlSrwLockFn = void(KYR_NTAPI*)(void** lock);

// kernel32: processes, threads, events
using GetCurrentProcessFn = Handle(KYR_NTAPI*)();
using IsWow64ProcessFn = Bool(KYR_NTAPI*)(Handle process, Bool* isWow64);
using CloseHandleFn = Bool(KYR_NTAPI*)(Handle handle);
using ThreadRoutine = std::uint32_t(KYR_NTAPI*)(void* parameter);
using CreateThreadFn = Handle(KYR_NTAPI*)(void* security, std::size_t stackSize,
                                          ThreadRoutine routine, void* parameter,
                                          std::uint32_t flags, std::uint32_t* threadId);
using TerminateThreadFn = Bool(KYR_NTAPI*)(Handle thread, std::uint32_t exitCode);
using CreateEventWFn = Handle(KYR_NTAPI*)(void* security, Bool manualReset, Bool initialState,
                                          const char16_t* name);
using EventFn = Bool(KYR_NTAPI*)(Handle event);
using WaitForSingleObjectFn = std::uint32_t(KYR_NTAPI*)(Handle handle, std::uint32_t milliseconds);
using WaitForMultipleObjectsFn = std::uint32_t(KYR_NTAPI*)(std::uint32_t count,
                                                           const Handle* handles, Bool waitAll,
                                                           std::uint32_t milliseconds);
using GetTickCountFn = std::uint32_t(KYR_NTAPI*)();  // milliseconds, wraps around

// kernel32: named mutexes and sections
using OpenMutexWFn = Handle(KYR_NTAPI*)(std::uint32_t access, Bool inherit, const char16_t* name);
using ReleaseMutexFn = Bool(KYR_NTAPI*)(Handle mutex);
using OpenFileMappingWFn = Handle(KYR_NTAPI*)(std::uint32_t access, Bool inherit,
                                              const char16_t* name);
using MapViewOfFileFn = void*(KYR_NTAPI*)(Handle section, std::uint32_t access,
                                          std::uint32_t offsetHigh, std::uint32_t offsetLow,
                                          std::size_t size);
using UnmapViewOfFileFn = Bool(KYR_NTAPI*)(const void* view);
/// What VirtualQuery tells of the pages around an address; only the region's size is used here.
struct MemoryBasicInformation {
    void* BaseAddress;
    void* AllocationBase;
    std::uint32_t AllocationProtect;
    std::size_t RegionSize;  // bytes from BaseAddress, whole pages
    std::uint32_t State;
    std::uint32_t Protect;
    std::uint32_t Type;
};
static_assert(sizeof(MemoryBasicInformation) == (sizeof(void*) == 4 ? 28 : 48),
              "fixed by the system");
/// Returns the bytes written to `information`, 0 on failure.
using VirtualQueryFn = std::size_t(KYR_NTAPI*)(const void* address,
                                               MemoryBasicInformation* information,
                                               std::size_t informationSize);

// user32: the calling thread's window messages
struct WindowMessage {
    Handle window;
    std::uint32_t message;
    std::uintptr_t wParam;
    std::intptr_t lParam;
    std::uint32_t time;
    std::int32_t x;
    std::int32_t y;
};
using MsgWaitForMultipleObjectsFn = std::uint32_t(KYR_NTAPI*)(std::uint32_t count,
                                                              const Handle* handles, Bool waitAll,
                                                              std::uint32_t milliseconds,
                                                              std::uint32_t wakeMask);
using PeekMessageWFn = Bool(KYR_NTAPI*)(WindowMessage* message, Handle window,
                                        std::uint32_t filterMin, std::uint32_t filterMax,
                                        std::uint32_t remove);
using TranslateMessageFn = Bool(KYR_NTAPI*)(const WindowMessage* message);
using DispatchMessageWFn = std::intptr_t(KYR_NTAPI*)(const WindowMessage* message);

// advapi32: who the process runs as
using OpenProcessTokenFn = Bool(KYR_NTAPI*)(Handle process, std::uint32_t access, Handle* token);
using GetTokenInformationFn = Bool(KYR_NTAPI*)(Handle token, std::uint32_t kind, void* buffer,
                                               std::uint32_t bufferSize,
                                               std::uint32_t* returnedSize);
using AllocateAndInitializeSidFn = Bool(KYR_NTAPI*)(
    const std::uint8_t* authority, std::uint8_t subAuthorityCount, std::uint32_t subAuthority0,
    std::uint32_t subAuthority1, std::uint32_t subAuthority2, std::uint32_t subAuthority3,
    std::uint32_t subAuthority4, std::uint32_t subAuthority5, std::uint32_t subAuthority6,
    std::uint32_t subAuthority7, void** sid);
using EqualSidFn = Bool(KYR_NTAPI*)(void* first, void* second);
using FreeSidFn = void*(KYR_NTAPI*)(void* sid);

}  // namespace Kyr::NtApi
