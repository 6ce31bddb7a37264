// The functions that the port contract is tested through, as a table, so that the same suite runs
// over every back end: this layer, as here, another layer, or the system's own ports.
#pragma once

#include <string>

#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"
#include "portlayer/LiveCounters.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Test {

struct PortBackend {
    const char* name = "Layer";
    /// Leaves nothing behind: called before and after each test. Empty text when all is clean.
    std::string (*liveObjects)() = [] { return PortLayer::LiveObjects(); };

    // client
    decltype(&PortLayer::NtConnectPort) NtConnectPort = PortLayer::NtConnectPort;
    decltype(&PortLayer::NtRequestPort) NtRequestPort = PortLayer::NtRequestPort;
    decltype(&PortLayer::NtRequestWaitReplyPort) NtRequestWaitReplyPort =
        PortLayer::NtRequestWaitReplyPort;
    decltype(&PortLayer::RtlInitUnicodeString) RtlInitUnicodeString =
        PortLayer::RtlInitUnicodeString;
    decltype(&PortLayer::NtAlpcConnectPort) NtAlpcConnectPort = PortLayer::NtAlpcConnectPort;
    decltype(&PortLayer::NtAlpcDisconnectPort) NtAlpcDisconnectPort =
        PortLayer::NtAlpcDisconnectPort;
    decltype(&PortLayer::NtAlpcSendWaitReceivePort) NtAlpcSendWaitReceivePort =
        PortLayer::NtAlpcSendWaitReceivePort;
    decltype(&PortLayer::NtAlpcCreatePortSection) NtAlpcCreatePortSection =
        PortLayer::NtAlpcCreatePortSection;
    decltype(&PortLayer::NtAlpcDeletePortSection) NtAlpcDeletePortSection =
        PortLayer::NtAlpcDeletePortSection;
    decltype(&PortLayer::NtAlpcCreateSectionView) NtAlpcCreateSectionView =
        PortLayer::NtAlpcCreateSectionView;
    decltype(&PortLayer::NtAlpcDeleteSectionView) NtAlpcDeleteSectionView =
        PortLayer::NtAlpcDeleteSectionView;
    decltype(&PortLayer::AlpcInitializeMessageAttribute) AlpcInitializeMessageAttribute =
        PortLayer::AlpcInitializeMessageAttribute;
    decltype(&PortLayer::AlpcGetMessageAttribute) AlpcGetMessageAttribute =
        PortLayer::AlpcGetMessageAttribute;
    // server
    decltype(&PortLayer::NtCreatePort) NtCreatePort = PortLayer::NtCreatePort;
    decltype(&PortLayer::NtListenPort) NtListenPort = PortLayer::NtListenPort;
    decltype(&PortLayer::NtReplyWaitReceivePortEx) NtReplyWaitReceivePortEx =
        PortLayer::NtReplyWaitReceivePortEx;
    decltype(&PortLayer::NtAcceptConnectPort) NtAcceptConnectPort = PortLayer::NtAcceptConnectPort;
    decltype(&PortLayer::NtCompleteConnectPort) NtCompleteConnectPort =
        PortLayer::NtCompleteConnectPort;
    decltype(&PortLayer::NtReplyPort) NtReplyPort = PortLayer::NtReplyPort;
    decltype(&PortLayer::NtReadRequestData) NtReadRequestData = PortLayer::NtReadRequestData;
    decltype(&PortLayer::NtWriteRequestData) NtWriteRequestData = PortLayer::NtWriteRequestData;
    decltype(&PortLayer::NtAlpcCreatePort) NtAlpcCreatePort = PortLayer::NtAlpcCreatePort;
    decltype(&PortLayer::NtAlpcAcceptConnectPort) NtAlpcAcceptConnectPort =
        PortLayer::NtAlpcAcceptConnectPort;
    decltype(&PortLayer::NtClose) NtClose = PortLayer::NtClose;
    // locks, threads, events, waits
    decltype(&PortLayer::RtlInitializeSRWLock) RtlInitializeSRWLock =
        PortLayer::RtlInitializeSRWLock;
    decltype(&PortLayer::RtlAcquireSRWLockExclusive) RtlAcquireSRWLockExclusive =
        PortLayer::RtlAcquireSRWLockExclusive;
    decltype(&PortLayer::RtlAcquireSRWLockShared) RtlAcquireSRWLockShared =
        PortLayer::RtlAcquireSRWLockShared;
    decltype(&PortLayer::RtlReleaseSRWLockExclusive) RtlReleaseSRWLockExclusive =
        PortLayer::RtlReleaseSRWLockExclusive;
    decltype(&PortLayer::RtlReleaseSRWLockShared) RtlReleaseSRWLockShared =
        PortLayer::RtlReleaseSRWLockShared;
    decltype(&PortLayer::CloseHandle) CloseHandle = PortLayer::CloseHandle;
    decltype(&PortLayer::CreateThread) CreateThread = PortLayer::CreateThread;
    decltype(&PortLayer::TerminateThread) TerminateThread = PortLayer::TerminateThread;
    decltype(&PortLayer::CreateEventW) CreateEventW = PortLayer::CreateEventW;
    decltype(&PortLayer::SetEvent) SetEvent = PortLayer::SetEvent;
    decltype(&PortLayer::ResetEvent) ResetEvent = PortLayer::ResetEvent;
    decltype(&PortLayer::WaitForSingleObject) WaitForSingleObject = PortLayer::WaitForSingleObject;
    decltype(&PortLayer::WaitForMultipleObjects) WaitForMultipleObjects =
        PortLayer::WaitForMultipleObjects;
    // named objects
    decltype(&PortLayer::CreateMutexW) CreateMutexW = PortLayer::CreateMutexW;
    decltype(&PortLayer::OpenMutexW) OpenMutexW = PortLayer::OpenMutexW;
    decltype(&PortLayer::ReleaseMutex) ReleaseMutex = PortLayer::ReleaseMutex;
    decltype(&PortLayer::CreateFileMappingW) CreateFileMappingW = PortLayer::CreateFileMappingW;
    decltype(&PortLayer::OpenFileMappingW) OpenFileMappingW = PortLayer::OpenFileMappingW;
    decltype(&PortLayer::MapViewOfFile) MapViewOfFile = PortLayer::MapViewOfFile;
    decltype(&PortLayer::UnmapViewOfFile) UnmapViewOfFile = PortLayer::UnmapViewOfFile;
};

/// This project's layer.
inline const PortBackend kLayerBackend;

}  // namespace Kyr::Test
