// The native functions of a port's client, provided by this layer where the system has none, under
// the names and signatures that the system library exports (ntapi/Functions.h).
//
// A table of native functions is filled from here. README.md says what each function promises,
// where it differs from the system's and what is missing (there is no access token here, so there
// are no token functions).
// Threads: every function may be called from any thread. No function throws.
// Handles: whatever returns one passes ownership to the caller, who ends it with CloseHandle.
#pragma once

#include "ntapi/Functions.h"

namespace Kyr::PortLayer {

using NtApi::AlpcDataViewAttr;
using NtApi::AlpcMessageAttributes;
using NtApi::AlpcPortAttributes;
using NtApi::Bool;
using NtApi::Handle;
using NtApi::NtStatus;
using NtApi::ObjectAttributes;
using NtApi::SecurityQualityOfService;
using NtApi::ThreadRoutine;
using NtApi::UnicodeString;
using NtApi::WindowMessage;

// Legacy ports. Messages have the header of the process's pointer width.
NtStatus KYR_NTAPI NtConnectPort(Handle* port, UnicodeString* name, SecurityQualityOfService* qos,
                                 void* clientView, void* serverView,
                                 std::uint32_t* maxMessageLength, void* connectionInfo,
                                 std::uint32_t* connectionInfoLength);
NtStatus KYR_NTAPI NtRequestPort(Handle port, void* request);
NtStatus KYR_NTAPI NtRequestWaitReplyPort(Handle port, void* request, void* reply);
void KYR_NTAPI RtlInitUnicodeString(UnicodeString* target, const char16_t* source);

// Advanced ports. Messages always have the 24-byte header.
NtStatus KYR_NTAPI NtAlpcConnectPort(Handle* port, UnicodeString* name,
                                     ObjectAttributes* objectAttributes,
                                     AlpcPortAttributes* portAttributes, std::uint32_t flags,
                                     void* requiredServerSid, void* connectionMessage,
                                     std::size_t* bufferLength,
                                     AlpcMessageAttributes* outAttributes,
                                     AlpcMessageAttributes* inAttributes, std::int64_t* timeout);
NtStatus KYR_NTAPI NtAlpcDisconnectPort(Handle port, std::uint32_t flags);
/// Client: synchronous requests, one-way messages, releases. Server: replies, releases, receives.
NtStatus KYR_NTAPI NtAlpcSendWaitReceivePort(Handle port, std::uint32_t flags, void* sendMessage,
                                             AlpcMessageAttributes* sendAttributes,
                                             void* receiveMessage, std::size_t* bufferLength,
                                             AlpcMessageAttributes* receiveAttributes,
                                             std::int64_t* timeout);
NtStatus KYR_NTAPI NtAlpcCreatePortSection(Handle port, std::uint32_t flags, Handle section,
                                           std::size_t size, Handle* alpcSection,
                                           std::size_t* actualSize);
NtStatus KYR_NTAPI NtAlpcDeletePortSection(Handle port, std::uint32_t flags, Handle section);
NtStatus KYR_NTAPI NtAlpcCreateSectionView(Handle port, std::uint32_t flags,
                                           AlpcDataViewAttr* view);
NtStatus KYR_NTAPI NtAlpcDeleteSectionView(Handle port, std::uint32_t flags, void* viewBase);
NtStatus KYR_NTAPI AlpcInitializeMessageAttribute(std::uint32_t attributes,
                                                  AlpcMessageAttributes* buffer,
                                                  std::size_t bufferSize,
                                                  std::size_t* requiredSize);
/// Where the body of an allocated attribute stands, or null. Looks at the allocated bits only.
void* KYR_NTAPI AlpcGetMessageAttribute(AlpcMessageAttributes* buffer, std::uint32_t attribute);

// Slim reader/writer locks.
void KYR_NTAPI RtlInitializeSRWLock(void** lock);
void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock);
void KYR_NTAPI RtlAcquireSRWLockShared(void** lock);
void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock);
void KYR_NTAPI RtlReleaseSRWLockShared(void** lock);

// Processes, threads, events, waits.
Handle KYR_NTAPI GetCurrentProcess();
/// True in a 64-bit process, whose addresses fit only the 64-bit message structures.
Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64);
Bool KYR_NTAPI CloseHandle(Handle handle);
Handle KYR_NTAPI CreateThread(void* security, std::size_t stackSize, ThreadRoutine routine,
                              void* parameter, std::uint32_t flags, std::uint32_t* threadId);
/// A thread cannot be ended from outside without breaking the process: answers 1 for a thread that
/// has already ended, 0 for a running one, which goes on undisturbed.
Bool KYR_NTAPI TerminateThread(Handle thread, std::uint32_t exitCode);
/// Only events without a name.
Handle KYR_NTAPI CreateEventW(void* security, Bool manualReset, Bool initialState,
                              const char16_t* name);
Bool KYR_NTAPI SetEvent(Handle event);
Bool KYR_NTAPI ResetEvent(Handle event);
std::uint32_t KYR_NTAPI WaitForSingleObject(Handle handle, std::uint32_t milliseconds);
/// Mutexes can only be waited for alone.
std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                               Bool waitAll, std::uint32_t milliseconds);
/// Milliseconds of a steady clock.
std::uint32_t KYR_NTAPI GetTickCount();

// Named mutexes and sections.
Handle KYR_NTAPI OpenMutexW(std::uint32_t access, Bool inherit, const char16_t* name);
Bool KYR_NTAPI ReleaseMutex(Handle mutex);
Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, Bool inherit, const char16_t* name);
void* KYR_NTAPI MapViewOfFile(Handle section, std::uint32_t access, std::uint32_t offsetHigh,
                              std::uint32_t offsetLow, std::size_t size);
Bool KYR_NTAPI UnmapViewOfFile(const void* view);
/// Only for the base of a mapped view: its size, not rounded to pages. 0 for other addresses.
std::size_t KYR_NTAPI VirtualQuery(const void* address, NtApi::MemoryBasicInformation* information,
                                   std::size_t informationSize);

// Window messages: there are none here.
std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                                  Bool waitAll, std::uint32_t milliseconds,
                                                  std::uint32_t wakeMask);
Bool KYR_NTAPI PeekMessageW(WindowMessage* message, Handle window, std::uint32_t filterMin,
                            std::uint32_t filterMax, std::uint32_t remove);
Bool KYR_NTAPI TranslateMessage(const WindowMessage* message);
std::intptr_t KYR_NTAPI DispatchMessageW(const WindowMessage* message);

}  // namespace Kyr::PortLayer
