// What Windows itself has: processes, threads, events, waits, locks, named mutexes and sections,
// and window messages. Only names and counters are the layer's.
#include <atomic>

#include "ntapi/Status.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/core/Handles.h"
#include "portlayer/packets/MessageHeader.h"
#include "portlayer/packets/PacketChannel.h"
#include "portlayer/windows/NativeHandles.h"
#include "portlayer/windows/ObjectNames.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer {

using namespace Detail;

namespace {

SRWLOCK* LockOf(void** lock) {
    static_assert(sizeof(SRWLOCK) == sizeof(void*), "fixed by the system");
    return reinterpret_cast<SRWLOCK*>(lock);
}

const wchar_t* NameOrNull(const std::wstring& name, const char16_t* given) {
    return given != nullptr ? name.c_str() : nullptr;
}

std::wstring GivenName(const char16_t* name) {
    return name != nullptr ? ObjectNameOf(name) : std::wstring();
}

}  // namespace

// 32-bit processes of a 64-bit system build the 64-bit structures: legacy ports are not translated.
bool Detail::LegacyPortsAreWide() {
    BOOL isWow64 = FALSE;
    return sizeof(void*) == 8 ||
           (::IsWow64Process(::GetCurrentProcess(), &isWow64) != 0 && isWow64);
}

std::uint32_t Detail::CurrentThreadId() {
    return ::GetCurrentThreadId();
}

// Handles of ports are the layer's, all others the system's.
Bool KYR_NTAPI CloseHandle(Handle handle) {
    return RemoveHandle(handle) || CloseNative(handle) ? 1 : 0;
}

NtStatus KYR_NTAPI NtClose(Handle handle) {
    return CloseHandle(handle) != 0 ? NtApi::kStatusSuccess : NtApi::kStatusInvalidHandle;
}

void KYR_NTAPI RtlInitializeSRWLock(void** lock) {
    ::InitializeSRWLock(LockOf(lock));
}

void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock) {
    ::AcquireSRWLockExclusive(LockOf(lock));
}

void KYR_NTAPI RtlAcquireSRWLockShared(void** lock) {
    ::AcquireSRWLockShared(LockOf(lock));
}

void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock) {
    ::ReleaseSRWLockExclusive(LockOf(lock));
}

void KYR_NTAPI RtlReleaseSRWLockShared(void** lock) {
    ::ReleaseSRWLockShared(LockOf(lock));
}

Handle KYR_NTAPI GetCurrentProcess() {
    return ::GetCurrentProcess();
}

Bool KYR_NTAPI IsWow64Process(Handle process, Bool* isWow64) {
    if (process != GetCurrentProcess() || isWow64 == nullptr) {
        return 0;
    }
    *isWow64 = LegacyPortsAreWide() ? 1 : 0;
    return 1;
}

Handle KYR_NTAPI CreateThread(void* security, std::size_t stackSize, ThreadRoutine routine,
                              void* parameter, std::uint32_t flags, std::uint32_t* threadId) {
    if (routine == nullptr) {
        return nullptr;
    }
    DWORD id = 0;
    const HANDLE thread =
        ::CreateThread(static_cast<SECURITY_ATTRIBUTES*>(security), stackSize,
                       reinterpret_cast<LPTHREAD_START_ROUTINE>(routine), parameter, flags, &id);
    if (thread != nullptr && threadId != nullptr) {
        *threadId = id;
    }
    return CountNative(thread, LiveCounter::kThreads);
}

Bool KYR_NTAPI TerminateThread(Handle thread, std::uint32_t) {
    return ::WaitForSingleObject(thread, 0) == WAIT_OBJECT_0 ? 1 : 0;
}

Handle KYR_NTAPI CreateEventW(void* security, Bool manualReset, Bool initialState,
                              const char16_t* name) {
    const std::wstring given = GivenName(name);
    return CountNative(::CreateEventW(static_cast<SECURITY_ATTRIBUTES*>(security), manualReset,
                                      initialState, NameOrNull(given, name)),
                       LiveCounter::kEvents);
}

Bool KYR_NTAPI SetEvent(Handle event) {
    return ::SetEvent(event);
}

Bool KYR_NTAPI ResetEvent(Handle event) {
    return ::ResetEvent(event);
}

std::uint32_t KYR_NTAPI WaitForSingleObject(Handle handle, std::uint32_t milliseconds) {
    return ::WaitForSingleObject(handle, milliseconds);
}

std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                               Bool waitAll, std::uint32_t milliseconds) {
    return ::WaitForMultipleObjects(count, handles, waitAll, milliseconds);
}

std::uint32_t KYR_NTAPI GetTickCount() {
    return ::GetTickCount();
}

Handle KYR_NTAPI CreateMutexW(void* security, Bool initialOwner, const char16_t* name) {
    const std::wstring given = GivenName(name);
    return CountNative(::CreateMutexW(static_cast<SECURITY_ATTRIBUTES*>(security), initialOwner,
                                      NameOrNull(given, name)),
                       LiveCounter::kMutexes);
}

Handle KYR_NTAPI OpenMutexW(std::uint32_t access, Bool inherit, const char16_t* name) {
    const std::wstring given = GivenName(name);
    return CountNative(::OpenMutexW(access, inherit, NameOrNull(given, name)),
                       LiveCounter::kMutexes);
}

Bool KYR_NTAPI ReleaseMutex(Handle mutex) {
    return ::ReleaseMutex(mutex);
}

Handle KYR_NTAPI CreateFileMappingW(Handle file, void* security, std::uint32_t protection,
                                    std::uint32_t sizeHigh, std::uint32_t sizeLow,
                                    const char16_t* name) {
    const std::wstring given = GivenName(name);
    return CountNative(::CreateFileMappingW(file, static_cast<SECURITY_ATTRIBUTES*>(security),
                                            protection, sizeHigh, sizeLow, NameOrNull(given, name)),
                       LiveCounter::kSections);
}

Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, Bool inherit, const char16_t* name) {
    const std::wstring given = GivenName(name);
    return CountNative(::OpenFileMappingW(access, inherit, NameOrNull(given, name)),
                       LiveCounter::kSections);
}

void* KYR_NTAPI MapViewOfFile(Handle section, std::uint32_t access, std::uint32_t offsetHigh,
                              std::uint32_t offsetLow, std::size_t size) {
    void* const view = ::MapViewOfFile(section, access, offsetHigh, offsetLow, size);
    CounterCell(LiveCounter::kMappedViews).fetch_add(view != nullptr ? 1 : 0);
    return view;
}

Bool KYR_NTAPI UnmapViewOfFile(const void* view) {
    const BOOL unmapped = ::UnmapViewOfFile(view);
    CounterCell(LiveCounter::kMappedViews).fetch_sub(unmapped != 0 ? 1 : 0);
    return unmapped;
}

std::size_t KYR_NTAPI VirtualQuery(const void* address, NtApi::MemoryBasicInformation* information,
                                   std::size_t informationSize) {
    return ::VirtualQuery(address, reinterpret_cast<MEMORY_BASIC_INFORMATION*>(information),
                          informationSize);
}

std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                                  Bool waitAll, std::uint32_t milliseconds,
                                                  std::uint32_t wakeMask) {
    return ::MsgWaitForMultipleObjects(count, handles, waitAll, milliseconds, wakeMask);
}

Bool KYR_NTAPI PeekMessageW(WindowMessage* message, Handle window, std::uint32_t filterMin,
                            std::uint32_t filterMax, std::uint32_t remove) {
    static_assert(sizeof(WindowMessage) == sizeof(MSG), "fixed by the system");
    return ::PeekMessageW(reinterpret_cast<MSG*>(message), static_cast<HWND>(window), filterMin,
                          filterMax, remove);
}

Bool KYR_NTAPI TranslateMessage(const WindowMessage* message) {
    return ::TranslateMessage(reinterpret_cast<const MSG*>(message));
}

std::intptr_t KYR_NTAPI DispatchMessageW(const WindowMessage* message) {
    return ::DispatchMessageW(reinterpret_cast<const MSG*>(message));
}

}  // namespace Kyr::PortLayer
