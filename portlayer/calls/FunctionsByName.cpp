#include "portlayer/FunctionsByName.h"

#include "portlayer/ClientFunctions.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/core/NamedFunctions.h"

namespace Kyr::PortLayer {

GenericFunction FindFunctionByName(const char* name) {
    using Detail::Provide;
    static const Detail::Named kFunctions[] = {
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
        Provide<NtApi::GetCurrentProcessFn>("GetCurrentProcess", &GetCurrentProcess),
        Provide<NtApi::IsWow64ProcessFn>("IsWow64Process", &IsWow64Process),
        Provide<NtApi::CloseHandleFn>("CloseHandle", &CloseHandle),
        Provide<NtApi::WaitForSingleObjectFn>("WaitForSingleObject", &WaitForSingleObject),
        Provide<NtApi::OpenMutexWFn>("OpenMutexW", &OpenMutexW),
        Provide<NtApi::ReleaseMutexFn>("ReleaseMutex", &ReleaseMutex),
        Provide<NtApi::OpenFileMappingWFn>("OpenFileMappingW", &OpenFileMappingW),
        Provide<NtApi::MapViewOfFileFn>("MapViewOfFile", &MapViewOfFile),
        Provide<NtApi::UnmapViewOfFileFn>("UnmapViewOfFile", &UnmapViewOfFile),
    };
    const GenericFunction function = Detail::FindIn(kFunctions, name);
    return function != nullptr ? function : Detail::FindClassicFunction(name);
}

std::string MissingFunctions() {
    return {};
}

}  // namespace Kyr::PortLayer
