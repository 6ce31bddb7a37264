// What a port's client calls of the system besides: locks, threads, events, waits and window
// messages.
//
// Only on Linux: Windows has all of it, and a client there takes it from Windows.
// Threads, handles, errors: as ClientFunctions.h.
#pragma once

#include "ntapi/Functions.h"
#include "portlayer/ClientFunctions.h"

namespace Kyr::PortLayer {

using NtApi::ThreadRoutine;
using NtApi::WindowMessage;

// Slim reader/writer locks.
void KYR_NTAPI RtlInitializeSRWLock(void** lock);
void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock);
void KYR_NTAPI RtlAcquireSRWLockShared(void** lock);
void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock);
void KYR_NTAPI RtlReleaseSRWLockShared(void** lock);

// Threads, events, waits.
/// The stack is always the default one. `threadId` must be null, which nobody asks for.
Handle KYR_NTAPI CreateThread(void* security, std::size_t stackSize, ThreadRoutine routine,
                              void* parameter, std::uint32_t flags, std::uint32_t* threadId);
/// A thread cannot be ended from outside without breaking the process: answers 1 for a thread that
/// has already ended, 0 for a running one, which goes on undisturbed.
Bool KYR_NTAPI TerminateThread(Handle thread, std::uint32_t exitCode);
/// Only events without a name.
Handle KYR_NTAPI CreateEventW(void* security, Bool manualReset, Bool initialState,
                              const char16_t* name);
Bool KYR_NTAPI SetEvent(Handle event);
Bool KYR_NTAPI ResetEvent(Handle event);
/// Mutexes can only be waited for alone.
std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                               Bool waitAll, std::uint32_t milliseconds);
/// Milliseconds of a steady clock.
std::uint32_t KYR_NTAPI GetTickCount();

// Views.
/// Only for the base of a mapped view: its size, not rounded to pages. 0 for other addresses.
std::size_t KYR_NTAPI VirtualQuery(const void* address, NtApi::MemoryBasicInformation* information,
                                   std::size_t informationSize);

// Window messages: there are none here.
std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count, const Handle* handles,
                                                  Bool waitAll, std::uint32_t milliseconds,
                                                  std::uint32_t wakeMask);
Bool KYR_NTAPI PeekMessageW(WindowMessage* message, Handle window, std::uint32_t filterMin,
                            std::uint32_t filterMax, std::uint32_t remove);
Bool KYR_NTAPI TranslateMessage(const WindowMessage* message);
std::intptr_t KYR_NTAPI DispatchMessageW(const WindowMessage* message);

}  // namespace Kyr::PortLayer
