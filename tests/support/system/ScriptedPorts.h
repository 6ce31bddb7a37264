// The ports of a scripted system, legacy and advanced: what was sent through them, and what comes
// back, down to the last byte.
//
// They know no protocol: messages go in and out as bytes.
// At most one instance at a time. Threads: the functions may be called from any thread; the records
// are read, and the script is changed, when no call is running.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"
#include "ntapi/Status.h"
#include "tests/support/system/Current.h"
#include "tests/support/system/ScriptedObjects.h"

namespace Kyr::Test {

using Bytes = std::vector<std::uint8_t>;

class CScriptedPorts : public CCurrent<CScriptedPorts> {
  public:
    /// `calls` and `objects` must outlive the ports.
    CScriptedPorts(CScriptedCalls& calls, CScriptedObjects& objects,
                   Connectors::Common::Kelcomm::Native::NativeFunctions& functions);

    // The records.
    struct Connection {
        std::u16string name;
        Bytes message;  // connection information or connection message
        NtApi::SecurityQualityOfService qos;
        NtApi::AlpcPortAttributes attributes;  // advanced ports only
        std::uint32_t flags = 0;               // advanced ports only
        bool hasOptional = false;  // any of the arguments that the clients are to leave out
    };
    struct Sent {
        NtApi::Handle port;
        Bytes message;  // as long as its header says
        std::uint32_t flags = 0;
        bool hasView = false;  // the send attributes marked a view as valid
        std::uint32_t viewFlags = 0;
        Bytes view;
        bool hasReceiveBuffer = false;
        std::size_t bufferLength = 0;
        bool hasBufferLength = false;
        Bytes announced;  // a legacy port's reply buffer up to the reply's bytes
        bool hasTimeout = false;
        std::int64_t timeout = 0;
        std::uint32_t releasedViewFlags = 0;  // of a released message
    };
    std::vector<Connection> connections;
    std::vector<Sent> requests;  // that wait for a reply
    std::vector<Sent> oneWays;   // that do not
    std::vector<Sent> releases;  // received messages given back
    std::vector<NtApi::Handle> disconnected;
    std::vector<std::size_t> sectionSizes;

    // The script.
    struct Answer {
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        Bytes reply;  // the whole message; nothing is written when it is empty
        // A view in the receive attributes of an advanced port.
        bool hasView = false;
        /// Written there without the mark that it is valid.
        bool leaveOutViewMark = false;
        std::uint32_t viewFlags = NtApi::kAlpcViewSecured;
        Bytes view;
        std::size_t viewSize = 0;  // 0 = the size of `view`
        /// Runs before the answer is given, on the calling thread and without a lock.
        std::function<void(const Sent&)> action;
    };
    /// Answers the next request, after those already queued.
    void Queue(Answer answer);
    /// What is answered when nothing is queued.
    Answer defaultAnswer;
    /// A handle that connecting returns together with the status of Fail.
    bool leaveHandleOnFailedConnect = false;
    std::size_t viewAttributeSize;  // what AlpcInitializeMessageAttribute asks for
    /// What it answers when it is given too little.
    NtApi::NtStatus viewAttributeQueryStatus = static_cast<NtApi::NtStatus>(0xC0000023);
    std::size_t sectionViewShortage = 0;   // bytes that a new section view lacks
    bool leaveOutSectionViewBase = false;  // a new section view that is told to be nowhere

  private:
    struct Legacy;    // the functions of the table, by kind of port
    struct Advanced;  //

    void Record(std::vector<Sent>& list, const Sent& sent);
    NtApi::NtStatus Connect(const char* function, const char* kind, const Connection& connection,
                            NtApi::Handle* port);
    Answer TakeAnswer(const Sent& sent);
    /// Memory that counts as a live view until it is released or deleted.
    void* MakeView(Bytes bytes);
    void DropView(void* base);

    CScriptedCalls& calls_;
    CScriptedObjects& objects_;
    std::mutex mutex_;  // guards the records and what follows
    std::deque<Answer> answers_;
    std::map<void*, Bytes> views_;
    Bytes nowhere_;  // what a view is said to be at by a call that fails, or without its mark
    std::atomic<std::size_t> receiveRoom_{0};  // of the last receive buffer
};

}  // namespace Kyr::Test
