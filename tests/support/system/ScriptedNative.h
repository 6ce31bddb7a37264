// A scripted operating system behind the table of native functions: it records what the clients
// hand over and answers what a test tells it to.
//
// Every object that it hands out is counted, so that a test can ask for what was not given back,
// and what a caller may not do is remembered. Any function can be taken away, and most can be made
// to fail. Names that the table does not have throw std::invalid_argument.
//
// The table holds plain functions, which find the fake through pointers to the one instance that
// lives: REQUIRES: at most one instance at a time.
// Threads: the functions may be called from any thread; records are read when no call is running.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kelcomm/native/NativeFunctions.h"
#include "ntapi/Status.h"
#include "tests/support/system/ScriptedArea.h"
#include "tests/support/system/ScriptedCalls.h"
#include "tests/support/system/ScriptedLocks.h"
#include "tests/support/system/ScriptedObjects.h"
#include "tests/support/system/ScriptedPorts.h"
#include "tests/support/system/ScriptedProcess.h"
#include "tests/support/system/ScriptedThreads.h"
#include "tests/support/system/ScriptedWaits.h"

namespace Kyr::Test {

using NativeFunctions = Connectors::Common::Kelcomm::Native::NativeFunctions;

class CScriptedNative {
  public:
    static constexpr unsigned kAlways = CScriptedCalls::kAlways;

    CScriptedNative();
    ~CScriptedNative();
    CScriptedNative(const CScriptedNative&) = delete;
    CScriptedNative& operator=(const CScriptedNative&) = delete;

    const NativeFunctions& GetFunctions() const { return functions_; }
    /// Takes a function out of the table, as on a system that lacks it.
    void Remove(const std::string& function);
    /// Lets the next `times` calls of a function fail, after `after` calls that still work.
    /// Functions that return a status fail with `status`, the others with their own kind of
    /// failure.
    void Fail(const std::string& function, unsigned times = kAlways, unsigned after = 0,
              NtApi::NtStatus status = NtApi::kStatusUnsuccessful);
    unsigned CountCalls(const std::string& function) const { return calls_.Count(function); }

    /// What was handed out and not given back: handles, views, sections, identifiers and locks.
    std::size_t CountLive() const;
    std::size_t CountLive(const std::string& kind) const { return objects_.Count(kind); }
    /// The kinds of what was given back, in order; those of CountLive, "event" and "thread".
    std::vector<std::string> GivenBack() const { return objects_.GivenBack(); }
    /// How many slim locks are held, and how many of these exclusively.
    std::size_t CountHeldLocks() const { return locks_.CountHeld(); }
    std::size_t CountExclusiveLocks() const { return locks_.CountHeldExclusively(); }
    /// Runs `action` with the name of every function that is called, on the calling thread and
    /// without a lock of the fake. REQUIRES: no call is running.
    void OnCall(std::function<void(const std::string&)> action) {
        calls_.OnCall(std::move(action));
    }
    /// What callers did wrong, a line each.
    std::vector<std::string> Misuses() const { return calls_.Misuses(); }

  private:
    NativeFunctions functions_;
    CScriptedCalls calls_;
    CScriptedObjects objects_{calls_};
    CScriptedLocks locks_{calls_, functions_};

  public:
    CScriptedPorts ports{calls_, objects_, functions_};
    CScriptedProcess process{calls_, objects_, functions_};
    CScriptedArea area{calls_, objects_, functions_};
    CScriptedThreads threads;
    CScriptedWaits waits{calls_, objects_, threads, area, functions_};
};

}  // namespace Kyr::Test
