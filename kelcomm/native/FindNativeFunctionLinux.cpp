#include <cstring>

#include "kelcomm/native/NativeTable.h"
#include "portlayer/ClientFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

namespace {

struct Provided {
    const char* name;
    GenericFunction function;
};

/// The layer's function for a slot of the table; does not compile when the signatures differ.
template <typename Function>
Provided Provide(const char* name, Function CNativeFunctions::*, Function function) {
    return {name, reinterpret_cast<GenericFunction>(function)};
}

}  // namespace

// The port layer is the system here. Names are unique across the libraries. There are no access
// tokens, so the functions of advapi32 are left to their fallbacks.
GenericFunction FindNativeFunction(NativeLibrary, const char* name) {
    using F = CNativeFunctions;
    namespace Layer = PortLayer;
    static const Provided kProvided[] = {
        Provide("NtConnectPort", &F::NtConnectPort, &Layer::NtConnectPort),
        Provide("NtRequestPort", &F::NtRequestPort, &Layer::NtRequestPort),
        Provide("NtRequestWaitReplyPort", &F::NtRequestWaitReplyPort,
                &Layer::NtRequestWaitReplyPort),
        Provide("RtlInitUnicodeString", &F::RtlInitUnicodeString, &Layer::RtlInitUnicodeString),
        Provide("NtAlpcConnectPort", &F::NtAlpcConnectPort, &Layer::NtAlpcConnectPort),
        Provide("NtAlpcDisconnectPort", &F::NtAlpcDisconnectPort, &Layer::NtAlpcDisconnectPort),
        Provide("NtAlpcSendWaitReceivePort", &F::NtAlpcSendWaitReceivePort,
                &Layer::NtAlpcSendWaitReceivePort),
        Provide("NtAlpcCreatePortSection", &F::NtAlpcCreatePortSection,
                &Layer::NtAlpcCreatePortSection),
        Provide("NtAlpcDeletePortSection", &F::NtAlpcDeletePortSection,
                &Layer::NtAlpcDeletePortSection),
        Provide("NtAlpcCreateSectionView", &F::NtAlpcCreateSectionView,
                &Layer::NtAlpcCreateSectionView),
        Provide("NtAlpcDeleteSectionView", &F::NtAlpcDeleteSectionView,
                &Layer::NtAlpcDeleteSectionView),
        Provide("AlpcInitializeMessageAttribute", &F::AlpcInitializeMessageAttribute,
                &Layer::AlpcInitializeMessageAttribute),
        Provide("RtlInitializeSRWLock", &F::RtlInitializeSRWLock, &Layer::RtlInitializeSRWLock),
        Provide("RtlAcquireSRWLockExclusive", &F::RtlAcquireSRWLockExclusive,
                &Layer::RtlAcquireSRWLockExclusive),
        Provide("RtlAcquireSRWLockShared", &F::RtlAcquireSRWLockShared,
                &Layer::RtlAcquireSRWLockShared),
        Provide("RtlReleaseSRWLockExclusive", &F::RtlReleaseSRWLockExclusive,
                &Layer::RtlReleaseSRWLockExclusive),
        Provide("RtlReleaseSRWLockShared", &F::RtlReleaseSRWLockShared,
                &Layer::RtlReleaseSRWLockShared),
        Provide("GetCurrentProcess", &F::GetCurrentProcess, &Layer::GetCurrentProcess),
        Provide("IsWow64Process", &F::IsWow64Process, &Layer::IsWow64Process),
        Provide("CloseHandle", &F::CloseHandle, &Layer::CloseHandle),
        Provide("CreateThread", &F::CreateThread, &Layer::CreateThread),
        Provide("TerminateThread", &F::TerminateThread, &Layer::TerminateThread),
        Provide("CreateEventW", &F::CreateEventW, &Layer::CreateEventW),
        Provide("SetEvent", &F::SetEvent, &Layer::SetEvent),
        Provide("ResetEvent", &F::ResetEvent, &Layer::ResetEvent),
        Provide("WaitForSingleObject", &F::WaitForSingleObject, &Layer::WaitForSingleObject),
        Provide("WaitForMultipleObjects", &F::WaitForMultipleObjects,
                &Layer::WaitForMultipleObjects),
        Provide("GetTickCount", &F::GetTickCount, &Layer::GetTickCount),
        Provide("OpenMutexW", &F::OpenMutexW, &Layer::OpenMutexW),
        Provide("ReleaseMutex", &F::ReleaseMutex, &Layer::ReleaseMutex),
        Provide("OpenFileMappingW", &F::OpenFileMappingW, &Layer::OpenFileMappingW),
        Provide("MapViewOfFile", &F::MapViewOfFile, &Layer::MapViewOfFile),
        Provide("UnmapViewOfFile", &F::UnmapViewOfFile, &Layer::UnmapViewOfFile),
        Provide("VirtualQuery", &F::VirtualQuery, &Layer::VirtualQuery),
        Provide("MsgWaitForMultipleObjects", &F::MsgWaitForMultipleObjects,
                &Layer::MsgWaitForMultipleObjects),
        Provide("PeekMessageW", &F::PeekMessageW, &Layer::PeekMessageW),
        Provide("TranslateMessage", &F::TranslateMessage, &Layer::TranslateMessage),
        Provide("DispatchMessageW", &F::DispatchMessageW, &Layer::DispatchMessageW),
    };
    for (const Provided& provided : kProvided) {
        if (std::strcmp(provided.name, name) == 0) {
            return provided.function;
        }
    }
    return nullptr;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
