#include "tests/support/system/ScriptedPorts.h"

#include <algorithm>
#include <cstring>

#include "base/LittleEndian.h"
#include "ntapi/PortMessage.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

// The system's own number, not the clients' name for it.
constexpr std::uint32_t kSecureSection = 0x40000;

/// What a call that fails leaves where a handle would stand.
const auto kNoHandle = reinterpret_cast<NtApi::Handle>(std::uintptr_t{0xBAD0});

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

struct CScriptedPorts::Legacy {
    static NtApi::NtStatus KYR_NTAPI NtConnectPort(NtApi::Handle* port, NtApi::UnicodeString* name,
                                                   NtApi::SecurityQualityOfService* qos,
                                                   void* clientView, void* serverView,
                                                   std::uint32_t* maxLength, void* information,
                                                   std::uint32_t* informationLength) {
        Connection connection{};
        connection.name = NameOf(*name);
        const auto* bytes = static_cast<const std::uint8_t*>(information);
        connection.message.assign(bytes, bytes + *informationLength);
        connection.qos = *qos;
        connection.hasOptional =
            clientView != nullptr || serverView != nullptr || maxLength != nullptr;
        return current_->Connect("NtConnectPort", "port", connection, port);
    }

    static NtApi::NtStatus KYR_NTAPI NtRequestPort(NtApi::Handle port, void* request) {
        Sent sent{};
        sent.port = port;
        sent.message = MessageBytes(request);
        current_->Record(current_->oneWays, sent);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current_->calls_.Enter("NtRequestPort", &status);
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
        current_->Record(current_->requests, sent);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current_->calls_.Enter("NtRequestWaitReplyPort", &status)) {
            return status;
        }
        const Answer answer = current_->TakeAnswer(sent);
        if (!answer.reply.empty()) {
            std::memcpy(reply, answer.reply.data(), std::min(answer.reply.size(), room));
        }
        return answer.status;
    }

    static void KYR_NTAPI RtlInitUnicodeString(NtApi::UnicodeString* target,
                                               const char16_t* source) {
        current_->calls_.Note("RtlInitUnicodeString");
        const std::size_t length = std::char_traits<char16_t>::length(source);
        target->Length = static_cast<std::uint16_t>(length * sizeof(char16_t));
        target->MaximumLength = static_cast<std::uint16_t>((length + 1) * sizeof(char16_t));
        target->Buffer = const_cast<char16_t*>(source);
    }
};

struct CScriptedPorts::Advanced {
    static NtApi::NtStatus KYR_NTAPI NtAlpcConnectPort(
        NtApi::Handle* port, NtApi::UnicodeString* name, NtApi::ObjectAttributes* objectAttributes,
        NtApi::AlpcPortAttributes* portAttributes, std::uint32_t flags, void* requiredServerSid,
        void* connectionMessage, std::size_t* bufferLength, NtApi::AlpcMessageAttributes* out,
        NtApi::AlpcMessageAttributes* in, std::int64_t* timeout) {
        Connection connection{};
        connection.name = NameOf(*name);
        const auto* bytes = static_cast<const std::uint8_t*>(connectionMessage);
        connection.message.assign(bytes, bytes + *bufferLength);
        connection.qos = portAttributes->SecurityQos;
        connection.attributes = *portAttributes;
        connection.flags = flags;
        connection.hasOptional = objectAttributes != nullptr || requiredServerSid != nullptr ||
                                 out != nullptr || in != nullptr || timeout != nullptr;
        return current_->Connect("NtAlpcConnectPort", "alpc port", connection, port);
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDisconnectPort(NtApi::Handle port, std::uint32_t flags) {
        current_->calls_.Require(flags == 0, "NtAlpcDisconnectPort with flags");
        current_->objects_.Check(port);
        {
            const Guard guard(current_->mutex_);
            current_->disconnected.push_back(port);
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current_->calls_.Enter("NtAlpcDisconnectPort", &status);
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
        sent.message = MessageBytes(message, current_->receiveRoom_);
        if (HasView(attributes)) {
            const NtApi::AlpcDataViewAttr& view = ViewOf(attributes);
            sent.hasView = true;
            sent.releasedViewFlags = view.Flags;
            if ((view.Flags & NtApi::kAlpcViewUnmapExisting) != 0) {
                current_->DropView(view.ViewBase);
                current_->objects_.Forget(view.ViewBase);
            }
        }
        current_->Record(current_->releases, sent);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        current_->calls_.Enter(CScriptedCalls::kReleaseMessage, &status);
        return status;
    }

    static void GiveView(const Answer& answer, NtApi::AlpcMessageAttributes* attributes) {
        NtApi::AlpcDataViewAttr& view = ViewOf(attributes);
        view.Flags = answer.viewFlags;
        view.SectionHandle = nullptr;
        view.ViewSize = answer.viewSize == 0 ? answer.view.size() : answer.viewSize;
        if (answer.leaveOutViewMark) {
            const Guard guard(current_->mutex_);
            current_->nowhere_ = answer.view;
            view.ViewBase = current_->nowhere_.data();
            return;
        }
        view.ViewBase = current_->MakeView(answer.view);
        attributes->ValidAttributes |= NtApi::kAlpcMessageViewAttribute;
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
        current_->Record(receiveMessage != nullptr ? current_->requests : current_->oneWays, sent);
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current_->calls_.Enter("NtAlpcSendWaitReceivePort", &status)) {
            return status;
        }
        const Answer answer = current_->TakeAnswer(sent);
        if (receiveMessage != nullptr && !answer.reply.empty()) {
            current_->receiveRoom_ = *bufferLength;
            const std::size_t length = std::min(answer.reply.size(), *bufferLength);
            std::memcpy(receiveMessage, answer.reply.data(), length);
            *bufferLength = length;
        }
        if (receiveAttributes != nullptr && answer.hasView) {
            GiveView(answer, receiveAttributes);
        }
        return answer.status;
    }

    static NtApi::NtStatus KYR_NTAPI
    NtAlpcCreatePortSection(NtApi::Handle port, std::uint32_t flags, NtApi::Handle section,
                            std::size_t size, NtApi::Handle* alpcSection, std::size_t* actualSize) {
        current_->objects_.Check(port);
        const bool secureAndNew = flags == kSecureSection && section == nullptr && size != 0;
        if (!current_->calls_.Require(secureAndNew, "NtAlpcCreatePortSection of another kind")) {
            return NtApi::kStatusInvalidParameter;
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (current_->calls_.Enter("NtAlpcCreatePortSection", &status)) {
            {
                const Guard guard(current_->mutex_);
                current_->sectionSizes.push_back(size);
            }
            *alpcSection = current_->objects_.Open("section");
            *actualSize = (size + 4095) / 4096 * 4096;
        } else {
            *alpcSection = kNoHandle;
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDeletePortSection(NtApi::Handle port,
                                                             std::uint32_t flags,
                                                             NtApi::Handle section) {
        current_->calls_.Note("NtAlpcDeletePortSection");
        current_->calls_.Require(flags == 0, "NtAlpcDeletePortSection with flags");
        current_->objects_.Check(port);
        return current_->objects_.Close(section) ? NtApi::kStatusSuccess
                                                 : NtApi::kStatusInvalidHandle;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcCreateSectionView(NtApi::Handle port,
                                                             std::uint32_t flags,
                                                             NtApi::AlpcDataViewAttr* view) {
        current_->objects_.Check(port);
        const bool isNew = flags == 0 && view->Flags == 0 && view->ViewBase == nullptr;
        if (!current_->calls_.Require(isNew, "NtAlpcCreateSectionView of another kind") ||
            !current_->objects_.Check(view->SectionHandle)) {
            return NtApi::kStatusInvalidParameter;
        }
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (current_->calls_.Enter("NtAlpcCreateSectionView", &status)) {
            view->ViewSize -= current_->sectionViewShortage;
            if (!current_->leaveOutSectionViewBase) {
                view->ViewBase = current_->MakeView(Bytes(view->ViewSize));
            }
        } else {
            const Guard guard(current_->mutex_);
            current_->nowhere_.resize(view->ViewSize);
            view->ViewBase = current_->nowhere_.data();
        }
        return status;
    }

    static NtApi::NtStatus KYR_NTAPI NtAlpcDeleteSectionView(NtApi::Handle port,
                                                             std::uint32_t flags, void* base) {
        current_->calls_.Note("NtAlpcDeleteSectionView");
        current_->calls_.Require(flags == 0, "NtAlpcDeleteSectionView with flags");
        current_->objects_.Check(port);
        current_->DropView(base);
        return current_->objects_.Close(base) ? NtApi::kStatusSuccess
                                              : NtApi::kStatusInvalidParameter;
    }

    static NtApi::NtStatus KYR_NTAPI
    AlpcInitializeMessageAttribute(std::uint32_t attributes, NtApi::AlpcMessageAttributes* buffer,
                                   std::size_t size, std::size_t* required) {
        current_->calls_.Require(buffer != nullptr || size == 0,
                                 "AlpcInitializeMessageAttribute of room that is not there");
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        if (!current_->calls_.Enter("AlpcInitializeMessageAttribute", &status)) {
            return status;
        }
        *required = current_->viewAttributeSize;
        if (buffer == nullptr || size < *required) {
            return current_->viewAttributeQueryStatus;
        }
        buffer->AllocatedAttributes = attributes;
        buffer->ValidAttributes = 0;
        return NtApi::kStatusSuccess;
    }
};

CScriptedPorts::CScriptedPorts(CScriptedCalls& calls, CScriptedObjects& objects,
                               Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : viewAttributeSize(sizeof(NtApi::AlpcMessageAttributes) + sizeof(NtApi::AlpcDataViewAttr)),
      calls_(calls),
      objects_(objects) {
    defaultAnswer.status = NtApi::kStatusPortDisconnected;
    functions.NtConnectPort = &Legacy::NtConnectPort;
    functions.NtRequestPort = &Legacy::NtRequestPort;
    functions.NtRequestWaitReplyPort = &Legacy::NtRequestWaitReplyPort;
    functions.RtlInitUnicodeString = &Legacy::RtlInitUnicodeString;
    functions.NtAlpcConnectPort = &Advanced::NtAlpcConnectPort;
    functions.NtAlpcDisconnectPort = &Advanced::NtAlpcDisconnectPort;
    functions.NtAlpcSendWaitReceivePort = &Advanced::NtAlpcSendWaitReceivePort;
    functions.NtAlpcCreatePortSection = &Advanced::NtAlpcCreatePortSection;
    functions.NtAlpcDeletePortSection = &Advanced::NtAlpcDeletePortSection;
    functions.NtAlpcCreateSectionView = &Advanced::NtAlpcCreateSectionView;
    functions.NtAlpcDeleteSectionView = &Advanced::NtAlpcDeleteSectionView;
    functions.AlpcInitializeMessageAttribute = &Advanced::AlpcInitializeMessageAttribute;
}

void CScriptedPorts::Queue(Answer answer) {
    const Guard guard(mutex_);
    answers_.push_back(std::move(answer));
}

void CScriptedPorts::Record(std::vector<Sent>& list, const Sent& sent) {
    const Guard guard(mutex_);
    list.push_back(sent);
}

NtApi::NtStatus CScriptedPorts::Connect(const char* function, const char* kind,
                                        const Connection& connection, NtApi::Handle* port) {
    {
        const Guard guard(mutex_);
        connections.push_back(connection);
    }
    NtApi::NtStatus status = NtApi::kStatusSuccess;
    if (calls_.Enter(function, &status) || leaveHandleOnFailedConnect) {
        *port = objects_.Open(kind);
    }
    return status;
}

CScriptedPorts::Answer CScriptedPorts::TakeAnswer(const Sent& sent) {
    Answer answer;
    {
        const Guard guard(mutex_);
        if (answers_.empty()) {
            answer = defaultAnswer;
        } else {
            answer = std::move(answers_.front());
            answers_.pop_front();
        }
    }
    if (answer.action) {
        answer.action(sent);
    }
    return answer;
}

void* CScriptedPorts::MakeView(Bytes bytes) {
    bytes.reserve(1);  // a view has an address even when it is empty
    void* const base = bytes.data();
    objects_.Add(base, "view");
    const Guard guard(mutex_);
    views_[base] = std::move(bytes);
    return base;
}

void CScriptedPorts::DropView(void* base) {
    const Guard guard(mutex_);
    views_.erase(base);
}

}  // namespace Kyr::Test
