// The functions that the port contract is tested through, as a table, so that the same suite runs
// over every back end: this layer, another layer, or the system's own ports.
#pragma once

#include <string>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Test {

struct PortBackend {
    const char* name;
    /// Leaves nothing behind: called before and after each test. Empty text when all is clean.
    std::string (*liveObjects)();

    // client
    decltype(&PortLayer::NtConnectPort) NtConnectPort;
    decltype(&PortLayer::NtRequestPort) NtRequestPort;
    decltype(&PortLayer::NtRequestWaitReplyPort) NtRequestWaitReplyPort;
    decltype(&PortLayer::RtlInitUnicodeString) RtlInitUnicodeString;
    decltype(&PortLayer::NtAlpcConnectPort) NtAlpcConnectPort;
    decltype(&PortLayer::NtAlpcDisconnectPort) NtAlpcDisconnectPort;
    decltype(&PortLayer::NtAlpcSendWaitReceivePort) NtAlpcSendWaitReceivePort;
    decltype(&PortLayer::NtAlpcCreatePortSection) NtAlpcCreatePortSection;
    decltype(&PortLayer::NtAlpcDeletePortSection) NtAlpcDeletePortSection;
    decltype(&PortLayer::NtAlpcCreateSectionView) NtAlpcCreateSectionView;
    decltype(&PortLayer::NtAlpcDeleteSectionView) NtAlpcDeleteSectionView;
    decltype(&PortLayer::AlpcInitializeMessageAttribute) AlpcInitializeMessageAttribute;
    decltype(&PortLayer::AlpcGetMessageAttribute) AlpcGetMessageAttribute;
    // server
    decltype(&PortLayer::NtCreatePort) NtCreatePort;
    decltype(&PortLayer::NtListenPort) NtListenPort;
    decltype(&PortLayer::NtReplyWaitReceivePortEx) NtReplyWaitReceivePortEx;
    decltype(&PortLayer::NtAcceptConnectPort) NtAcceptConnectPort;
    decltype(&PortLayer::NtCompleteConnectPort) NtCompleteConnectPort;
    decltype(&PortLayer::NtReplyPort) NtReplyPort;
    decltype(&PortLayer::NtReadRequestData) NtReadRequestData;
    decltype(&PortLayer::NtWriteRequestData) NtWriteRequestData;
    decltype(&PortLayer::NtAlpcCreatePort) NtAlpcCreatePort;
    decltype(&PortLayer::NtAlpcAcceptConnectPort) NtAlpcAcceptConnectPort;
    decltype(&PortLayer::NtClose) NtClose;
    // locks, threads, events, waits
    decltype(&PortLayer::RtlInitializeSRWLock) RtlInitializeSRWLock;
    decltype(&PortLayer::RtlAcquireSRWLockExclusive) RtlAcquireSRWLockExclusive;
    decltype(&PortLayer::RtlAcquireSRWLockShared) RtlAcquireSRWLockShared;
    decltype(&PortLayer::RtlReleaseSRWLockExclusive) RtlReleaseSRWLockExclusive;
    decltype(&PortLayer::RtlReleaseSRWLockShared) RtlReleaseSRWLockShared;
    decltype(&PortLayer::CloseHandle) CloseHandle;
    decltype(&PortLayer::CreateThread) CreateThread;
    decltype(&PortLayer::TerminateThread) TerminateThread;
    decltype(&PortLayer::CreateEventW) CreateEventW;
    decltype(&PortLayer::SetEvent) SetEvent;
    decltype(&PortLayer::ResetEvent) ResetEvent;
    decltype(&PortLayer::WaitForSingleObject) WaitForSingleObject;
    decltype(&PortLayer::WaitForMultipleObjects) WaitForMultipleObjects;
    // named objects
    decltype(&PortLayer::CreateMutexW) CreateMutexW;
    decltype(&PortLayer::OpenMutexW) OpenMutexW;
    decltype(&PortLayer::ReleaseMutex) ReleaseMutex;
    decltype(&PortLayer::CreateFileMappingW) CreateFileMappingW;
    decltype(&PortLayer::OpenFileMappingW) OpenFileMappingW;
    decltype(&PortLayer::MapViewOfFile) MapViewOfFile;
    decltype(&PortLayer::UnmapViewOfFile) UnmapViewOfFile;
};

/// This project's layer.
const PortBackend& LayerBackend();

}  // namespace Kyr::Test
