// The native functions of a port's client, and of the objects with a name that it meets, under the
// names and signatures that the system library exports (ntapi/Functions.h).
//
// A table of native functions is filled from here and from ClassicFunctions.h. README.md says what
// each function promises, where it differs from the system's and what is missing (there is no
// access token here, so there are no token functions). Threads: every function may be called from
// any thread. No function throws. Handles: whatever returns one passes ownership to the caller, who
// ends it with CloseHandle.
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
using NtApi::UnicodeString;

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

// Processes, handles, waits.
Handle KYR_NTAPI GetCurrentProcess();
/// True in a 64-bit process, whose addresses fit only the 64-bit message structures.
Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64);
Bool KYR_NTAPI CloseHandle(Handle handle);
std::uint32_t KYR_NTAPI WaitForSingleObject(Handle handle, std::uint32_t milliseconds);

// Named mutexes and sections.
Handle KYR_NTAPI OpenMutexW(std::uint32_t access, Bool inherit, const char16_t* name);
Bool KYR_NTAPI ReleaseMutex(Handle mutex);
Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, Bool inherit, const char16_t* name);
void* KYR_NTAPI MapViewOfFile(Handle section, std::uint32_t access, std::uint32_t offsetHigh,
                              std::uint32_t offsetLow, std::size_t size);
Bool KYR_NTAPI UnmapViewOfFile(const void* view);

}  // namespace Kyr::PortLayer
