#include "kelcomm/native/NativeTable.h"

#include <type_traits>

#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

namespace {

// What a missing function answers: failure, in the terms of its own return type.
enum class Missing {
    kStatusUnsuccessful,  // native calls
    kZero,                // classic calls: false, no handle, nothing
    kWaitFailed,          // classic waits, whose zero would be success
};

template <Missing answer, typename Result>
Result FailureOf() {
    if constexpr (std::is_void_v<Result>) {
        return;
    } else if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else if constexpr (answer == Missing::kStatusUnsuccessful) {
        return NtApi::kStatusUnsuccessful;
    } else if constexpr (answer == Missing::kWaitFailed) {
        return NtApi::kWaitFailed;
    } else {
        return Result{};
    }
}

template <Missing answer, typename Function>
struct Fallback;

template <Missing answer, typename Result, typename... Arguments>
struct Fallback<answer, Result(KYR_NTAPI*)(Arguments...)> {
    static Result KYR_NTAPI Call(Arguments...) { return FailureOf<answer, Result>(); }
};

template <typename Slot>
struct SlotType;

template <typename Function>
struct SlotType<Function NativeFunctions::*> {
    using Type = Function;
};

template <auto slot, Missing answer>
constexpr NativeEntry Entry(NativeLibrary library, const char* name) {
    using Function = typename SlotType<decltype(slot)>::Type;
    return {library, name,
            [](NativeFunctions& table, GenericFunction function) {
                table.*slot = reinterpret_cast<Function>(function);
            },
            [](NativeFunctions& table) { table.*slot = &Fallback<answer, Function>::Call; }};
}

template <auto slot>
constexpr NativeEntry Port(const char* name) {
    return Entry<slot, Missing::kStatusUnsuccessful>(NativeLibrary::kNtdll, name);
}
template <auto slot>
constexpr NativeEntry Kernel(const char* name) {
    return Entry<slot, Missing::kZero>(NativeLibrary::kKernel32, name);
}
template <auto slot>
constexpr NativeEntry Wait(const char* name) {
    return Entry<slot, Missing::kWaitFailed>(NativeLibrary::kKernel32, name);
}
template <auto slot>
constexpr NativeEntry User(const char* name) {
    return Entry<slot, Missing::kZero>(NativeLibrary::kUser32, name);
}
template <auto slot>
constexpr NativeEntry Security(const char* name) {
    return Entry<slot, Missing::kZero>(NativeLibrary::kAdvapi32, name);
}

using F = NativeFunctions;

constexpr NativeEntry kEntries[] = {
    Port<&F::NtConnectPort>("NtConnectPort"),
    Port<&F::NtRequestPort>("NtRequestPort"),
    Port<&F::NtRequestWaitReplyPort>("NtRequestWaitReplyPort"),
    Port<&F::RtlInitUnicodeString>("RtlInitUnicodeString"),
    Port<&F::NtAlpcConnectPort>("NtAlpcConnectPort"),
    Port<&F::NtAlpcDisconnectPort>("NtAlpcDisconnectPort"),
    Port<&F::NtAlpcSendWaitReceivePort>("NtAlpcSendWaitReceivePort"),
    Port<&F::NtAlpcCreatePortSection>("NtAlpcCreatePortSection"),
    Port<&F::NtAlpcDeletePortSection>("NtAlpcDeletePortSection"),
    Port<&F::NtAlpcCreateSectionView>("NtAlpcCreateSectionView"),
    Port<&F::NtAlpcDeleteSectionView>("NtAlpcDeleteSectionView"),
    Port<&F::AlpcInitializeMessageAttribute>("AlpcInitializeMessageAttribute"),
    Port<&F::RtlInitializeSRWLock>("RtlInitializeSRWLock"),
    Port<&F::RtlAcquireSRWLockExclusive>("RtlAcquireSRWLockExclusive"),
    Port<&F::RtlAcquireSRWLockShared>("RtlAcquireSRWLockShared"),
    Port<&F::RtlReleaseSRWLockExclusive>("RtlReleaseSRWLockExclusive"),
    Port<&F::RtlReleaseSRWLockShared>("RtlReleaseSRWLockShared"),
    Kernel<&F::GetCurrentProcess>("GetCurrentProcess"),
    Kernel<&F::IsWow64Process>("IsWow64Process"),
    Kernel<&F::CloseHandle>("CloseHandle"),
    Kernel<&F::CreateThread>("CreateThread"),
    Kernel<&F::TerminateThread>("TerminateThread"),
    Kernel<&F::CreateEventW>("CreateEventW"),
    Kernel<&F::SetEvent>("SetEvent"),
    Kernel<&F::ResetEvent>("ResetEvent"),
    Wait<&F::WaitForSingleObject>("WaitForSingleObject"),
    Wait<&F::WaitForMultipleObjects>("WaitForMultipleObjects"),
    Kernel<&F::GetTickCount>("GetTickCount"),
    Kernel<&F::OpenMutexW>("OpenMutexW"),
    Kernel<&F::ReleaseMutex>("ReleaseMutex"),
    Kernel<&F::OpenFileMappingW>("OpenFileMappingW"),
    Kernel<&F::MapViewOfFile>("MapViewOfFile"),
    Kernel<&F::UnmapViewOfFile>("UnmapViewOfFile"),
    Kernel<&F::VirtualQuery>("VirtualQuery"),
    Entry<&F::MsgWaitForMultipleObjects, Missing::kWaitFailed>(NativeLibrary::kUser32,
                                                               "MsgWaitForMultipleObjects"),
    User<&F::PeekMessageW>("PeekMessageW"),
    User<&F::TranslateMessage>("TranslateMessage"),
    User<&F::DispatchMessageW>("DispatchMessageW"),
    Security<&F::OpenProcessToken>("OpenProcessToken"),
    Security<&F::GetTokenInformation>("GetTokenInformation"),
    Security<&F::AllocateAndInitializeSid>("AllocateAndInitializeSid"),
    Security<&F::EqualSid>("EqualSid"),
    Security<&F::FreeSid>("FreeSid"),
};
static_assert(sizeof(kEntries) / sizeof(kEntries[0]) == sizeof(F) / sizeof(GenericFunction),
              "every slot of the table has its entry");

}  // namespace

NativeTable AllNativeFunctions() {
    return {kEntries, sizeof(kEntries) / sizeof(kEntries[0])};
}

NativeFunctions ResolveNativeFunctions(GenericFunction (*find)(NativeLibrary, const char*)) {
    NativeFunctions table{};
    for (const NativeEntry& entry : kEntries) {
        if (const GenericFunction function = find(entry.library, entry.name)) {
            entry.store(table, function);
        } else {
            entry.storeFallback(table);
        }
    }
    return table;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
