#include "tests/support/ScriptedNative.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>
#include <thread>

#include "base/LittleEndian.h"
#include "kelcomm/native/NativeTable.h"
#include "ntapi/PortMessage.h"

namespace Kyr::Test {

namespace Native = Connectors::Common::Kelcomm::Native;
using Guard = std::lock_guard<std::recursive_mutex>;

namespace {

CScriptedNative* current = nullptr;

std::uint8_t userSid[12];
std::uint8_t localSystemSid[12];

/// The message as its header says; a message that was received says what it likes, but has no more
/// than `room` bytes.
Bytes MessageBytes(const void* message, std::size_t room = NtApi::kAlpcMaxMessage) {
    const auto* bytes = static_cast<const std::uint8_t*>(message);
    const std::size_t length =
        Base::LoadLittleEndian<std::uint16_t>(bytes + NtApi::kTotalLengthOffset);
    return Bytes(bytes, bytes + std::min(length, room));
}

NtApi::AlpcDataViewAttr& ViewOf(NtApi::AlpcMessageAttributes* attributes) {
    return *reinterpret_cast<NtApi::AlpcDataViewAttr*>(attributes + 1);
}

bool HasView(const NtApi::AlpcMessageAttributes* attributes) {
    return attributes != nullptr &&
           (attributes->ValidAttributes & NtApi::kAlpcMessageViewAttribute) != 0;
}

std::u16string NameOf(const NtApi::UnicodeString& name) {
    return std::u16string(name.Buffer, name.Length / sizeof(char16_t));
}

}  // namespace

bool CScriptedNative::Enter(const char* function, NtApi::NtStatus* status) {
    const Guard guard(mutex_);
    ++calls_[function];
    const auto found = failures_.find(function);
    if (found == failures_.end()) {
        return true;
    }
    Failure& failure = found->second;
    if (failure.after > 0) {
        --failure.after;
        return true;
    }
    if (failure.times == 0) {
        return true;
    }
    if (failure.times != kAlways) {
        --failure.times;
    }
    if (status != nullptr) {
        *status = failure.status;
    }
    return false;
}

NtApi::Handle CScriptedNative::Open(const char* kind) {
    const Guard guard(mutex_);
    const auto handle = reinterpret_cast<NtApi::Handle>(nextHandle_);
    nextHandle_ += 4;
    live_[handle] = kind;
    return handle;
}

bool CScriptedNative::CloseLive(NtApi::Handle handle) {
    const Guard guard(mutex_);
    if (live_.erase(handle) == 0) {
        ++badCloses;
        return false;
    }
    return true;
}

void CScriptedNative::CheckLive(NtApi::Handle handle) {
    const Guard guard(mutex_);
    badCloses += live_.count(handle) == 0 ? 1 : 0;
}

CScriptedNative::Answer CScriptedNative::TakeAnswer() {
    const Guard guard(mutex_);
    if (answers_.empty()) {
        return defaultAnswer;
    }
    Answer answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

struct CScriptedNative::Calls {
    // ---- legacy ports ----
    static NtApi::NtStatus KYR_NTAPI NtConnectPort(NtApi::Handle* port, NtApi::UnicodeString* name,
                                                   NtApi::SecurityQualityOfService* qos,
                                                   void* clientView, void* serverView,
                                                   std::uint32_t* maxLength, void* information,
                                                   std::uint32_t* informationLength) {
        const Guard guard(current->mutex_);
        Connection connection{};
        connection.name = NameOf(*name);
        const auto* bytes = static_cast<const std::uint8_t*>(information);
        connection.message.assign(bytes, bytes + *informationLength);
        connection.qos = *qos;
        connection.hasOptional =
            clientView != nullptr || serverView != nullptr || maxLength != nullptr;
        current->connections.push_back(connection);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (current->Enter("NtConnectPort", &status) || current->leaveHandleOnFailedConnect) {
            *port = current->Open("port");
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtRequestPort(NtApi::Handle port, void* request) {
        Sent sent{};
        sent.port = port;
        sent.message = MessageBytes(request);
        {
            const Guard guard(current->mutex_);
            current->oneWays.push_back(sent);
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current->Enter("NtRequestPort", &status);
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtRequestWaitReplyPort(NtApi::Handle port, void* request,
                                                            void* reply) {
        Sent sent{};
        sent.port = port;
        sent.message = MessageBytes(request);
        const auto* bytes = static_cast<const std::uint8_t*>(reply);
        const std::size_t room =
            Base::LoadLittleEndian<std::uint16_t>(bytes + NtApi::kTotalLengthOffset);
        const std::size_t header =
            room - Base::LoadLittleEndian<std::uint16_t>(bytes + NtApi::kDataLengthOffset);
        sent.announced.assign(bytes, bytes + header + 8);
        {
            const Guard guard(current->mutex_);
            current->requests.push_back(sent);
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current->Enter("NtRequestWaitReplyPort", &status)) {
            return status;
        }
        const Answer answer = current->TakeAnswer();
        if (answer.action) {
            answer.action(sent);
        }
        if (!answer.reply.empty()) {
            std::memcpy(reply, answer.reply.data(), std::min(answer.reply.size(), room));
        }
        return answer.status;
    }

    static void KYR_NTAPI RtlInitUnicodeString(NtApi::UnicodeString* target,
                                               const char16_t* source) {
        const std::size_t length = std::char_traits<char16_t>::length(source);
        target->Length = static_cast<std::uint16_t>(length * sizeof(char16_t));
        target->MaximumLength = static_cast<std::uint16_t>((length + 1) * sizeof(char16_t));
        target->Buffer = const_cast<char16_t*>(source);
    }

    // ---- advanced ports ----
    static NtApi::NtStatus KYR_NTAPI NtAlpcConnectPort(
        NtApi::Handle* port, NtApi::UnicodeString* name, NtApi::ObjectAttributes* objectAttributes,
        NtApi::AlpcPortAttributes* portAttributes, std::uint32_t flags, void* requiredServerSid,
        void* connectionMessage, std::size_t* bufferLength, NtApi::AlpcMessageAttributes* out,
        NtApi::AlpcMessageAttributes* in, std::int64_t* timeout) {
        const Guard guard(current->mutex_);
        Connection connection{};
        connection.name = NameOf(*name);
        const auto* bytes = static_cast<const std::uint8_t*>(connectionMessage);
        connection.message.assign(bytes, bytes + *bufferLength);
        connection.qos = portAttributes->SecurityQos;
        connection.attributes = *portAttributes;
        connection.flags = flags;
        connection.hasOptional = objectAttributes != nullptr || requiredServerSid != nullptr ||
                                 out != nullptr || in != nullptr || timeout != nullptr;
        current->connections.push_back(connection);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (current->Enter("NtAlpcConnectPort", &status) || current->leaveHandleOnFailedConnect) {
            *port = current->Open("alpc port");
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDisconnectPort(NtApi::Handle port, std::uint32_t flags) {
        const Guard guard(current->mutex_);
        assert(flags == 0);
        static_cast<void>(flags);
        current->CheckLive(port);
        current->disconnected.push_back(port);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current->Enter("NtAlpcDisconnectPort", &status);
        return status;
    }

    static void FillSent(Sent& sent, NtApi::AlpcMessageAttributes* attributes) {
        if (HasView(attributes)) {
            const NtApi::AlpcDataViewAttr& view = ViewOf(attributes);
            sent.hasView = true;
            sent.viewFlags = view.Flags;
            const auto* base = static_cast<const std::uint8_t*>(view.ViewBase);
            sent.view.assign(base, base + view.ViewSize);
        }
    }

    static NtApi::NtStatus Release(Sent& sent, void* message,
                                   NtApi::AlpcMessageAttributes* attributes) {
        const Guard guard(current->mutex_);
        sent.message = MessageBytes(message, current->receiveRoom_);
        if (HasView(attributes)) {
            const NtApi::AlpcDataViewAttr& view = ViewOf(attributes);
            sent.hasView = true;
            sent.releasedViewFlags = view.Flags;
            if ((view.Flags & NtApi::kAlpcViewUnmapExisting) != 0 &&
                current->views_.erase(view.ViewBase) != 0) {
                current->live_.erase(view.ViewBase);
            }
        }
        current->releases.push_back(sent);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current->Enter("Release", &status);
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcSendWaitReceivePort(
        NtApi::Handle port, std::uint32_t flags, void* message,
        NtApi::AlpcMessageAttributes* sendAttributes, void* receiveMessage,
        std::size_t* bufferLength, NtApi::AlpcMessageAttributes* receiveAttributes,
        std::int64_t* timeout) {
        Sent sent{};
        sent.port = port;
        sent.flags = flags;
        sent.hasReceiveBuffer = receiveMessage != nullptr || receiveAttributes != nullptr;
        sent.hasBufferLength = bufferLength != nullptr;
        sent.bufferLength = bufferLength == nullptr ? 0 : *bufferLength;
        sent.hasTimeout = timeout != nullptr;
        sent.timeout = timeout == nullptr ? 0 : *timeout;
        const auto type = Base::LoadLittleEndian<std::uint16_t>(
            static_cast<std::uint8_t*>(message) + NtApi::kTypeOffset);
        if (type != 0) {
            return Release(sent, message, sendAttributes);
        }
        sent.message = MessageBytes(message);
        FillSent(sent, sendAttributes);
        {
            const Guard guard(current->mutex_);
            (receiveMessage != nullptr ? current->requests : current->oneWays).push_back(sent);
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current->Enter("NtAlpcSendWaitReceivePort", &status)) {
            return status;
        }
        const Answer answer = current->TakeAnswer();
        if (answer.action) {
            answer.action(sent);
        }
        if (receiveMessage != nullptr && !answer.reply.empty()) {
            current->receiveRoom_ = *bufferLength;
            const std::size_t length = std::min(answer.reply.size(), *bufferLength);
            std::memcpy(receiveMessage, answer.reply.data(), length);
            *bufferLength = length;
        }
        if (receiveAttributes != nullptr && answer.hasView) {
            current->GiveView(answer, receiveAttributes);
        }
        return answer.status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcCreatePortSection(NtApi::Handle, std::uint32_t flags,
                                                             NtApi::Handle section,
                                                             std::size_t size,
                                                             NtApi::Handle* alpcSection,
                                                             std::size_t* actualSize) {
        const Guard guard(current->mutex_);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (flags != NtApi::kAlpcPortSectionSecure || section != nullptr || size == 0) {
            return NtApi::kStatusInvalidParameter;
        }
        if (current->Enter("NtAlpcCreatePortSection", &status)) {
            current->sectionSizes.push_back(size);
            *alpcSection = current->Open("section");
            *actualSize = (size + 4095) / 4096 * 4096;
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDeletePortSection(NtApi::Handle, std::uint32_t,
                                                             NtApi::Handle section) {
        current->Enter("NtAlpcDeletePortSection");
        return current->CloseLive(section) ? NtApi::kStatusSuccess : NtApi::kStatusInvalidHandle;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcCreateSectionView(NtApi::Handle, std::uint32_t flags,
                                                             NtApi::AlpcDataViewAttr* view) {
        const Guard guard(current->mutex_);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (flags != 0 || view->Flags != 0 || view->ViewBase != nullptr ||
            current->live_.count(view->SectionHandle) == 0) {
            return NtApi::kStatusInvalidParameter;
        }
        if (current->Enter("NtAlpcCreateSectionView", &status)) {
            view->ViewBase = current->MakeView(Bytes(view->ViewSize));
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDeleteSectionView(NtApi::Handle, std::uint32_t,
                                                             void* base) {
        const Guard guard(current->mutex_);
        current->Enter("NtAlpcDeleteSectionView");
        current->views_.erase(base);
        return current->CloseLive(base) ? NtApi::kStatusSuccess : NtApi::kStatusInvalidParameter;
    }

    static NtApi::NtStatus KYR_NTAPI
    AlpcInitializeMessageAttribute(std::uint32_t attributes, NtApi::AlpcMessageAttributes* buffer,
                                   std::size_t size, std::size_t* required) {
        const Guard guard(current->mutex_);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current->Enter("AlpcInitializeMessageAttribute", &status)) {
            return status;
        }
        *required = current->viewAttributeSize;
        if (buffer == nullptr || size < *required) {
            return NtApi::kStatusBufferTooSmall;
        }
        buffer->AllocatedAttributes = attributes;
        buffer->ValidAttributes = 0;
        return NtApi::kStatusSuccess;
    }

    // ---- slim locks: the word counts shared holders, its top bit means exclusive ----
    static constexpr std::uintptr_t kExclusive = std::uintptr_t{1} << (8 * sizeof(void*) - 1);
    static std::atomic<std::uintptr_t>& Word(void** lock) {
        static_assert(sizeof(std::atomic<std::uintptr_t>) == sizeof(void*));
        return *reinterpret_cast<std::atomic<std::uintptr_t>*>(lock);
    }
    static void KYR_NTAPI RtlInitializeSRWLock(void** lock) { Word(lock) = 0; }
    static void KYR_NTAPI RtlAcquireSRWLockExclusive(void** lock) {
        for (;;) {
            std::uintptr_t expected = 0;
            if (Word(lock).compare_exchange_strong(expected, kExclusive)) {
                break;
            }
            std::this_thread::yield();
        }
        current->Enter("RtlAcquireSRWLockExclusive");
        current->CountLock(lock, true);
    }
    static void KYR_NTAPI RtlAcquireSRWLockShared(void** lock) {
        for (;;) {
            std::uintptr_t expected = Word(lock);
            if ((expected & kExclusive) == 0 &&
                Word(lock).compare_exchange_strong(expected, expected + 1)) {
                break;
            }
            std::this_thread::yield();
        }
        current->Enter("RtlAcquireSRWLockShared");
        current->CountLock(lock, true);
    }
    static void KYR_NTAPI RtlReleaseSRWLockExclusive(void** lock) {
        current->CountLock(lock, false);
        Word(lock) = 0;
    }
    static void KYR_NTAPI RtlReleaseSRWLockShared(void** lock) {
        current->CountLock(lock, false);
        --Word(lock);
    }

    // ---- kernel32 ----
    static NtApi::Handle KYR_NTAPI GetCurrentProcess() {
        return reinterpret_cast<NtApi::Handle>(std::intptr_t{-1});
    }
    static NtApi::Bool KYR_NTAPI IsWow64Process(NtApi::Handle process, NtApi::Bool* isWow64) {
        if (process != GetCurrentProcess() || !current->Enter("IsWow64Process")) {
            return 0;
        }
        *isWow64 = current->isWow64 ? 1 : 0;
        return 1;
    }
    static NtApi::Bool KYR_NTAPI CloseHandle(NtApi::Handle handle) {
        current->Enter("CloseHandle");
        if (current->threads.Owns(handle)) {
            return current->threads.Close(handle) ? 1 : 0;
        }
        return current->CloseLive(handle) ? 1 : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateThread(void*, std::size_t, NtApi::ThreadRoutine routine,
                                                void* parameter, std::uint32_t, std::uint32_t*) {
        return current->Enter("CreateThread") ? current->threads.CreateThread(routine, parameter)
                                              : nullptr;
    }
    static NtApi::Bool KYR_NTAPI TerminateThread(NtApi::Handle thread, std::uint32_t) {
        return current->Enter("TerminateThread") && current->threads.Terminate(thread) ? 1 : 0;
    }
    static NtApi::Handle KYR_NTAPI CreateEventW(void*, NtApi::Bool manualReset,
                                                NtApi::Bool initialState, const char16_t*) {
        return current->Enter("CreateEventW")
                   ? current->threads.CreateEvent(manualReset != 0, initialState != 0)
                   : nullptr;
    }
    static NtApi::Bool KYR_NTAPI SetEvent(NtApi::Handle event) {
        return current->threads.Set(event, true) ? 1 : 0;
    }
    static NtApi::Bool KYR_NTAPI ResetEvent(NtApi::Handle event) {
        return current->threads.Set(event, false) ? 1 : 0;
    }
    static std::uint32_t KYR_NTAPI WaitForSingleObject(NtApi::Handle handle,
                                                       std::uint32_t milliseconds) {
        if (current->threads.Owns(handle)) {
            return current->threads.WaitForAll({handle}, milliseconds);
        }
        if (const std::function<void()> action = current->onMutexWait) {
            action();
        }
        const Guard guard(current->mutex_);
        current->mutexTimeouts.push_back(milliseconds);
        return current->mutexWait;
    }
    static std::uint32_t KYR_NTAPI WaitForMultipleObjects(std::uint32_t count,
                                                          const NtApi::Handle* handles, NtApi::Bool,
                                                          std::uint32_t milliseconds) {
        return current->threads.WaitForAll({handles, handles + count}, milliseconds);
    }
    static std::uint32_t KYR_NTAPI GetTickCount() { return current->threads.Now(); }

    // ---- broadcast area ----
    static NtApi::Handle OpenNamed(const char* function, const char* kind, std::uint32_t access,
                                   NtApi::Bool inherit, const char16_t* name) {
        assert(inherit == 0);
        static_cast<void>(inherit);
        const Guard guard(current->mutex_);
        current->openedNames.push_back(name);
        current->openedAccess.push_back(access);
        return current->Enter(function) ? current->Open(kind) : nullptr;
    }
    static NtApi::Handle KYR_NTAPI OpenMutexW(std::uint32_t access, NtApi::Bool inherit,
                                              const char16_t* name) {
        return OpenNamed("OpenMutexW", "mutex", access, inherit, name);
    }
    static NtApi::Bool KYR_NTAPI ReleaseMutex(NtApi::Handle mutex) {
        const Guard guard(current->mutex_);
        current->CheckLive(mutex);
        ++current->releasedMutexes;
        return 1;
    }
    static NtApi::Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, NtApi::Bool inherit,
                                                    const char16_t* name) {
        return OpenNamed("OpenFileMappingW", "mapping", access, inherit, name);
    }
    static void* KYR_NTAPI MapViewOfFile(NtApi::Handle, std::uint32_t access,
                                         std::uint32_t offsetHigh, std::uint32_t offsetLow,
                                         std::size_t size) {
        const Guard guard(current->mutex_);
        if (access != 4 || offsetHigh != 0 || offsetLow != 0 || size != 0 ||
            !current->Enter("MapViewOfFile")) {
            return nullptr;
        }
        current->live_[current->area.data()] = "mapped area";
        return current->area.data();
    }
    static NtApi::Bool KYR_NTAPI UnmapViewOfFile(const void* view) {
        return current->CloseLive(const_cast<void*>(view)) ? 1 : 0;
    }
    static std::size_t KYR_NTAPI VirtualQuery(const void*, NtApi::MemoryBasicInformation* pages,
                                              std::size_t size) {
        const Guard guard(current->mutex_);
        if (size < sizeof(*pages) || !current->Enter("VirtualQuery")) {
            return 0;
        }
        pages->RegionSize = current->area.size();
        return sizeof(*pages);
    }

    // ---- window messages ----
    static std::uint32_t KYR_NTAPI MsgWaitForMultipleObjects(std::uint32_t count,
                                                             const NtApi::Handle* handles,
                                                             NtApi::Bool waitAll,
                                                             std::uint32_t milliseconds,
                                                             std::uint32_t mask) {
        {
            const Guard guard(current->mutex_);
            current->messageWait = {count, waitAll != 0 ? 1U : 0U, milliseconds, mask};
        }
        return current->Enter("MsgWaitForMultipleObjects")
                   ? current->threads.WaitForEventOrMessage(handles[0])
                   : NtApi::kWaitFailed;
    }
    static NtApi::Bool KYR_NTAPI PeekMessageW(NtApi::WindowMessage*, NtApi::Handle, std::uint32_t,
                                              std::uint32_t, std::uint32_t remove) {
        return remove == 1 && current->threads.TakeMessage() ? 1 : 0;
    }
    static NtApi::Bool KYR_NTAPI TranslateMessage(const NtApi::WindowMessage*) {
        const Guard guard(current->mutex_);
        ++current->translated;
        return 1;
    }
    static std::intptr_t KYR_NTAPI DispatchMessageW(const NtApi::WindowMessage*) {
        {
            const Guard guard(current->mutex_);
            ++current->dispatched;
        }
        if (current->onDispatch) {
            current->onDispatch();
        }
        return 0;
    }

    // ---- the process token ----
    static NtApi::Bool KYR_NTAPI OpenProcessToken(NtApi::Handle, std::uint32_t access,
                                                  NtApi::Handle* token) {
        const Guard guard(current->mutex_);
        current->tokenAccess = access;
        if (!current->Enter("OpenProcessToken")) {
            return 0;
        }
        *token = current->Open("token");
        return 1;
    }
    static NtApi::Bool KYR_NTAPI GetTokenInformation(NtApi::Handle, std::uint32_t kind,
                                                     void* buffer, std::uint32_t size,
                                                     std::uint32_t* returned) {
        const Guard guard(current->mutex_);
        current->tokenBufferSize = size;
        if (kind != 1 || !current->Enter("GetTokenInformation")) {
            return 0;
        }
        void* const user = userSid;
        std::memcpy(buffer, &user, sizeof(user));
        *returned = sizeof(user);
        return 1;
    }
    static NtApi::Bool KYR_NTAPI AllocateAndInitializeSid(const std::uint8_t* authority,
                                                          std::uint8_t count, std::uint32_t first,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, std::uint32_t,
                                                          std::uint32_t, void** sid) {
        const Guard guard(current->mutex_);
        current->sidParts.assign({authority[5], count, first});
        if (!current->Enter("AllocateAndInitializeSid")) {
            return 0;
        }
        current->live_[localSystemSid] = "sid";
        *sid = localSystemSid;
        return 1;
    }
    static NtApi::Bool KYR_NTAPI EqualSid(void* first, void* second) {
        return current->isLocalSystem && first == userSid && second == localSystemSid ? 1 : 0;
    }
    static void* KYR_NTAPI FreeSid(void* sid) {
        current->CloseLive(sid);
        return nullptr;
    }
};

void CScriptedNative::GiveView(const Answer& answer, NtApi::AlpcMessageAttributes* attributes) {
    const Guard guard(mutex_);
    NtApi::AlpcDataViewAttr& view = ViewOf(attributes);
    view.Flags = answer.viewFlags;
    view.SectionHandle = nullptr;
    view.ViewBase = MakeView(answer.view);
    view.ViewSize = answer.viewSize == 0 ? answer.view.size() : answer.viewSize;
    attributes->ValidAttributes |= NtApi::kAlpcMessageViewAttribute;
}

void* CScriptedNative::MakeView(Bytes bytes) {
    bytes.reserve(1);  // a view has an address even when it is empty
    void* const base = bytes.data();
    views_[base] = std::move(bytes);
    live_[base] = "view";
    return base;
}

void CScriptedNative::CountLock(void* lock, bool acquired) {
    const Guard guard(mutex_);
    lockDepth_[lock] += acquired ? 1 : -1;
}

CScriptedNative::CScriptedNative()
    : viewAttributeSize(sizeof(NtApi::AlpcMessageAttributes) + sizeof(NtApi::AlpcDataViewAttr)) {
    assert(current == nullptr);
    current = this;
    defaultAnswer.status = NtApi::kStatusPortDisconnected;
    functions_.NtConnectPort = &Calls::NtConnectPort;
    functions_.NtRequestPort = &Calls::NtRequestPort;
    functions_.NtRequestWaitReplyPort = &Calls::NtRequestWaitReplyPort;
    functions_.RtlInitUnicodeString = &Calls::RtlInitUnicodeString;
    functions_.NtAlpcConnectPort = &Calls::NtAlpcConnectPort;
    functions_.NtAlpcDisconnectPort = &Calls::NtAlpcDisconnectPort;
    functions_.NtAlpcSendWaitReceivePort = &Calls::NtAlpcSendWaitReceivePort;
    functions_.NtAlpcCreatePortSection = &Calls::NtAlpcCreatePortSection;
    functions_.NtAlpcDeletePortSection = &Calls::NtAlpcDeletePortSection;
    functions_.NtAlpcCreateSectionView = &Calls::NtAlpcCreateSectionView;
    functions_.NtAlpcDeleteSectionView = &Calls::NtAlpcDeleteSectionView;
    functions_.AlpcInitializeMessageAttribute = &Calls::AlpcInitializeMessageAttribute;
    functions_.RtlInitializeSRWLock = &Calls::RtlInitializeSRWLock;
    functions_.RtlAcquireSRWLockExclusive = &Calls::RtlAcquireSRWLockExclusive;
    functions_.RtlAcquireSRWLockShared = &Calls::RtlAcquireSRWLockShared;
    functions_.RtlReleaseSRWLockExclusive = &Calls::RtlReleaseSRWLockExclusive;
    functions_.RtlReleaseSRWLockShared = &Calls::RtlReleaseSRWLockShared;
    functions_.GetCurrentProcess = &Calls::GetCurrentProcess;
    functions_.IsWow64Process = &Calls::IsWow64Process;
    functions_.CloseHandle = &Calls::CloseHandle;
    functions_.CreateThread = &Calls::CreateThread;
    functions_.TerminateThread = &Calls::TerminateThread;
    functions_.CreateEventW = &Calls::CreateEventW;
    functions_.SetEvent = &Calls::SetEvent;
    functions_.ResetEvent = &Calls::ResetEvent;
    functions_.WaitForSingleObject = &Calls::WaitForSingleObject;
    functions_.WaitForMultipleObjects = &Calls::WaitForMultipleObjects;
    functions_.GetTickCount = &Calls::GetTickCount;
    functions_.OpenMutexW = &Calls::OpenMutexW;
    functions_.ReleaseMutex = &Calls::ReleaseMutex;
    functions_.OpenFileMappingW = &Calls::OpenFileMappingW;
    functions_.MapViewOfFile = &Calls::MapViewOfFile;
    functions_.UnmapViewOfFile = &Calls::UnmapViewOfFile;
    functions_.VirtualQuery = &Calls::VirtualQuery;
    functions_.MsgWaitForMultipleObjects = &Calls::MsgWaitForMultipleObjects;
    functions_.PeekMessageW = &Calls::PeekMessageW;
    functions_.TranslateMessage = &Calls::TranslateMessage;
    functions_.DispatchMessageW = &Calls::DispatchMessageW;
    functions_.OpenProcessToken = &Calls::OpenProcessToken;
    functions_.GetTokenInformation = &Calls::GetTokenInformation;
    functions_.AllocateAndInitializeSid = &Calls::AllocateAndInitializeSid;
    functions_.EqualSid = &Calls::EqualSid;
    functions_.FreeSid = &Calls::FreeSid;
}

CScriptedNative::~CScriptedNative() {
    threads.Join();
    current = nullptr;
}

void CScriptedNative::Remove(const std::string& function) {
    const Native::NativeTable table = Native::AllNativeFunctions();
    for (std::size_t i = 0; i < table.count; ++i) {
        if (function == table.entries[i].name) {
            table.entries[i].storeFallback(functions_);
        }
    }
}

void CScriptedNative::Fail(const std::string& function, unsigned times, unsigned after,
                           NtApi::NtStatus status) {
    const Guard guard(mutex_);
    failures_[function] = {after, times, status};
}

unsigned CScriptedNative::CountCalls(const std::string& function) const {
    const Guard guard(mutex_);
    const auto found = calls_.find(function);
    return found == calls_.end() ? 0 : found->second;
}

void CScriptedNative::Queue(Answer answer) {
    const Guard guard(mutex_);
    answers_.push_back(std::move(answer));
}

std::size_t CScriptedNative::CountLive() const {
    const Guard guard(mutex_);
    std::size_t locks = 0;
    for (const auto& entry : lockDepth_) {
        locks += entry.second != 0 ? 1 : 0;
    }
    return live_.size() + threads.OpenHandles() + locks;
}

std::size_t CScriptedNative::CountLive(const std::string& kind) const {
    const Guard guard(mutex_);
    std::size_t count = 0;
    for (const auto& entry : live_) {
        count += entry.second == kind ? 1 : 0;
    }
    return count;
}

}  // namespace Kyr::Test
