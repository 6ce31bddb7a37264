#include "probe/session/PortTrace.h"

#include "base/LittleEndian.h"
#include "base/Mutex.h"
#include "ntapi/PortMessage.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace Native = Connectors::Common::Kelcomm::Native;

namespace {

// The lower half of the wider field, which stands at the same place.
constexpr std::size_t kProcessIdPlace = NtApi::PortMessageLayout<std::uint32_t>::kProcessId;
static_assert(kProcessIdPlace == NtApi::PortMessageLayout<std::uint64_t>::kProcessId);

Base::CMutex tracesMutex;
PortTrace advancedTrace KYR_GUARDED_BY(tracesMutex);
PortTrace legacyTrace KYR_GUARDED_BY(tracesMutex);
Port lastUsed KYR_GUARDED_BY(tracesMutex) = Port::kAdvanced;
Native::NativeFunctions plainFunctions;  // written before anybody is given the witnessed ones

PortTrace& Trace(Port port) KYR_REQUIRES(tracesMutex) {
    return port == Port::kAdvanced ? advancedTrace : legacyTrace;
}

NtApi::NtStatus NoteConnect(Port port, NtApi::NtStatus status) {
    const Base::CLock lock(tracesMutex);
    PortTrace& trace = Trace(port);
    lastUsed = port;
    trace.wasTried = true;
    trace.connect = status;
    trace.wasConnected = trace.wasConnected || !NtApi::IsError(status);
    return status;
}

NtApi::NtStatus NoteExchange(Port port, NtApi::NtStatus status, const void* reply) {
    const Base::CLock lock(tracesMutex);
    PortTrace& trace = Trace(port);
    lastUsed = port;
    trace.exchange = status;
    if (status == NtApi::kStatusSuccess) {
        trace.wasAnswered = true;
        trace.serverProcess = Base::LoadLittleEndian<std::uint32_t>(
            static_cast<const std::uint8_t*>(reply) + kProcessIdPlace);
    }
    return status;
}

NtApi::NtStatus KYR_NTAPI ConnectAdvanced(
    NtApi::Handle* port, NtApi::UnicodeString* name, NtApi::ObjectAttributes* objectAttributes,
    NtApi::AlpcPortAttributes* portAttributes, std::uint32_t flags, void* requiredServerSid,
    void* connectionMessage, std::size_t* bufferLength, NtApi::AlpcMessageAttributes* outAttributes,
    NtApi::AlpcMessageAttributes* inAttributes, std::int64_t* timeout) {
    return NoteConnect(Port::kAdvanced,
                       plainFunctions.NtAlpcConnectPort(
                           port, name, objectAttributes, portAttributes, flags, requiredServerSid,
                           connectionMessage, bufferLength, outAttributes, inAttributes, timeout));
}

NtApi::NtStatus KYR_NTAPI ExchangeAdvanced(NtApi::Handle port, std::uint32_t flags,
                                           void* sendMessage,
                                           NtApi::AlpcMessageAttributes* sendAttributes,
                                           void* receiveMessage, std::size_t* bufferLength,
                                           NtApi::AlpcMessageAttributes* receiveAttributes,
                                           std::int64_t* timeout) {
    const NtApi::NtStatus status = plainFunctions.NtAlpcSendWaitReceivePort(
        port, flags, sendMessage, sendAttributes, receiveMessage, bufferLength, receiveAttributes,
        timeout);
    // A release has no answer.
    return receiveMessage == nullptr ? status
                                     : NoteExchange(Port::kAdvanced, status, receiveMessage);
}

NtApi::NtStatus KYR_NTAPI ConnectLegacy(NtApi::Handle* port, NtApi::UnicodeString* name,
                                        NtApi::SecurityQualityOfService* qos, void* clientView,
                                        void* serverView, std::uint32_t* maxMessageLength,
                                        void* connectionInfo, std::uint32_t* connectionInfoLength) {
    return NoteConnect(Port::kLegacy, plainFunctions.NtConnectPort(
                                          port, name, qos, clientView, serverView, maxMessageLength,
                                          connectionInfo, connectionInfoLength));
}

NtApi::NtStatus KYR_NTAPI ExchangeLegacy(NtApi::Handle port, void* request, void* reply) {
    return NoteExchange(Port::kLegacy, plainFunctions.NtRequestWaitReplyPort(port, request, reply),
                        reply);
}

Native::NativeFunctions MakeWitnessed(bool portLayer) {
    plainFunctions = Native::ResolveNativeFunctions(LookupOf(portLayer));
    Native::NativeFunctions functions = plainFunctions;
    functions.NtAlpcConnectPort = &ConnectAdvanced;
    functions.NtAlpcSendWaitReceivePort = &ExchangeAdvanced;
    functions.NtConnectPort = &ConnectLegacy;
    functions.NtRequestWaitReplyPort = &ExchangeLegacy;
    return functions;
}

}  // namespace

const char* NameOf(Port port) {
    return port == Port::kAdvanced ? "advanced port" : "legacy port";
}

const Native::NativeFunctions& WitnessedNativeFunctions(bool portLayer) {
    static const Native::NativeFunctions functions = MakeWitnessed(portLayer);
    return functions;
}

PortTrace TraceOf(Port port) {
    const Base::CLock lock(tracesMutex);
    return Trace(port);
}

PortTrace LatestTrace() {
    const Base::CLock lock(tracesMutex);
    return Trace(lastUsed);
}

void ForgetTraces() {
    const Base::CLock lock(tracesMutex);
    lastUsed = Port::kAdvanced;
    advancedTrace = {};
    legacyTrace = {};
}

}  // namespace Kyr::Probe
