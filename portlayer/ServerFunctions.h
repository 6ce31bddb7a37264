// The native functions of a port's server, and the creating side of named mutexes and sections,
// under the system's names and signatures.
//
// A server written against these serves this layer's ports, and would serve the system's own.
// Advanced ports receive and reply with NtAlpcSendWaitReceivePort and reply with views from
// NtAlpcCreatePortSection and NtAlpcCreateSectionView (ClientFunctions.h), called with the handle
// that NtAlpcAcceptConnectPort gave.
// Threads: every function may be called from any thread; several threads may receive on one port.
// Handles: owned by the caller, ended with NtClose or CloseHandle. No function throws.
#pragma once

#include "ntapi/Functions.h"
#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

/// Creates a named legacy port. `maxConnectionInfo` and `maxMessageLength` bound what clients send.
NtStatus KYR_NTAPI NtCreatePort(Handle* port, ObjectAttributes* attributes,
                                std::uint32_t maxConnectionInfo, std::uint32_t maxMessageLength,
                                std::uint32_t maxPoolUsage);

/// Sends `reply` when it is not null, then waits for the next message of any client of the port.
/// `port` is the connection port or any accepted one. `context` (may be null) receives the context
/// that NtAcceptConnectPort was given.
/// REQUIRES: `receive` has room for the port's longest message.
NtStatus KYR_NTAPI NtReplyWaitReceivePortEx(Handle port, void** context, void* reply, void* receive,
                                            std::int64_t* timeout);

/// Accepts or refuses the received connection request. The bytes after its header go back to the
/// client as connection information. Views must be null.
NtStatus KYR_NTAPI NtAcceptConnectPort(Handle* port, void* context, void* connectionRequest,
                                       Bool accept, void* serverView, void* clientView);
/// Lets the accepted client go on.
NtStatus KYR_NTAPI NtCompleteConnectPort(Handle port);

/// Answers a received request; its ids must be those of the request.
NtStatus KYR_NTAPI NtReplyPort(Handle port, void* reply);

/// Copies from, or to, the start of a data entry of a received request that is not answered yet.
/// `transferred` may be null.
NtStatus KYR_NTAPI NtReadRequestData(Handle port, void* message, std::uint32_t entryIndex,
                                     void* buffer, std::size_t size, std::size_t* transferred);
NtStatus KYR_NTAPI NtWriteRequestData(Handle port, void* message, std::uint32_t entryIndex,
                                      void* buffer, std::size_t size, std::size_t* transferred);

/// Creates a named advanced port.
NtStatus KYR_NTAPI NtAlpcCreatePort(Handle* port, ObjectAttributes* attributes,
                                    AlpcPortAttributes* portAttributes);
/// Accepts or refuses the received connection request, which goes back to the client as the
/// connection message.
NtStatus KYR_NTAPI NtAlpcAcceptConnectPort(Handle* port, Handle connectionPort, std::uint32_t flags,
                                           ObjectAttributes* objectAttributes,
                                           AlpcPortAttributes* portAttributes, void* portContext,
                                           void* connectionRequest,
                                           AlpcMessageAttributes* attributes, Bool accept);

NtStatus KYR_NTAPI NtClose(Handle handle);

/// Creates or opens a named mutex. A null name is not supported.
Handle KYR_NTAPI CreateMutexW(void* security, Bool initialOwner, const char16_t* name);
/// Creates or opens a named section backed by memory: `file` is the invalid handle (-1).
Handle KYR_NTAPI CreateFileMappingW(Handle file, void* security, std::uint32_t protection,
                                    std::uint32_t sizeHigh, std::uint32_t sizeLow,
                                    const char16_t* name);

}  // namespace Kyr::PortLayer
