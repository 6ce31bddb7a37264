// The ports' functions, asked of ntdll. The system's signatures are the layer's.
#include <iterator>

#include "ntapi/Status.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/LayerSettings.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/windows/SystemHeader.h"

namespace Kyr::PortLayer {

namespace {

FARPROC Address(const char* name) {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), name);
}

// All that stand below.
constexpr const char* kPortFunctions[] = {
    "NtConnectPort",
    "NtRequestPort",
    "NtRequestWaitReplyPort",
    "NtCreatePort",
    "NtReplyWaitReceivePortEx",
    "NtAcceptConnectPort",
    "NtCompleteConnectPort",
    "NtReplyPort",
    "NtReadRequestData",
    "NtWriteRequestData",
    "NtAlpcConnectPort",
    "NtAlpcDisconnectPort",
    "NtAlpcSendWaitReceivePort",
    "NtAlpcCreatePortSection",
    "NtAlpcDeletePortSection",
    "NtAlpcCreateSectionView",
    "NtAlpcDeleteSectionView",
    "AlpcInitializeMessageAttribute",
    "AlpcGetMessageAttribute",
    "NtAlpcCreatePort",
    "NtAlpcAcceptConnectPort",
};

}  // namespace

std::string MissingFunctions() {
    std::string missing;
    for (const char* const name : kPortFunctions) {
        if (Address(name) == nullptr) {
            missing += (missing.empty() ? "" : ", ") + std::string(name);
        }
    }
    return missing;
}

// The system answers in its one way.
void SetAlpcServerGoneStatus(NtStatus) {}

NtStatus AlpcServerGoneStatus() {
    return NtApi::kStatusPortDisconnected;
}

// Not a template: the calling convention is lost in a template's argument.
#define KYR_ASK_SYSTEM(function, missing, ...)                                                   \
    static const auto own =                                                                      \
        reinterpret_cast<decltype(&function)>(reinterpret_cast<void (*)()>(Address(#function))); \
    return own == nullptr ? (missing) : own(__VA_ARGS__)

NtStatus KYR_NTAPI NtConnectPort(Handle* port, UnicodeString* name, SecurityQualityOfService* qos,
                                 void* clientView, void* serverView,
                                 std::uint32_t* maxMessageLength, void* connectionInfo,
                                 std::uint32_t* connectionInfoLength) {
    KYR_ASK_SYSTEM(NtConnectPort, NtApi::kStatusNotImplemented, port, name, qos, clientView,
                   serverView, maxMessageLength, connectionInfo, connectionInfoLength);
}

NtStatus KYR_NTAPI NtRequestPort(Handle port, void* request) {
    KYR_ASK_SYSTEM(NtRequestPort, NtApi::kStatusNotImplemented, port, request);
}

NtStatus KYR_NTAPI NtRequestWaitReplyPort(Handle port, void* request, void* reply) {
    KYR_ASK_SYSTEM(NtRequestWaitReplyPort, NtApi::kStatusNotImplemented, port, request, reply);
}

NtStatus KYR_NTAPI NtCreatePort(Handle* port, ObjectAttributes* attributes,
                                std::uint32_t maxConnectionInfo, std::uint32_t maxMessageLength,
                                std::uint32_t maxPoolUsage) {
    KYR_ASK_SYSTEM(NtCreatePort, NtApi::kStatusNotImplemented, port, attributes, maxConnectionInfo,
                   maxMessageLength, maxPoolUsage);
}

NtStatus KYR_NTAPI NtReplyWaitReceivePortEx(Handle port, void** context, void* reply, void* receive,
                                            std::int64_t* timeout) {
    KYR_ASK_SYSTEM(NtReplyWaitReceivePortEx, NtApi::kStatusNotImplemented, port, context, reply,
                   receive, timeout);
}

NtStatus KYR_NTAPI NtAcceptConnectPort(Handle* port, void* context, void* connectionRequest,
                                       Bool accept, void* serverView, void* clientView) {
    KYR_ASK_SYSTEM(NtAcceptConnectPort, NtApi::kStatusNotImplemented, port, context,
                   connectionRequest, accept, serverView, clientView);
}

NtStatus KYR_NTAPI NtCompleteConnectPort(Handle port) {
    KYR_ASK_SYSTEM(NtCompleteConnectPort, NtApi::kStatusNotImplemented, port);
}

NtStatus KYR_NTAPI NtReplyPort(Handle port, void* reply) {
    KYR_ASK_SYSTEM(NtReplyPort, NtApi::kStatusNotImplemented, port, reply);
}

NtStatus KYR_NTAPI NtReadRequestData(Handle port, void* message, std::uint32_t entryIndex,
                                     void* buffer, std::size_t size, std::size_t* transferred) {
    KYR_ASK_SYSTEM(NtReadRequestData, NtApi::kStatusNotImplemented, port, message, entryIndex,
                   buffer, size, transferred);
}

NtStatus KYR_NTAPI NtWriteRequestData(Handle port, void* message, std::uint32_t entryIndex,
                                      void* buffer, std::size_t size, std::size_t* transferred) {
    KYR_ASK_SYSTEM(NtWriteRequestData, NtApi::kStatusNotImplemented, port, message, entryIndex,
                   buffer, size, transferred);
}

NtStatus KYR_NTAPI NtAlpcConnectPort(Handle* port, UnicodeString* name,
                                     ObjectAttributes* objectAttributes,
                                     AlpcPortAttributes* portAttributes, std::uint32_t flags,
                                     void* requiredServerSid, void* connectionMessage,
                                     std::size_t* bufferLength,
                                     AlpcMessageAttributes* outAttributes,
                                     AlpcMessageAttributes* inAttributes, std::int64_t* timeout) {
    KYR_ASK_SYSTEM(NtAlpcConnectPort, NtApi::kStatusNotImplemented, port, name, objectAttributes,
                   portAttributes, flags, requiredServerSid, connectionMessage, bufferLength,
                   outAttributes, inAttributes, timeout);
}

NtStatus KYR_NTAPI NtAlpcDisconnectPort(Handle port, std::uint32_t flags) {
    KYR_ASK_SYSTEM(NtAlpcDisconnectPort, NtApi::kStatusNotImplemented, port, flags);
}

NtStatus KYR_NTAPI NtAlpcSendWaitReceivePort(Handle port, std::uint32_t flags, void* sendMessage,
                                             AlpcMessageAttributes* sendAttributes,
                                             void* receiveMessage, std::size_t* bufferLength,
                                             AlpcMessageAttributes* receiveAttributes,
                                             std::int64_t* timeout) {
    KYR_ASK_SYSTEM(NtAlpcSendWaitReceivePort, NtApi::kStatusNotImplemented, port, flags,
                   sendMessage, sendAttributes, receiveMessage, bufferLength, receiveAttributes,
                   timeout);
}

NtStatus KYR_NTAPI NtAlpcCreatePortSection(Handle port, std::uint32_t flags, Handle section,
                                           std::size_t size, Handle* alpcSection,
                                           std::size_t* actualSize) {
    KYR_ASK_SYSTEM(NtAlpcCreatePortSection, NtApi::kStatusNotImplemented, port, flags, section,
                   size, alpcSection, actualSize);
}

NtStatus KYR_NTAPI NtAlpcDeletePortSection(Handle port, std::uint32_t flags, Handle section) {
    KYR_ASK_SYSTEM(NtAlpcDeletePortSection, NtApi::kStatusNotImplemented, port, flags, section);
}

NtStatus KYR_NTAPI NtAlpcCreateSectionView(Handle port, std::uint32_t flags,
                                           AlpcDataViewAttr* view) {
    KYR_ASK_SYSTEM(NtAlpcCreateSectionView, NtApi::kStatusNotImplemented, port, flags, view);
}

NtStatus KYR_NTAPI NtAlpcDeleteSectionView(Handle port, std::uint32_t flags, void* viewBase) {
    KYR_ASK_SYSTEM(NtAlpcDeleteSectionView, NtApi::kStatusNotImplemented, port, flags, viewBase);
}

NtStatus KYR_NTAPI AlpcInitializeMessageAttribute(std::uint32_t attributes,
                                                  AlpcMessageAttributes* buffer,
                                                  std::size_t bufferSize,
                                                  std::size_t* requiredSize) {
    KYR_ASK_SYSTEM(AlpcInitializeMessageAttribute, NtApi::kStatusNotImplemented, attributes, buffer,
                   bufferSize, requiredSize);
}

void* KYR_NTAPI AlpcGetMessageAttribute(AlpcMessageAttributes* buffer, std::uint32_t attribute) {
    KYR_ASK_SYSTEM(AlpcGetMessageAttribute, nullptr, buffer, attribute);
}

NtStatus KYR_NTAPI NtAlpcCreatePort(Handle* port, ObjectAttributes* attributes,
                                    AlpcPortAttributes* portAttributes) {
    KYR_ASK_SYSTEM(NtAlpcCreatePort, NtApi::kStatusNotImplemented, port, attributes,
                   portAttributes);
}

NtStatus KYR_NTAPI NtAlpcAcceptConnectPort(Handle* port, Handle connectionPort, std::uint32_t flags,
                                           ObjectAttributes* objectAttributes,
                                           AlpcPortAttributes* portAttributes, void* portContext,
                                           void* connectionRequest,
                                           AlpcMessageAttributes* attributes, Bool accept) {
    KYR_ASK_SYSTEM(NtAlpcAcceptConnectPort, NtApi::kStatusNotImplemented, port, connectionPort,
                   flags, objectAttributes, portAttributes, portContext, connectionRequest,
                   attributes, accept);
}

#undef KYR_ASK_SYSTEM

}  // namespace Kyr::PortLayer
