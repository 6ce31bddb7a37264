// A second process of a test, which runs one function and never returns to the test.
//
// The test's program is started again with this one test, which runs up to here in the second
// process. So the function sees the same objects, set up anew.
// REQUIRES: made first in a test, before it has threads or ports; one for each test.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace Kyr::Test {

class CTestProcess;

class CChildProcess {
  public:
    explicit CChildProcess(const std::function<void(CChildProcess&)>& body);
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;
    ~CChildProcess();

    /// True in a program that was started again: what the first one set up is there already.
    static bool IsStartedAgain();

    // In the parent.
    void AwaitReady();
    void Go();
    void Kill();
    /// The code that the child's body ended with (0 when it returned).
    int ExitCode();

    // In the child.
    void Ready();
    void AwaitGo();
    [[noreturn]] void WaitForEver();
    [[noreturn]] void Exit(int code);

  private:
    std::unique_ptr<CTestProcess> process_;  // in the parent, until it has ended
};

/// The id of the calling process.
std::uint32_t CurrentProcessId();

}  // namespace Kyr::Test
