// Everything that the Kelcomm clients see of the operating system: one table of native functions.
//
// The table is a value. Clients hold a pointer to one that outlives them: production code uses
// SystemNativeFunctions(), tests fill one with a scripted fake. A function that the system lacks is
// replaced by its fallback, which reports failure, so that no entry is ever null.
//
// Threads: a filled table is never changed and may be read from any thread.
#pragma once

#include "ntapi/Functions.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

struct NativeFunctions {
    // ntdll: legacy ports
    NtApi::NtConnectPortFn NtConnectPort;
    NtApi::NtRequestPortFn NtRequestPort;
    NtApi::NtRequestWaitReplyPortFn NtRequestWaitReplyPort;
    NtApi::RtlInitUnicodeStringFn RtlInitUnicodeString;
    // ntdll: advanced ports
    NtApi::NtAlpcConnectPortFn NtAlpcConnectPort;
    NtApi::NtAlpcDisconnectPortFn NtAlpcDisconnectPort;
    NtApi::NtAlpcSendWaitReceivePortFn NtAlpcSendWaitReceivePort;
    NtApi::NtAlpcCreatePortSectionFn NtAlpcCreatePortSection;
    NtApi::NtAlpcDeletePortSectionFn NtAlpcDeletePortSection;
    NtApi::NtAlpcCreateSectionViewFn NtAlpcCreateSectionView;
    NtApi::NtAlpcDeleteSectionViewFn NtAlpcDeleteSectionView;
    NtApi::AlpcInitializeMessageAttributeFn AlpcInitializeMessageAttribute;
    // ntdll: slim reader/writer locks
    NtApi::RtlInitializeSrwLockFn RtlInitializeSRWLock;
    NtApi::RtlSrwLockFn RtlAcquireSRWLockExclusive;
    NtApi::RtlSrwLockFn RtlAcquireSRWLockShared;
    NtApi::RtlSrwLockFn RtlReleaseSRWLockExclusive;
    NtApi::RtlSrwLockFn RtlReleaseSRWLockShared;
    // kernel32
    NtApi::GetCurrentProcessFn GetCurrentProcess;
    NtApi::IsWow64ProcessFn IsWow64Process;
    NtApi::CloseHandleFn CloseHandle;
    NtApi::CreateThreadFn CreateThread;
    NtApi::TerminateThreadFn TerminateThread;
    NtApi::CreateEventWFn CreateEventW;
    NtApi::EventFn SetEvent;
    NtApi::EventFn ResetEvent;
    NtApi::WaitForSingleObjectFn WaitForSingleObject;
    NtApi::WaitForMultipleObjectsFn WaitForMultipleObjects;
    NtApi::GetTickCountFn GetTickCount;
    NtApi::OpenMutexWFn OpenMutexW;
    NtApi::ReleaseMutexFn ReleaseMutex;
    NtApi::OpenFileMappingWFn OpenFileMappingW;
    NtApi::MapViewOfFileFn MapViewOfFile;
    NtApi::UnmapViewOfFileFn UnmapViewOfFile;
    NtApi::VirtualQueryFn VirtualQuery;
    // user32
    NtApi::MsgWaitForMultipleObjectsFn MsgWaitForMultipleObjects;
    NtApi::PeekMessageWFn PeekMessageW;
    NtApi::TranslateMessageFn TranslateMessage;
    NtApi::DispatchMessageWFn DispatchMessageW;
    // advapi32
    NtApi::OpenProcessTokenFn OpenProcessToken;
    NtApi::GetTokenInformationFn GetTokenInformation;
    NtApi::AllocateAndInitializeSidFn AllocateAndInitializeSid;
    NtApi::EqualSidFn EqualSid;
    NtApi::FreeSidFn FreeSid;
};

/// The table of this process, resolved on the first call and kept for the life of the process.
/// Never call it from a library entry point or a static initialiser.
const NativeFunctions& SystemNativeFunctions();

/// A table that holds nothing but fallbacks: what a system without any of the functions looks like.
NativeFunctions FallbackNativeFunctions();

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
