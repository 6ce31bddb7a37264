#include "tests/support/system/ScriptedWaits.h"

#include "ntapi/Status.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::uint32_t kRemoveMessage = 1;

}  // namespace

struct CScriptedWaits::Functions {
    static NtApi::Bool KYR_NTAPI CloseHandle(NtApi::Handle handle) {
        current_->calls_.Note("CloseHandle");
        if (current_->threads_.Owns(handle)) {
            current_->objects_.NoteGivenBack(current_->threads_.IsThread(handle) ? "thread"
                                                                                 : "event");
            return current_->threads_.Close(handle) ? 1 : 0;
        }
        return current_->objects_.Close(handle) ? 1 : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateThread(void*, std::size_t stackSize,
                                                NtApi::ThreadRoutine routine, void* parameter,
                                                std::uint32_t flags, std::uint32_t*) {
        current_->calls_.Require(stackSize == 0, "CreateThread with a stack of another size");
        current_->calls_.Require(flags == 0, "CreateThread of one that does not run");
        return current_->calls_.Enter("CreateThread")
                   ? current_->threads_.CreateThread(routine, parameter)
                   : nullptr;
    }
    static NtApi::Bool KYR_NTAPI TerminateThread(NtApi::Handle thread, std::uint32_t code) {
        current_->calls_.Require(code == 1, "TerminateThread that tells of no failure");
        return current_->calls_.Enter("TerminateThread") && current_->threads_.Terminate(thread)
                   ? 1
                   : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateEventW(void*, NtApi::Bool manualReset,
                                                NtApi::Bool initialState, const char16_t* name) {
        current_->calls_.Require(name == nullptr, "CreateEventW of one that others may find");
        {
            const Guard guard(current_->mutex_);
            current_->manualResets.push_back(manualReset != 0);
        }
        return current_->calls_.Enter("CreateEventW")
                   ? current_->threads_.CreateEvent(manualReset != 0, initialState != 0)
                   : nullptr;
    }
    static NtApi::Bool KYR_NTAPI SetEvent(NtApi::Handle event) {
        current_->calls_.Note("SetEvent");
        return current_->calls_.Require(event == nullptr || current_->threads_.Set(event, true),
                                        "SetEvent of one that is not open")
                   ? 1
                   : 0;
    }
    static NtApi::Bool KYR_NTAPI ResetEvent(NtApi::Handle event) {
        current_->calls_.Note("ResetEvent");
        return current_->calls_.Require(event == nullptr || current_->threads_.Set(event, false),
                                        "ResetEvent of one that is not open")
                   ? 1
                   : 0;
    }
    static std::uint32_t KYR_NTAPI WaitForSingleObject(NtApi::Handle handle,
                                                       std::uint32_t milliseconds) {
        current_->calls_.Note("WaitForSingleObject");
        return current_->threads_.Owns(handle)
                   ? current_->threads_.WaitForAll({handle}, milliseconds)
                   : current_->area_.WaitForMutex(handle, milliseconds);
    }
    static std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count,
                                                          const NtApi::Handle* handles,
                                                          NtApi::Bool waitAll,
                                                          std::uint32_t milliseconds) {
        current_->calls_.Note("WaitForMultipleObjects");
        current_->calls_.Require(waitAll != 0, "WaitForMultipleObjects for any");
        return current_->threads_.WaitForAll({handles, handles + count}, milliseconds);
    }
    static std::uint32_t KYR_NTAPI GetTickCount() {
        current_->calls_.Note("GetTickCount");
        return current_->threads_.Now();
    }

    static std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count,
                                                             const NtApi::Handle* handles,
                                                             NtApi::Bool waitAll,
                                                             std::uint32_t milliseconds,
                                                             std::uint32_t mask) {
        {
            const Guard guard(current_->mutex_);
            current_->messageWait = {count, waitAll != 0 ? 1U : 0U, milliseconds, mask};
        }
        return current_->calls_.Enter("MsgWaitForMultipleObjects")
                   ? current_->threads_.WaitForEventOrMessage(handles[0])
                   : NtApi::kWaitFailed;
    }
    static NtApi::Bool KYR_NTAPI PeekMessageW(NtApi::WindowMessage* message, NtApi::Handle window,
                                              std::uint32_t first, std::uint32_t last,
                                              std::uint32_t remove) {
        current_->calls_.Note("PeekMessageW");
        current_->calls_.Require(window == nullptr && first == 0 && last == 0,
                                 "PeekMessageW for some messages only");
        if (!current_->calls_.Require(remove == kRemoveMessage, "PeekMessageW without taking") ||
            !current_->threads_.TakeMessage()) {
            return 0;
        }
        const Guard guard(current_->mutex_);
        message->message = ++current_->taken_;
        return 1;
    }
    static NtApi::Bool KYR_NTAPI TranslateMessage(const NtApi::WindowMessage* message) {
        current_->calls_.Note("TranslateMessage");
        const Guard guard(current_->mutex_);
        ++current_->translated;
        current_->handled.push_back("translated " + std::to_string(message->message));
        return 1;
    }
    static std::intptr_t KYR_NTAPI DispatchMessageW(const NtApi::WindowMessage* message) {
        current_->calls_.Note("DispatchMessageW");
        {
            const Guard guard(current_->mutex_);
            ++current_->dispatched;
            current_->handled.push_back("dispatched " + std::to_string(message->message));
        }
        if (current_->onDispatch) {
            current_->onDispatch();
        }
        return 0;
    }
};

CScriptedWaits::CScriptedWaits(CScriptedCalls& calls, CScriptedObjects& objects,
                               CScriptedThreads& threads, CScriptedArea& area,
                               Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls), objects_(objects), threads_(threads), area_(area) {
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

}  // namespace Kyr::Test
