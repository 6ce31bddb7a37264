#include "portlayer/FunctionsByName.h"

#include <cstring>

#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

namespace {

struct Named {
    const char* name;
    GenericFunction function;
};

/// Does not compile when the layer's signature is not the system's.
template <typename Function>
Named Provide(const char* name, Function function) {
    return {name, reinterpret_cast<GenericFunction>(function)};
}

}  // namespace

GenericFunction FindFunctionByName(const char* name) {
    static const Named kFunctions[] = {
        Provide<NtApi::NtConnectPortFn>("NtConnectPort", &NtConnectPort),
        Provide<NtApi::NtRequestPortFn>("NtRequestPort", &NtRequestPort),
        Provide<NtApi::NtRequestWaitReplyPortFn>("NtRequestWaitReplyPort", &NtRequestWaitReplyPort),
        Provide<NtApi::RtlInitUnicodeStringFn>("RtlInitUnicodeString", &RtlInitUnicodeString),
        Provide<NtApi::NtAlpcConnectPortFn>("NtAlpcConnectPort", &NtAlpcConnectPort),
        Provide<NtApi::NtAlpcDisconnectPortFn>("NtAlpcDisconnectPort", &NtAlpcDisconnectPort),
        Provide<NtApi::NtAlpcSendWaitReceivePortFn>("NtAlpcSendWaitReceivePort",
                                                    &NtAlpcSendWaitReceivePort),
        Provide<NtApi::NtAlpcCreatePortSectionFn>("NtAlpcCreatePortSection",
                                                  &NtAlpcCreatePortSection),
        Provide<NtApi::NtAlpcDeletePortSectionFn>("NtAlpcDeletePortSection",
                                                  &NtAlpcDeletePortSection),
        Provide<NtApi::NtAlpcCreateSectionViewFn>("NtAlpcCreateSectionView",
                                                  &NtAlpcCreateSectionView),
        Provide<NtApi::NtAlpcDeleteSectionViewFn>("NtAlpcDeleteSectionView",
                                                  &NtAlpcDeleteSectionView),
        Provide<NtApi::AlpcInitializeMessageAttributeFn>("AlpcInitializeMessageAttribute",
                                                         &AlpcInitializeMessageAttribute),
        Provide<NtApi::RtlInitializeSrwLockFn>("RtlInitializeSRWLock", &RtlInitializeSRWLock),
        Provide<NtApi::RtlSrwLockFn>("RtlAcquireSRWLockExclusive", &RtlAcquireSRWLockExclusive),
        Provide<NtApi::RtlSrwLockFn>("RtlAcquireSRWLockShared", &RtlAcquireSRWLockShared),
        Provide<NtApi::RtlSrwLockFn>("RtlReleaseSRWLockExclusive", &RtlReleaseSRWLockExclusive),
        Provide<NtApi::RtlSrwLockFn>("RtlReleaseSRWLockShared", &RtlReleaseSRWLockShared),
        Provide<NtApi::GetCurrentProcessFn>("GetCurrentProcess", &GetCurrentProcess),
        Provide<NtApi::IsWow64ProcessFn>("IsWow64Process", &IsWow64Process),
        Provide<NtApi::CloseHandleFn>("CloseHandle", &CloseHandle),
        Provide<NtApi::CreateThreadFn>("CreateThread", &CreateThread),
        Provide<NtApi::TerminateThreadFn>("TerminateThread", &TerminateThread),
        Provide<NtApi::CreateEventWFn>("CreateEventW", &CreateEventW),
        Provide<NtApi::EventFn>("SetEvent", &SetEvent),
        Provide<NtApi::EventFn>("ResetEvent", &ResetEvent),
        Provide<NtApi::WaitForSingleObjectFn>("WaitForSingleObject", &WaitForSingleObject),
        Provide<NtApi::WaitForMultipleObjectsFn>("WaitForMultipleObjects", &WaitForMultipleObjects),
        Provide<NtApi::GetTickCountFn>("GetTickCount", &GetTickCount),
        Provide<NtApi::OpenMutexWFn>("OpenMutexW", &OpenMutexW),
        Provide<NtApi::ReleaseMutexFn>("ReleaseMutex", &ReleaseMutex),
        Provide<NtApi::OpenFileMappingWFn>("OpenFileMappingW", &OpenFileMappingW),
        Provide<NtApi::MapViewOfFileFn>("MapViewOfFile", &MapViewOfFile),
        Provide<NtApi::UnmapViewOfFileFn>("UnmapViewOfFile", &UnmapViewOfFile),
        Provide<NtApi::VirtualQueryFn>("VirtualQuery", &VirtualQuery),
        Provide<NtApi::MsgWaitForMultipleObjectsFn>("MsgWaitForMultipleObjects",
                                                    &MsgWaitForMultipleObjects),
        Provide<NtApi::PeekMessageWFn>("PeekMessageW", &PeekMessageW),
        Provide<NtApi::TranslateMessageFn>("TranslateMessage", &TranslateMessage),
        Provide<NtApi::DispatchMessageWFn>("DispatchMessageW", &DispatchMessageW),
    };
    for (const Named& named : kFunctions) {
        if (std::strcmp(named.name, name) == 0) {
            return named.function;
        }
    }
    return nullptr;
}

}  // namespace Kyr::PortLayer
