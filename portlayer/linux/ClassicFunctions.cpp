#include "portlayer/ClassicFunctions.h"

#include "portlayer/core/NamedFunctions.h"

namespace Kyr::PortLayer::Detail {

GenericFunction FindClassicFunction(const char* name) {
    static const Named kFunctions[] = {
        Provide<NtApi::RtlInitializeSrwLockFn>("RtlInitializeSRWLock", &RtlInitializeSRWLock),
        Provide<NtApi::RtlSrwLockFn>("RtlAcquireSRWLockExclusive", &RtlAcquireSRWLockExclusive),
        Provide<NtApi::RtlSrwLockFn>("RtlAcquireSRWLockShared", &RtlAcquireSRWLockShared),
        Provide<NtApi::RtlSrwLockFn>("RtlReleaseSRWLockExclusive", &RtlReleaseSRWLockExclusive),
        Provide<NtApi::RtlSrwLockFn>("RtlReleaseSRWLockShared", &RtlReleaseSRWLockShared),
        Provide<NtApi::CreateThreadFn>("CreateThread", &CreateThread),
        Provide<NtApi::TerminateThreadFn>("TerminateThread", &TerminateThread),
        Provide<NtApi::CreateEventWFn>("CreateEventW", &CreateEventW),
        Provide<NtApi::EventFn>("SetEvent", &SetEvent),
        Provide<NtApi::EventFn>("ResetEvent", &ResetEvent),
        Provide<NtApi::WaitForMultipleObjectsFn>("WaitForMultipleObjects", &WaitForMultipleObjects),
        Provide<NtApi::GetTickCountFn>("GetTickCount", &GetTickCount),
        Provide<NtApi::VirtualQueryFn>("VirtualQuery", &VirtualQuery),
        Provide<NtApi::MsgWaitForMultipleObjectsFn>("MsgWaitForMultipleObjects",
                                                    &MsgWaitForMultipleObjects),
        Provide<NtApi::PeekMessageWFn>("PeekMessageW", &PeekMessageW),
        Provide<NtApi::TranslateMessageFn>("TranslateMessage", &TranslateMessage),
        Provide<NtApi::DispatchMessageWFn>("DispatchMessageW", &DispatchMessageW),
    };
    return FindIn(kFunctions, name);
}

}  // namespace Kyr::PortLayer::Detail
