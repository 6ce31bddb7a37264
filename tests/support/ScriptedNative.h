// A scripted operating system behind the table of native functions: it records what the clients
// hand over and answers what a test tells it to, down to the last byte.
//
// It knows no protocol: messages go in and out as bytes. Every object that it hands out is counted,
// so that a test can ask for what was not given back. Any function can be made to fail or taken
// away.
//
// The table holds plain functions, which find the fake through a pointer to the one instance that
// lives: REQUIRES: at most one instance at a time.
// Threads: the functions may be called from any thread; records are read when no call is running.
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
#include "tests/support/ScriptedThreads.h"

namespace Kyr::Test {

using Bytes = std::vector<std::uint8_t>;
using CNativeFunctions = Connectors::Common::Kelcomm::Native::CNativeFunctions;

class CScriptedNative {
  public:
    static constexpr unsigned kAlways = 0xFFFFFFFF;

    CScriptedNative();
    ~CScriptedNative();
    CScriptedNative(const CScriptedNative&) = delete;
    CScriptedNative& operator=(const CScriptedNative&) = delete;

    const CNativeFunctions& GetFunctions() const { return functions_; }
    /// Takes a function out of the table, as on a system that lacks it.
    void Remove(const std::string& function);
    /// Lets the next `times` calls of a function fail, after `after` calls that still work.
    /// Functions that return a status fail with `status`, the others with their own kind of
    /// failure.
    void Fail(const std::string& function, unsigned times = kAlways, unsigned after = 0,
              NtApi::NtStatus status = NtApi::kStatusUnsuccessful);
    unsigned CountCalls(const std::string& function) const;

    // ---- Ports: what was sent ----
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

    // ---- Ports: what is answered ----
    struct Answer {
        NtApi::NtStatus status = NtApi::kStatusSuccess;
        Bytes reply;  // the whole message; nothing is written when it is empty
        // A view in the receive attributes of an advanced port.
        bool hasView = false;
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

    // ---- The process ----
    bool isWow64 = false;
    bool isLocalSystem = false;
    std::vector<std::uint32_t> sidParts;  // authority, count and first sub-authority
    std::uint32_t tokenBufferSize = 0;
    std::uint32_t tokenAccess = 0;

    // ---- The broadcast area ----
    Bytes area;  // exactly what is mapped
    std::uint32_t mutexWait = NtApi::kWaitObject0;
    std::function<void()> onMutexWait;
    std::vector<std::u16string> openedNames;
    std::vector<std::uint32_t> openedAccess;
    std::vector<std::uint32_t> mutexTimeouts;
    unsigned releasedMutexes = 0;

    // ---- Window messages ----
    int translated = 0;
    int dispatched = 0;
    std::function<void()> onDispatch;
    std::vector<std::uint32_t> messageWait;  // count, wait for all, time-out, wake mask

    CScriptedThreads threads;

    /// What was handed out and not given back: handles, views, sections, identifiers and locks.
    std::size_t CountLive() const;
    std::size_t CountLive(const std::string& kind) const;
    /// Uses of handles after they were closed, or that never existed.
    unsigned badCloses = 0;

  private:
    struct Calls;  // the functions of the table
    struct Failure {
        unsigned after;
        unsigned times;
        NtApi::NtStatus status;
    };

    bool Enter(const char* function, NtApi::NtStatus* status = nullptr);
    NtApi::Handle Open(const char* kind);
    bool CloseLive(NtApi::Handle handle);
    void CheckLive(NtApi::Handle handle);
    Answer TakeAnswer();
    // Memory that counts as a live view until it is released or deleted.
    void* MakeView(Bytes bytes);
    void GiveView(const Answer& answer, NtApi::AlpcMessageAttributes* attributes);
    void CountLock(void* lock, bool acquired);

    mutable std::recursive_mutex mutex_;  // guards everything but the running answers' actions
    CNativeFunctions functions_;
    std::map<std::string, unsigned> calls_;
    std::map<std::string, Failure> failures_;
    std::deque<Answer> answers_;
    std::map<NtApi::Handle, std::string> live_;
    std::map<void*, Bytes> views_;
    std::map<void*, int> lockDepth_;  // slim locks, by their word
    std::uintptr_t nextHandle_ = 0x1000;
    std::atomic<std::size_t> receiveRoom_{0};  // of the last receive buffer
};

}  // namespace Kyr::Test
