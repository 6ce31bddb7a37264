#include "tests/support/ScriptedWaits.h"

#include "ntapi/Status.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::uint32_t kRemoveMessage = 1;

CScriptedWaits* current = nullptr;

}  // namespace

struct CScriptedWaits::Functions {
    static NtApi::Bool KYR_NTAPI CloseHandle(NtApi::Handle handle) {
        current->calls_.Note("CloseHandle");
        if (current->threads_.Owns(handle)) {
            current->objects_.NoteGivenBack(current->threads_.IsThread(handle) ? "thread"
                                                                               : "event");
            return current->threads_.Close(handle) ? 1 : 0;
        }
        return current->objects_.Close(handle) ? 1 : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateThread(void*, std::size_t, NtApi::ThreadRoutine routine,
                                                void* parameter, std::uint32_t flags,
                                                std::uint32_t*) {
        current->calls_.Require(flags == 0, "CreateThread of one that does not run");
        return current->calls_.Enter("CreateThread")
                   ? current->threads_.CreateThread(routine, parameter)
                   : nullptr;
    }
    static NtApi::Bool KYR_NTAPI TerminateThread(NtApi::Handle thread, std::uint32_t) {
        return current->calls_.Enter("TerminateThread") && current->threads_.Terminate(thread) ? 1
                                                                                               : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateEventW(void*, NtApi::Bool manualReset,
                                                NtApi::Bool initialState, const char16_t* name) {
        current->calls_.Require(name == nullptr, "CreateEventW of one that others may find");
        {
            const Guard guard(current->mutex_);
            current->manualResets.push_back(manualReset != 0);
        }
        return current->calls_.Enter("CreateEventW")
                   ? current->threads_.CreateEvent(manualReset != 0, initialState != 0)
                   : nullptr;
    }
    static NtApi::Bool KYR_NTAPI SetEvent(NtApi::Handle event) {
        current->calls_.Note("SetEvent");
        return current->calls_.Require(event == nullptr || current->threads_.Set(event, true),
                                       "SetEvent of one that is not open")
                   ? 1
                   : 0;
    }
    static NtApi::Bool KYR_NTAPI ResetEvent(NtApi::Handle event) {
        current->calls_.Note("ResetEvent");
        return current->calls_.Require(event == nullptr || current->threads_.Set(event, false),
                                       "ResetEvent of one that is not open")
                   ? 1
                   : 0;
    }
    static std::uint32_t KYR_NTAPI WaitForSingleObject(NtApi::Handle handle,
                                                       std::uint32_t milliseconds) {
        current->calls_.Note("WaitForSingleObject");
        return current->threads_.Owns(handle) ? current->threads_.WaitForAll({handle}, milliseconds)
                                              : current->area_.WaitForMutex(handle, milliseconds);
    }
    static std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count,
                                                          const NtApi::Handle* handles,
                                                          NtApi::Bool waitAll,
                                                          std::uint32_t milliseconds) {
        current->calls_.Note("WaitForMultipleObjects");
        current->calls_.Require(waitAll != 0, "WaitForMultipleObjects for any");
        return current->threads_.WaitForAll({handles, handles + count}, milliseconds);
    }
    static std::uint32_t KYR_NTAPI GetTickCount() {
        current->calls_.Note("GetTickCount");
        return current->threads_.Now();
    }

    static std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count,
                                                             const NtApi::Handle* handles,
                                                             NtApi::Bool waitAll,
                                                             std::uint32_t milliseconds,
                                                             std::uint32_t mask) {
        {
            const Guard guard(current->mutex_);
            current->messageWait = {count, waitAll != 0 ? 1U : 0U, milliseconds, mask};
        }
        return current->calls_.Enter("MsgWaitForMultipleObjects")
                   ? current->threads_.WaitForEventOrMessage(handles[0])
                   : NtApi::kWaitFailed;
    }
    static NtApi::Bool KYR_NTAPI PeekMessageW(NtApi::WindowMessage* message, NtApi::Handle window,
                                              std::uint32_t first, std::uint32_t last,
                                              std::uint32_t remove) {
        current->calls_.Note("PeekMessageW");
        current->calls_.Require(window == nullptr && first == 0 && last == 0,
                                "PeekMessageW for some messages only");
        if (!current->calls_.Require(remove == kRemoveMessage, "PeekMessageW without taking") ||
            !current->threads_.TakeMessage()) {
            return 0;
        }
        const Guard guard(current->mutex_);
        message->message = ++current->taken_;
        return 1;
    }
    static NtApi::Bool KYR_NTAPI TranslateMessage(const NtApi::WindowMessage* message) {
        current->calls_.Note("TranslateMessage");
        const Guard guard(current->mutex_);
        ++current->translated;
        current->handled.push_back("translated " + std::to_string(message->message));
        return 1;
    }
    static std::intptr_t KYR_NTAPI DispatchMessageW(const NtApi::WindowMessage* message) {
        current->calls_.Note("DispatchMessageW");
        {
            const Guard guard(current->mutex_);
            ++current->dispatched;
            current->handled.push_back("dispatched " + std::to_string(message->message));
        }
        if (current->onDispatch) {
            current->onDispatch();
        }
        return 0;
    }
};

CScriptedWaits::CScriptedWaits(CScriptedCalls& calls, CScriptedObjects& objects,
                               CScriptedThreads& threads, CScriptedArea& area,
                               Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls), objects_(objects), threads_(threads), area_(area) {
    current = this;
    functions.CloseHandle = &Functions::CloseHandle;
    functions.CreateThread = &Functions::CreateThread;
    functions.TerminateThread = &Functions::TerminateThread;
    functions.CreateEventW = &Functions::CreateEventW;
    functions.SetEvent = &Functions::SetEvent;
    functions.ResetEvent = &Functions::ResetEvent;
    functions.WaitForSingleObject = &Functions::WaitForSingleObject;
    functions.WaitForMultipleObjects = &Functions::WaitForMultipleObjects;
    functions.GetTickCount = &Functions::GetTickCount;
    functions.MsgWaitForMultipleObjects = &Functions::MsgWaitForMultipleObjects;
    functions.PeekMessageW = &Functions::PeekMessageW;
    functions.TranslateMessage = &Functions::TranslateMessage;
    functions.DispatchMessageW = &Functions::DispatchMessageW;
}

CScriptedWaits::~CScriptedWaits() {
    current = nullptr;
}

}  // namespace Kyr::Test
