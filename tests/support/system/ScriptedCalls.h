// What the functions of a scripted system were called for: how often, which of the calls are to
// fail, and what no caller may do.
//
// Functions are known by their names in the table of native functions; kReleaseMessage stands for
// the calls of NtAlpcSendWaitReceivePort that give a received message back. An unknown name throws
// std::invalid_argument, so that a test with a slip of the pen fails.
// Threads: any.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "ntapi/Status.h"

namespace Kyr::Test {

class CScriptedCalls {
  public:
    static constexpr unsigned kAlways = 0xFFFFFFFF;
    static constexpr char kReleaseMessage[] = "Release";

    CScriptedCalls();
    CScriptedCalls(const CScriptedCalls&) = delete;
    CScriptedCalls& operator=(const CScriptedCalls&) = delete;

    // For tests.

    /// Lets the next `times` calls fail, after `after` calls that still work.
    void Fail(const std::string& function, unsigned times, unsigned after, NtApi::NtStatus status);
    unsigned Count(const std::string& function) const;
    /// Runs `action` with the name of every function that is called, without a lock.
    /// REQUIRES: no call is running.
    void OnCall(std::function<void(const std::string&)> action);
    /// What callers did wrong, a line each: handles that are not open, arguments that a system
    /// would refuse or that the protocol does not use.
    std::vector<std::string> Misuses() const;

    // For the functions.

    /// Counts a call. False: it is to fail, with `status` where it returns one.
    bool Enter(const char* function, NtApi::NtStatus* status = nullptr);
    /// Counts a call of a function that cannot fail here; a test that wants it to is told so.
    void Note(const char* function);
    /// Remembers a misuse unless `holds`; returns `holds`.
    bool Require(bool holds, const char* misuse);
    void AddMisuse(std::string misuse);

  private:
    struct Function {
        unsigned calls = 0;
        unsigned after = 0;
        unsigned times = 0;  // that are still to fail
        NtApi::NtStatus status = NtApi::kStatusUnsuccessful;
    };

    std::function<void(const std::string&)> onCall_;
    mutable std::mutex mutex_;         // guards everything below
    std::vector<Function> functions_;  // all that there are
    std::vector<std::string> misuses_;
};

}  // namespace Kyr::Test
