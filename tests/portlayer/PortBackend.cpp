#include "tests/portlayer/PortBackend.h"

#include "portlayer/LiveCounters.h"

namespace Kyr::Test {

const PortBackend& LayerBackend() {
    static const PortBackend backend = {
        "Layer",
        [] { return PortLayer::ReadLiveCounters().Text(); },
        PortLayer::NtConnectPort,
        PortLayer::NtRequestPort,
        PortLayer::NtRequestWaitReplyPort,
        PortLayer::RtlInitUnicodeString,
        PortLayer::NtAlpcConnectPort,
        PortLayer::NtAlpcDisconnectPort,
        PortLayer::NtAlpcSendWaitReceivePort,
        PortLayer::NtAlpcCreatePortSection,
        PortLayer::NtAlpcDeletePortSection,
        PortLayer::NtAlpcCreateSectionView,
        PortLayer::NtAlpcDeleteSectionView,
        PortLayer::AlpcInitializeMessageAttribute,
        PortLayer::AlpcGetMessageAttribute,
        PortLayer::NtCreatePort,
        PortLayer::NtListenPort,
        PortLayer::NtReplyWaitReceivePortEx,
        PortLayer::NtAcceptConnectPort,
        PortLayer::NtCompleteConnectPort,
        PortLayer::NtReplyPort,
        PortLayer::NtReadRequestData,
        PortLayer::NtWriteRequestData,
        PortLayer::NtAlpcCreatePort,
        PortLayer::NtAlpcAcceptConnectPort,
        PortLayer::NtClose,
        PortLayer::RtlInitializeSRWLock,
        PortLayer::RtlAcquireSRWLockExclusive,
        PortLayer::RtlAcquireSRWLockShared,
        PortLayer::RtlReleaseSRWLockExclusive,
        PortLayer::RtlReleaseSRWLockShared,
        PortLayer::CloseHandle,
        PortLayer::CreateThread,
        PortLayer::TerminateThread,
        PortLayer::CreateEventW,
        PortLayer::SetEvent,
        PortLayer::ResetEvent,
        PortLayer::WaitForSingleObject,
        PortLayer::WaitForMultipleObjects,
        PortLayer::CreateMutexW,
        PortLayer::OpenMutexW,
        PortLayer::ReleaseMutex,
        PortLayer::CreateFileMappingW,
        PortLayer::OpenFileMappingW,
        PortLayer::MapViewOfFile,
        PortLayer::UnmapViewOfFile,
    };
    return backend;
}

}  // namespace Kyr::Test
